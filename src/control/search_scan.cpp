#include "control/search_scan.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>
#include <atomic>
#include <mutex>
#include <new>

#include "control/media_check.h"
#include "control/panel_status.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr int kShowProgressMs = 100;
constexpr int kScanComplete = 1;

/// Puts the run into the state of a search, and claims the stores for its panel.
class SearchState {
 public:
  SearchState(PanelParts& parts, RunState search) : m_parts(parts) {
    m_isBegun = !parts.othersRun() && parts.run.state() != search && parts.run.beginSearch(search);
    m_isIn = !parts.othersRun() && parts.run.state() == search;
    m_claims = m_isIn && !parts.params.runs;
    if (m_claims) parts.params.runs = parts.owner;
    if (m_isBegun) parts.stateChanged();
  }
  /// A panel that is gone, or whose run fails, shows its state no more, or does so itself.
  ~SearchState() { release(); }
  SearchState(const SearchState&) = delete;
  SearchState& operator=(const SearchState&) = delete;

  [[nodiscard]] bool isIn() const noexcept { return m_isIn; }
  void leave() {
    const bool shows = m_isBegun;
    release();
    if (shows) m_parts.stateChanged();
  }

 private:
  void release() noexcept {
    if (std::exchange(m_isBegun, false)) m_parts.run.endSearch();
    if (std::exchange(m_claims, false) && m_parts.params.runs == m_parts.owner) m_parts.params.runs = nullptr;
  }

  PanelParts& m_parts;
  bool m_isBegun = false, m_isIn = false, m_claims = false;
};

/// The pointer says that the program works, and that its window can be used.
struct WorkingCursor {
  WorkingCursor() { QGuiApplication::setOverrideCursor(Qt::BusyCursor); }
  ~WorkingCursor() { QGuiApplication::restoreOverrideCursor(); }
  WorkingCursor(const WorkingCursor&) = delete;
  WorkingCursor& operator=(const WorkingCursor&) = delete;
};

}  // namespace

/// The sink that the unit gets, which may keep it for longer than its scan: passes on to the caller's while that
/// one waits, and ends the wait.
class SearchScan::Sink final : public CKxUnknownImpl<IScanSink> {
 public:
  Sink(IScanSink* target, QEventLoop* waiting) : m_target(target), m_waiting(waiting) {}

  int ScanEnded(int status) override {
    const int answer = passed([&](IScanSink& target) { return target.ScanEnded(status); }, 1);
    const std::lock_guard lock(m_mutex);
    m_status = status;
    m_hasEnded.store(true, std::memory_order_release);
    if (m_waiting) QMetaObject::invokeMethod(m_waiting, &QEventLoop::quit, Qt::QueuedConnection);
    return answer;
  }
  int QueryContinue() override {
    return passed([](IScanSink& target) { return target.QueryContinue(); }, 0);
  }
  int ScanStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) override {
    m_expected.store(lines, std::memory_order_relaxed);
    return passed([&](IScanSink& target) { return target.ScanStarted(colorSpace, width, lines, dpi); }, 0);
  }
  int StripeArrived(std::int64_t first, IScanBuffer* stripe, std::int64_t extra) override {
    KxSize size;
    stripe->GetSize(&size);
    m_lines.fetch_add(size.height, std::memory_order_relaxed);
    return passed([&](IScanSink& target) { return target.StripeArrived(first, stripe, extra); }, 0);
  }

  /// Waits for a notification that is under way; the target gets no other.
  void detach() {
    const std::lock_guard lock(m_mutex);
    m_target = nullptr;
    m_waiting = nullptr;
  }
  [[nodiscard]] bool hasEnded() const noexcept { return m_hasEnded.load(std::memory_order_acquire); }
  /// After the end.
  [[nodiscard]] int status() const noexcept { return m_status; }
  [[nodiscard]] const UnitFault& lost() const noexcept { return m_lost; }
  [[nodiscard]] std::int64_t lines() const noexcept { return m_lines.load(std::memory_order_relaxed); }
  [[nodiscard]] std::int64_t expected() const noexcept { return m_expected.load(std::memory_order_relaxed); }

 private:
  template <class Call>
  int passed(Call&& call, int otherwise) {
    const std::lock_guard lock(m_mutex);
    if (!m_target || m_lost.code != UnitFaultCode::None) return otherwise;
    std::string why;
    try {
      return call(*m_target);
    } catch (const std::bad_alloc&) {
      m_lost.code = UnitFaultCode::NoMemory;
      why = Supp_Translate("there is not enough memory");
    } catch (const std::exception& e) {
      m_lost.code = UnitFaultCode::Other;
      why = e.what();
    } catch (...) {
      m_lost.code = UnitFaultCode::Other;
      why = Supp_Translate("an unknown error");
    }
    m_lost.text = formatText(Supp_Translate("The scan before the page was broken off (%s). Try again."), {why});
    logLine(LogLevel::Error, "quillbay.control", m_lost.text);
    return otherwise;
  }

  std::mutex m_mutex;  // guards the next four
  IScanSink* m_target;
  QEventLoop* m_waiting;
  UnitFault m_lost;
  int m_status = 0;
  std::atomic<bool> m_hasEnded{false};
  std::atomic<std::int64_t> m_lines{0}, m_expected{0};
};

/// Connects the sink to the unit for one scan.
class SearchScan::Connection {
 public:
  Connection(SearchScan& owner, IScanSink* target)
      : m_owner(owner),
        m_sink(KxPtr<Sink>::adopt(new Sink(target, &m_waiting))),
        m_point(KxPtr<IConnectionPoint<IScanSink>>::adopt(owner.m_parts.scanner.unit()->GetScanSinks())) {
    if (m_point) m_point->Subscribe(m_sink.get());
    owner.m_connection = this;
  }
  ~Connection() {
    m_owner.m_connection = nullptr;
    m_sink->detach();
    if (m_point) m_point->Unsubscribe(m_sink.get());
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  [[nodiscard]] Sink& sink() const noexcept { return *m_sink; }
  [[nodiscard]] QEventLoop& waiting() noexcept { return m_waiting; }

 private:
  SearchScan& m_owner;
  QEventLoop m_waiting;
  KxPtr<Sink> m_sink;
  KxPtr<IConnectionPoint<IScanSink>> m_point;
};

SearchOutcome SearchScan::run(RunState search, IParam* request, IScanSink* sink) {
  if (m_connection) return {};
  SearchState state(m_parts, search);
  if (!state.isIn()) return {};
  const bool isShown = search == RunState::Detecting;
  const KxPtr<IScanSink> target = isShown ? m_picture.begin(request, sink) : KxPtr<IScanSink>::share(sink);
  SearchOutcome outcome = scan(request, target.get());
  if (isShown) m_picture.complete();
  state.leave();
  return outcome;
}

SearchOutcome SearchScan::scan(IParam* request, IScanSink* target) {
  UnitFault fault;
  if (!waitForMedia(m_parts, &fault)) {
    return {m_parts.run.stopAsked() ? SearchEnd::Cancelled : SearchEnd::NoMedia, fault};
  }
  Connection connection(*this, target);
  Sink& sink = connection.sink();
  IQuillbayUnit* unit = m_parts.scanner.unit();
  const bool isArmed = m_parts.host.call([&] { return unit->Scan(&sink, request); }) != 0;
  if (m_parts.run.stopAsked()) return {};
  const auto start = [&] { return unit->Command(&sink, static_cast<int>(UnitCommand::Run)); };
  if (!isArmed || !m_parts.host.call(start)) return {SearchEnd::Fault, m_parts.scanner.fault()};
  wait(sink, connection.waiting());
  if (sink.hasEnded()) return outcomeOf(sink);
  m_parts.scanner.command(kCancelSearch);  // the program ends
  return {};
}

void SearchScan::wait(const Sink& sink, QEventLoop& waiting) const {
  const WorkingCursor cursor;
  PanelStatus* status = m_parts.status;
  QTimer progress;
  QObject::connect(&progress, &QTimer::timeout, [&] {
    if (status) status->setLines(sink.lines(), sink.expected());
    m_picture.show();
  });
  progress.start(kShowProgressMs);
  m_parts.host.call([&] {
    if (!sink.hasEnded()) waiting.exec();
  });
  if (status) status->setLines(-1, 0);
}

SearchOutcome SearchScan::outcomeOf(const Sink& sink) const {
  if (m_parts.run.stopAsked()) return {};
  if (sink.lost().code != UnitFaultCode::None) return {SearchEnd::Fault, sink.lost()};
  if (sink.status() == kScanComplete) return {SearchEnd::Complete, {}};
  UnitFault fault = m_parts.scanner.fault();
  if (fault.code == UnitFaultCode::Cancelled) return {};
  return {SearchEnd::Fault, std::move(fault)};
}

void SearchScan::close() {
  if (!m_connection) return;
  m_connection->sink().detach();
  m_connection->waiting().quit();
}

}  // namespace quillbay
