#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "control/scan_run.h"
#include "control/scan_steps.h"
#include "destinations/page_draft.h"
#include "platform/strip_stor.h"
#include "quillbay/scan_buffer.h"
#include "quillbay/scanner.h"

class QObject;

namespace quillbay {

/// What a scan works from on the scanner's thread: a copy of everything that it needs, taken when it was started
/// and shared by whoever still works from it.
struct ScanPlan {
  RunKind kind = RunKind::Scan;  ///< `Scan` or one of the previews
  PageDraft draft;               ///< with all scan parameters
  KxPtr<ISStripStor> destination, view;
  std::shared_ptr<IStraightening> straightening;
  tagRRECT area{};     ///< what the scanner was asked for, millimetres
  int previewDpi = 0;  ///< of a preview
  int paletteColors = 0;
};

/// What the scanner reported when it started.
struct ScanStarted {
  std::shared_ptr<const ScanPlan> plan;
  KxColorSpace colorSpace = KxColorSpace::None;
  std::int64_t width = 0, lines = -1;
  std::uint32_t dpi = 0;
  NamedPage page;  ///< where the page goes; a preview's has no target
};

/// How a scan ended.
struct ScanEnd {
  int status = 0;
  bool isEmpty = false;  ///< it left nothing for the destination
  UnitFault lost;        ///< what this side failed with after a whole page
};

/// The scanner thread's side of a panel: names the output when the scan starts, routes stripes to the stores, and
/// turns the end into a posted command. It touches no window and no shared parameter; it keeps what the scanner
/// reports until the user-interface thread takes it. Threads: `arm`, `take...`, `disarm`, `waitIdle` on the
/// user-interface thread; the notifications on the scanner's.
class ScanRouter {
 public:
  explicit ScanRouter(QObject* dialog) : m_dialog(dialog) {}

  void arm(std::shared_ptr<const ScanPlan> plan);
  /// The unit refused to run what was armed.
  void cancelArmed();
  /// Forgets the dialog: later notifications do nothing.
  void disarm();
  /// Drops what was learnt from the scanner: units may keep the sink, and with it this object.
  void forget();
  /// Waits until the armed scan has ended, at most `limit`. Returns whether it has.
  bool waitIdle(std::chrono::milliseconds limit);
  /// Whether what was armed has not ended.
  [[nodiscard]] bool isRunning() const;

  int onStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi);
  int onStripe(IScanBuffer* stripe, std::int64_t extra);
  int onEnded(int status);

  [[nodiscard]] ScanStarted takeStarted();
  /// An end that was posted and not handled; its handler takes it.
  [[nodiscard]] std::optional<ScanEnd> takeEnd();
  [[nodiscard]] std::deque<KxPtr<IScanBuffer>> takeStripes();
  [[nodiscard]] std::int64_t lines() const noexcept { return m_lines.load(std::memory_order_relaxed); }

 private:
  [[nodiscard]] std::shared_ptr<const ScanPlan> plan() const;
  int deliver(const ScanPlan& plan, IScanBuffer* stripe);
  [[nodiscard]] UnitFault flush(const ScanPlan& plan);
  void postProgress(const ScanPlan& plan, bool last);
  void post(int id, int code = 1, std::int64_t value = 0, bool merge = false);

  mutable std::mutex m_mutex;  // guards the next six
  QObject* m_dialog;
  std::shared_ptr<const ScanPlan> m_plan;
  quillbay::ScanStarted m_started;
  std::optional<ScanEnd> m_end;
  std::deque<KxPtr<IScanBuffer>> m_prescanStripes;
  bool m_running = false;
  std::condition_variable m_idle;
  std::atomic<std::int64_t> m_lines{0};
  std::chrono::steady_clock::time_point m_lastProgress{};  // scanner's thread only
};

/// The counted sink that units get: outlives a dialog that a hanging device would hold up.
class ScanSinkForwarder final : public CKxUnknownImpl<IScanSink> {
 public:
  explicit ScanSinkForwarder(std::shared_ptr<ScanRouter> router) : m_router(std::move(router)) {}
  int ScanEnded(int status) override { return m_router->onEnded(status); }
  int QueryContinue() override { return 1; }
  int ScanStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) override {
    return m_router->onStarted(colorSpace, width, lines, dpi);
  }
  int StripeArrived(std::int64_t, IScanBuffer* stripe, std::int64_t extra) override {
    return m_router->onStripe(stripe, extra);
  }

 private:
  std::shared_ptr<ScanRouter> m_router;
};

}  // namespace quillbay
