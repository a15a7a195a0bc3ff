#pragma once
#include <memory>

#include "control/document_wait.h"
#include "control/page_ending.h"
#include "control/page_preparation.h"
#include "control/panel_parts.h"
#include "control/prescan_feed.h"
#include "control/scan_router.h"
#include "control/search_scan.h"
#include "preview/view_sync.h"
#include "widgets/countdown_timer.h"

namespace quillbay {

class CScanToPrintStor;

/// Carries out what `ScanRun` decides, and turns the results into the run's next events. User-interface thread
/// only. Everything here may run event loops and throw `WindowGone`.
class RunPerformer {
 public:
  /// `window` gets the posted commands. All arguments outlive this object.
  RunPerformer(QWidget* window, PanelParts& parts, std::shared_ptr<ScanRouter> router, CViewSync& view,
               CountdownTimer& previewTimer);

  void perform(const Actions& todo);
  /// A posted command of a run. False when it is none.
  [[nodiscard]] bool handle(int id, int code, std::int64_t value);
  /// Starts what a command starts; nothing when a preview would have nothing to show.
  void start(RunKind kind, int wanted, bool isDirect);
  /// Empties the stores and unloads the document.
  void leaveDocument();
  /// Whether another panel of the process runs: scanner and stores are its own meanwhile.
  [[nodiscard]] bool othersRun() const noexcept { return m_parts.othersRun(); }
  /// Looks for the area for a page of the panel; returns whether it was found.
  [[nodiscard]] bool detectArea(int mask);
  /// The unit takes over the current settings; nothing moves.
  void pushSettings();

  /// A command threw an exception: the run ends, even when further steps throw.
  void fail(const std::string& what);
  /// The panel closes: stops the unit, waits for it, keeps whole pages, and reports the end of the run to the
  /// hosts.
  void close();

  /// The box of a batch that waits.
  [[nodiscard]] DocumentWait& wait() noexcept { return m_wait; }

 private:
  void performStart(RunKind kind, int wanted);
  void performOne(const Action& action);
  [[nodiscard]] bool performUnit(Do what);
  [[nodiscard]] bool tell(Do what);
  void performRest(const Actions& todo);
  void post(int id, std::int64_t code = 1);

  void prepare();
  void startUnit(const Preparation& next);
  void refuse(EndCause cause, const UnitFault& fault, bool told = false);
  void takeBackFragment() const;
  void forgetFound() const;
  void waitForDocument();
  void askForDocument();
  void pollDocument();
  [[nodiscard]] UnitFault faultOf(const ScanEnd& end) const;
  [[nodiscard]] ScanStarted started() const;
  void onStarted();
  void onProgress();
  void onPrescanStripes();
  void onScanDone(bool cancelled);
  void finishPage(bool cancelled);
  void endRun();
  [[nodiscard]] CScanToPrintStor* printStore() const;
  [[nodiscard]] PagePreparation preparation() { return {m_parts, m_view.hasView()}; }

  QWidget* m_window;
  PanelParts& m_parts;
  ScanRun& m_run;
  std::shared_ptr<ScanRouter> m_router;
  CViewSync& m_view;
  CountdownTimer& m_previewTimer;
  PageEnding m_ending;
  PrescanFeed m_prescan;
  SearchScan m_search;
  DocumentWait m_wait;
  bool m_isDirect = false;
};

}  // namespace quillbay
