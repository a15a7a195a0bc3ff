#pragma once
#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "control/page_lists.h"
#include "control/panel_status.h"
#include "control/run_report.h"
#include "control/scan_router.h"
#include "control/scan_session.h"
#include "control/scan_steps.h"
#include "control/view_sync.h"
#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_page.h"
#include "platform/scan_to.h"
#include "quillbay/control.h"
#include "quillbay/quillbay.h"
#include "quillbay/scanner.h"
#include "widgets/countdown_timer.h"
#include "widgets/dialog.h"
#include "widgets/tool_icons.h"

class QAction;
class QTabBar;
class QStackedWidget;
class QToolBar;

namespace quillbay {

class IFileDestination;
class PanelSink;

/// The panel's window and the performer of everything that happens in it: connects the scanner, makes the pages and
/// the destination, and carries out what `ScanSession` decides.
///
/// Threads: the user-interface thread only. The scanner's notifications go to `ScanRouter`, which posts back here.
/// Life: made by an entry point, then `ConnectScanner` and `StartUp`; goes with its window. What it hands out
/// (`sink`) outlives it and answers that there is no window.
class CMaindlg final : public CDialog, private IPanelController {
 public:
  CMaindlg(IApp* app, IKxView* view, CWnd* parent, IScriptCmdSink* script, eTarnwellMode mode);
  ~CMaindlg() override;

  /// Finds and opens the scanner; the person may choose another one while it is not ready. Answers 1 or 0.
  int ConnectScanner();
  /// Makes the destination, the pages and the layout, and loads the settings. Answers 1, or 0 without a
  /// destination.
  int StartUp();
  [[nodiscard]] IQuillbaySink* sink() const noexcept;

  bool OnCommand(int id, int code, std::int64_t value) override;

  // What the handed-out sink forwards; see IQuillbaySink, IQuillbayControl, IRGetSource. `ApplyParams` and
  // `clearBatch` on any thread.
  int EnableViewSync(int enable);
  int ApplyParams(IParam* params);
  int SetParam(std::string_view key, const CKxVariant& value, std::string* why);
  int GetParam(std::string_view key, CKxVariant* out) const;
  int GetPageParams(IParam* out);
  int Start(StartKind kind, int count);
  int StopRun(StopKind kind);
  int EjectDocument();
  [[nodiscard]] int IsBusy() const;
  [[nodiscard]] std::string GetNextFileName() const;
  RunReport& report() noexcept { return m_report; }
  int SaveSettings();
  [[nodiscard]] IRStor* viewRaster();
  [[nodiscard]] CRDirectTfm viewTransform() const { return m_viewSync.transform(); }
  void clearBatch();

 protected:
  void changeEvent(QEvent* event) override;
  /// F1, before it is a shortcut of the host's window.
  bool event(QEvent* event) override;

 private:
  /// The embedded sink of the scan parameters.
  class CIChangeParams final : public TSinkImpl<IChangeParams, CMaindlg> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char* key) override { return owner()->OnParamChanging(key); }
    int OnParamChanged(const char*) override { return 0; }
  };

  // IPanelController
  IQuillbayUnit* Unit() override { return m_unit.get(); }
  void PageChanged() override;
  void ForgetPalette() override { m_steps.palette->Forget(); }
  void AreaChanged() override;
  int OffersDetection() override { return m_steps.detection->IsOffered() ? 1 : 0; }
  int DetectArea(int mask) override;
  void RunPostProcessing() override {}
  int ExecCommand(const char* command, IParam* arguments) override;

  // Start-up
  [[nodiscard]] KxPtr<IScan> currentScanner();
  bool takeUnit(IScan& scanner);
  void createForm();
  void createToolbar(QToolBar* toolbar);
  void drawIcons();
  void orderTabbing();
  [[nodiscard]] KxPtr<ISStripStor> makeDestinationStore(eTarnwellMode mode) const;
  void createPages();
  void loadSettings();
  void layoutPanel();
  void fillTabs();
  void showTab(int index);
  void updateButtons();
  void SwitchLayout();
  [[nodiscard]] std::string currentTopic() const;
  void showHelp();

  // Runs
  [[nodiscard]] bool beginRun(int wantedPages);
  void finishRun();
  void endRunFile();
  void refuse(EndCause cause, UnitFault fault = {});
  void Scan();
  [[nodiscard]] bool canFindArea();
  bool prepareScan(KxPtr<IParam>& request);
  void startUnit(IParam* request, std::shared_ptr<ScanPlan> plan);
  void setScanRectangle(IParam* request);
  void noteWidening(double width);
  bool computePalette(IParam* request);
  void Prescan();
  void AreaPrescan();
  void StartPreview(IParam* request, SessionState kind);
  void BatchScan();
  void waitForDocument();
  void BatchNext();
  void BurstNext();
  void BurstEnd();
  [[nodiscard]] bool MediaCheck();
  /// What the host is asked to make room for. No page follows a connection or a preview.
  enum class ClearFor { Connection, Preview, Scan };
  [[nodiscard]] bool ClearHostRasters(ClearFor what);
  [[nodiscard]] KxPtr<IParam> CollectRequest();
  void PushSettings();
  [[nodiscard]] bool isLastPage() const;
  [[nodiscard]] IFileDestination* fileDestination() const;
  [[nodiscard]] std::shared_ptr<ScanPlan> makePlan(SessionState kind) const;
  [[nodiscard]] KxPtr<ISStripStor> makeViewStore() const;

  // Ends
  void onStarted();
  void onProgress();
  void onPrescanStripes();
  void handlePrescanStripe(IScanBuffer& stripe);
  void onScanDone(int code);
  void finishPage(bool cancelled);
  [[nodiscard]] bool foundAnotherName(bool taken, PageInfo& info);
  void onReady();
  void reportStoreError();
  [[nodiscard]] UnitFault unitFault() const;

  int OnParamChanging(const char* key);
  void applyHostParams();
  void SetStatus(int state);
  void showMessage(EventKind kind, const std::string& text, EventButtons buttons, int* answer = nullptr);
  void enablePages(bool enable);
  [[nodiscard]] const std::vector<PageRole>& currentPages() const;
  [[nodiscard]] IUIScanPage* page(PageRole role) const { return m_pages[static_cast<std::size_t>(role)].get(); }
  [[nodiscard]] bool isInteractive() const;
  [[nodiscard]] ScanValues& quiet() { return m_params->quiet(); }
  [[nodiscard]] const ScanValues& values() const { return m_params->values(); }

  struct PageReleaser {
    void operator()(IUIScanPage* p) const { p->Release(); }
  };
  struct DestinationReleaser {
    void operator()(CScanTo* p) const { p->Destroy(); }
  };

  KxPtr<CSharedScanParams> m_params;
  KxPtr<IScriptCmdSink> m_script;
  KxPtr<PanelSink> m_sink;
  CIChangeParams m_changeSink;
  CViewSync m_viewSync;
  ScanSession m_session;
  std::shared_ptr<ScanRouter> m_router;
  KxPtr<ScanSinkForwarder> m_scanSink;
  KxPtr<IScanManager> m_manager;
  KxPtr<IQuillbayUnit> m_unit;
  std::string m_unitName;  ///< the scanner's own name: its settings store
  ScanSteps m_steps;
  RunReport m_report;
  KxPtr<PanelProgress> m_progress;
  std::mutex m_hostMutex;  // guards the next
  KxPtr<IParam> m_hostParams;
  std::unique_ptr<CScanTo, DestinationReleaser> m_destination;
  std::array<std::unique_ptr<IUIScanPage, PageReleaser>, kPageRoles> m_pages;
  PageLists m_pageLists;
  CountdownTimer m_previewTimer;

  QTabBar* m_tabs = nullptr;
  QStackedWidget* m_pageArea = nullptr;
  QToolBar* m_toolbar = nullptr;
  QWidget* m_destinationPlace = nullptr;
  PanelStatus* m_status = nullptr;
  struct PanelAction {
    int id;
    ToolIcon icon;
    QAction* action;
  };
  std::vector<PanelAction> m_actions;
  QTimer* m_waitTimer = nullptr;
  QWidget* m_waitBox = nullptr;

  int m_layout = 0;  ///< 0 full, 1 small ("m_fMinSize")
  bool m_initialised = false;
  bool m_directMode = false;
  bool m_startPosted = false;  ///< a start of the host waits in the event queue
  bool m_stopAfterPage = false;
  bool m_stopAsked = false;
  bool m_writerFinishes = false;  ///< a whole page was handed to the writer, which has not reported yet
  tagRRECT m_burstArea{};         ///< "m_rcScan" of a burst's first piece
  ScanStarted m_lastStart;
  std::int64_t m_expectedLines = 0;
  std::int64_t m_prescanRows = 0;  ///< rows of the running prescan, as received
};

}  // namespace quillbay
