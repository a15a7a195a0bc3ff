#include "control/scan_router.h"

#include <algorithm>
#include <new>
#include <utility>

#include "control/command_ids.h"
#include "control/page_ending.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "stores/scan_to_file_stor.h"
#include "stores/scan_to_print_stor.h"

namespace quillbay {

namespace {
/// Hosts hear of new lines some twenty times a second.
constexpr std::chrono::milliseconds kProgressInterval{50};
constexpr int kFinished = 1, kStoppedOrFailed = 2;

/// The lines of a page whose length was known before; 0 for one that ends with its document. Devices may deliver a
/// line more than was asked for.
std::int64_t printedLines(const ScanStarted& started) {
  const std::int64_t least = started.page.target.leastLines;
  return least > 0 ? std::max(least, pageLines(started)) : 0;
}

/// Whether a scan left nothing. An error that a store met at its first stripe is something to report; a store that
/// hands lines on as they come is never empty itself.
bool leftNothing(ISStripStor& store, bool hasLines) {
  if (store.IsEmpty()) return true;
  if (hasLines || !dynamic_cast<CScanToPrintStor*>(&store)) return false;
  const auto outcome = query<IStoreOutcome>(&store);
  return outcome && outcome->GetError().empty();
}
}  // namespace

void ScanRouter::arm(std::shared_ptr<const ScanPlan> plan) {
  const std::lock_guard lock(m_mutex);
  m_plan = std::move(plan);
  m_started = {};
  m_end.reset();
  m_prescanStripes.clear();
  m_running = true;
  m_lines.store(0, std::memory_order_relaxed);
}

void ScanRouter::cancelArmed() {
  const std::lock_guard lock(m_mutex);
  m_plan.reset();
  m_running = false;
  m_idle.notify_all();
}

void ScanRouter::disarm() {
  std::shared_ptr<const ScanPlan> plan;  // its stores are destroyed without the lock
  const std::lock_guard lock(m_mutex);
  m_dialog = nullptr;
  plan.swap(m_plan);
}

void ScanRouter::forget() {
  const ScanStarted started = takeStarted();
  const auto stripes = takeStripes();
  const std::lock_guard lock(m_mutex);
  m_started = {};
}

bool ScanRouter::waitIdle(std::chrono::milliseconds limit) {
  std::unique_lock lock(m_mutex);
  return m_idle.wait_for(lock, limit, [this] { return !m_running; });
}

bool ScanRouter::isRunning() const {
  const std::lock_guard lock(m_mutex);
  return m_running;
}

std::optional<ScanEnd> ScanRouter::takeEnd() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_end, std::nullopt);
}

std::shared_ptr<const ScanPlan> ScanRouter::plan() const {
  const std::lock_guard lock(m_mutex);
  return m_running ? m_plan : nullptr;
}

void ScanRouter::post(int id, int code, std::int64_t value, bool merge) {
  const std::lock_guard lock(m_mutex);
  if (m_dialog) PostCommand(m_dialog, id, code, value, merge);
}

ScanStarted ScanRouter::takeStarted() {
  const std::lock_guard lock(m_mutex);
  return m_started;
}

std::deque<KxPtr<IScanBuffer>> ScanRouter::takeStripes() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_prescanStripes, {});
}

int ScanRouter::onStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) {
  const auto current = plan();
  if (!current) return 0;
  quillbay::ScanStarted started;
  started.plan = current;
  started.colorSpace = colorSpace;
  started.width = width;
  started.lines = lines;
  started.dpi = dpi;
  if (current->kind == RunKind::Scan) {
    started.page = makePageTarget(current->draft, {colorSpace, dpi, lines});
    auto* store = dynamic_cast<CScanToFileStor*>(current->destination.get());
    if (store && started.page.refused.empty()) store->SetTarget(started.page.target);
    if (auto* print = dynamic_cast<CScanToPrintStor*>(current->destination.get()))
      print->SetPageLines(printedLines(started));
  }
  {
    const std::lock_guard lock(m_mutex);
    m_started = std::move(started);
  }
  post(command::kStarted);
  return 1;
}

int ScanRouter::onStripe(IScanBuffer* stripe, std::int64_t extra) {
  const auto current = plan();
  if (!current) return 0;
  const auto straight = current->straightening->Pass(stripe, extra);
  return straight ? deliver(*current, straight.get()) : 1;
}

/// To the stores of the running kind. Returns 0 when the destination cannot take more: the unit ends the scan.
int ScanRouter::deliver(const ScanPlan& plan, IScanBuffer* stripe) {
  KxSize size;
  stripe->GetSize(&size);
  if (plan.kind == RunKind::Prescan) {
    const std::lock_guard lock(m_mutex);
    m_prescanStripes.push_back(KxPtr<IScanBuffer>::share(stripe));
    if (m_dialog) PostCommand(m_dialog, command::kPrescanStripes, 1, 0, true);
  } else {
    if (plan.kind == RunKind::Scan && !plan.destination->AddStripe(stripe)) return 0;
    plan.view->AddStripe(stripe);
  }
  m_lines.fetch_add(size.height, std::memory_order_relaxed);
  postProgress(plan, false);
  return 1;
}

/// Every stripe is to be seen; hosts hear of lines now and then, and of the last ones.
void ScanRouter::postProgress(const ScanPlan& plan, bool last) {
  if (plan.kind != RunKind::Prescan) post(command::kRedrawView, 1, 0, true);
  const auto now = std::chrono::steady_clock::now();
  if (!last && now - m_lastProgress < kProgressInterval) return;
  m_lastProgress = now;
  post(command::kProgress, 1, 0, true);
}

/// Passes on what straightening has held back. Never throws: a run whose end is not posted would never be over.
UnitFault ScanRouter::flush(const ScanPlan& plan) {
  UnitFault fault{UnitFaultCode::Other, {}};
  std::string why;
  try {
    if (const auto rest = plan.straightening->Pass(nullptr, 0)) deliver(plan, rest.get());
    if (plan.kind != RunKind::Prescan) plan.view->Finish(nullptr, 0, 0);
    return {};
  } catch (const std::bad_alloc&) {
    fault.code = UnitFaultCode::NoMemory;
    why = Supp_Translate("there is not enough memory");
  } catch (const std::exception& e) {
    why = e.what();
  } catch (...) {
    why = Supp_Translate("an unknown error");
  }
  fault.text = formatText(Supp_Translate("Scan the page again: its last lines were lost (%s)."), {why});
  logLine(LogLevel::Error, "quillbay.control", fault.text);
  return fault;
}

int ScanRouter::onEnded(int status) {
  if (status != kFinished && status != kStoppedOrFailed) return 1;
  auto current = plan();
  if (!current) return 1;
  UnitFault lost = flush(*current);
  if (status == kStoppedOrFailed) lost = {};  // the page is incomplete anyway, and the unit knows why
  if (lost.code != UnitFaultCode::None) status = kStoppedOrFailed;
  postProgress(*current, true);
  const bool empty = leftNothing(*current->destination, lines() > 0);
  const int answer = current->kind == RunKind::Scan && empty ? 0 : 1;
  // The last reference is dropped on the user-interface thread: what the plan holds may be the host's last.
  current.reset();
  const std::lock_guard lock(m_mutex);
  m_running = false;
  m_end = ScanEnd{status, empty, std::move(lost)};
  if (m_dialog) PostCommand(m_dialog, command::kReady, status, empty ? 1 : 0);
  m_idle.notify_all();
  return answer;
}

}  // namespace quillbay
