#include "stores/scan_to_file_stor.h"

#include <algorithm>
#include <exception>

#include "platform/base_services.h"
#include "platform/log_category.h"
#include "stores/empty_progress.h"
#include "stores/extent.h"

namespace quillbay {

// Counts an AddStripe that is under way, so that the store does not go away under it.
class CScanToFileStor::Visit {
 public:
  explicit Visit(CScanToFileStor& store) : m_store(store) {
    const std::lock_guard lock(m_store.m_feed.lock);
    ++m_store.m_visits;
  }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;
  ~Visit() {
    const std::lock_guard lock(m_store.m_feed.lock);
    if (--m_store.m_visits == 0) m_store.m_left.set();
  }

 private:
  CScanToFileStor& m_store;
};

CScanToFileStor::CScanToFileStor(IApp* app, IProgress* progress, const FileStoreLimits& limits)
    : m_app(KxPtr<IApp>::share(app)),
      m_progress(progress ? KxPtr<IProgress>::share(progress) : KxPtr<IProgress>::adopt(new KxEmptyProgress)),
      m_limits(limits) {
  m_feed.gate = [this] { passGate(); };
}

CScanToFileStor::~CScanToFileStor() {
  abandon();
  waitForScanner();
  KxBaseThread::Stop();
}

int CScanToFileStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor, IStoreOutcome>(this, wanted, out);
}

void CScanToFileStor::SetTarget(const PageTarget& target) {
  const std::lock_guard lock(m_feed.lock);
  if (m_opened || m_feed.finished) {
    logLine(LogLevel::Warning, kStoreLog,
            "the target " + target.path + " came after the first stripe and is ignored");
    return;
  }
  m_target = target;
  m_hasTarget = true;
}

// --- the scanner's thread

int CScanToFileStor::AddStripe(IScanBuffer* stripe) {
  const Visit visit(*this);
  if (!stripe) return 0;
  KxSize size;
  stripe->GetSize(&size);
  bool opened = false;
  {
    const std::lock_guard lock(m_feed.lock);
    if (!accepts()) return 0;
    opened = m_opened;
  }
  if (!opened && !open(stripe)) return 0;
  if (size.width != m_size.width || stripe->GetColorSpace() != m_colorSpace) {
    fail(Supp_Translate("The scanner changed the width or the colours within the page: scan the page again."));
    return 0;
  }
  if (size.height <= 0) return 1;
  return enqueue({KxPtr<IScanBuffer>::share(stripe), size.height, stripeBytes(stripe)});
}

bool CScanToFileStor::open(IScanBuffer* stripe) {
  const std::lock_guard life(m_life);
  {
    const std::lock_guard lock(m_feed.lock);
    if (!accepts()) return false;
    if (!m_hasTarget) {
      // Stripes that were still on their way when the page was dropped.
      logLine(LogLevel::Info, kStoreLog, "a stripe came without a page and is dropped");
      return false;
    }
  }
  std::string error;
  try {
    error = openChannel(stripe);
  } catch (const std::exception& e) {
    error = e.what();
  }
  if (error.empty()) {
    KxSize size;
    stripe->GetSize(&size);
    m_unchecked = 0;
    {
      const std::lock_guard lock(m_feed.lock);
      m_opened = m_writing = true;
      m_size = {size.width, 0};
      m_colorSpace = stripe->GetColorSpace();
      m_dpi = std::max(stripe->GetResolution(), 1U);
    }
    if (Start(0, 0) != 0) return true;
    error = Supp_Translate("The system has no thread left for writing: close other programs and scan again.");
  }
  m_channel = nullptr;
  m_blank = nullptr;
  {
    const std::lock_guard lock(m_feed.lock);
    m_opened = m_writing = false;
  }
  fail(error);
  return false;
}

// Makes the channel and the blank lines. Returns why it could not; throws what the channel throws.
std::string CScanToFileStor::openChannel(IScanBuffer* stripe) {
  PageTarget target;
  {
    const std::lock_guard lock(m_feed.lock);
    target = m_target;
  }
  const KxColorSpace colorSpace = stripe->GetColorSpace();
  std::string error = openPageChannel(m_app.get(), target, colorSpace, &m_channel);
  if (!error.empty()) return error;
  KxSize size;
  stripe->GetSize(&size);
  const KXRGBQUAD* palette = stripe->GetColorCount() > 0 ? stripe->GetPalette() : nullptr;
  m_blank = KxPtr<CIEmptyBuffer>::adopt(new CIEmptyBuffer(stripe->GetResolution(), size, colorSpace, palette));
  return {};
}

int CScanToFileStor::enqueue(QueuedStripe entry) {
  const std::int64_t bytes = entry.bytes;
  {
    std::unique_lock lock(m_feed.lock);
    while (accepts() && m_feed.queue.count() > 0 && m_feed.queue.bytes() + bytes > m_limits.queue) {
      lock.unlock();
      m_feed.taken.wait();
      lock.lock();
    }
    if (!accepts()) return 0;
    m_lines += entry.lines;
    m_feed.queue.push(std::move(entry));
  }
  m_feed.queued.set();
  return checkSpace(bytes) ? 1 : 0;
}

// Gives the page up while there is still room to end it in order.
bool CScanToFileStor::checkSpace(std::int64_t queuedBytes) {
  m_unchecked += queuedBytes;
  if (m_unchecked < m_limits.checkEvery) return true;
  m_unchecked = 0;
  const std::string path = GetFile();
  const std::int64_t free = fio::freeSpace(fio::folderOf(path));
  if (free < 0 || free >= m_limits.reserve) return true;
  fail(formatText(Supp_Translate("The disk of %s is nearly full: %s MiB are left, %s MiB are kept free. Make room, "
                                 "or choose another folder, and scan the page again."),
                  {path, toText(free >> 20), toText(m_limits.reserve >> 20)}));
  return false;
}

// --- both threads

void CScanToFileStor::fail(const std::string& text) {
  std::string line;
  {
    const std::lock_guard lock(m_feed.lock);
    if (!m_error.empty()) return;
    m_error = textWithFile(m_target.path, text);
    line = m_error;
    m_feed.abandoned = true;
    m_feed.queue.clear();
  }
  logLine(LogLevel::Error, kStoreLog, line);
  m_feed.finish.set();
  m_feed.taken.set();
}

void CScanToFileStor::abandon() {
  {
    const std::lock_guard lock(m_feed.lock);
    m_feed.abandoned = true;
  }
  m_feed.finish.set();
  m_feed.taken.set();
}

// --- the writer's thread

void CScanToFileStor::Run() {
  try {
    writePage();
  } catch (const std::exception& e) {
    fail(e.what());
  }
  Done done;
  {
    const std::lock_guard lock(m_feed.lock);
    m_writing = false;
    m_feed.queue.clear();
    done = std::exchange(m_done, {});
  }
  m_feed.taken.set();
  if (done.call) done.call(done.context);
}

void CScanToFileStor::writePage() {
  bool whole = false;
  try {
    whole = m_facade.WaitForNextStripe() && savePage();
  } catch (...) {
    m_channel->Abandon();
    throw;
  }
  if (!whole) {
    m_channel->Abandon();
    return;
  }
  // What fails from here on leaves the page in the part: it is whole.
  try {
    m_published = m_channel->Commit() != 0;
  } catch (...) {
    m_written = m_channel->IsWritten() != 0;
    throw;
  }
  m_written = true;
  if (m_cut) {
    fail(
        Supp_Translate("The file format ended before the page did. The file holds all that it can: scan the rest "
                       "as another page, or "
                       "choose a format without this limit."));
  }
}

// Whether the page was written, as far as its format allows.
bool CScanToFileStor::savePage() {
  const bool paged = m_target.joinsPart;  // fixed while the page is open
  const int saved = savePageRaster(m_channel.get(), paged, &m_facade, m_progress.get());
  bool finished = false;
  {
    const std::lock_guard lock(m_feed.lock);
    if (m_feed.abandoned) return false;
    finished = m_feed.finished && m_feed.queue.count() == 0;
  }
  if (saved == 0) {
    fail(Supp_Translate("Writing was cancelled: the page is not in the file."));
    return false;
  }
  m_cut = saved == kSavedCut || !finished;
  return true;
}

// --- the controlling thread

void CScanToFileStor::pad(int minLines) {
  if (!m_blank || !m_writing || !accepts() || m_lines >= minLines) return;
  const auto missing = static_cast<std::int32_t>(minLines - m_lines);
  m_blank->setLineCount(missing);
  m_feed.queue.push({KxPtr<IScanBuffer>::share(m_blank.get()), missing, 0});
  m_lines = minLines;
}

void CScanToFileStor::BeginFinish(int minLines, void (*done)(void*), void* context) {
  bool over = false;
  {
    const std::lock_guard life(m_life);
    const std::lock_guard lock(m_feed.lock);
    // Lines that were accepted before a `Wake` belong to the page: they are padded and written.
    if (!m_feed.finished) {
      m_woken = false;
      pad(minLines);
      m_feed.finished = true;
    }
    over = !m_writing;
    if (!over && done) m_done = {done, context};
  }
  m_feed.queued.set();
  m_feed.finish.set();
  m_feed.taken.set();
  if (over && done) done(context);
}

int CScanToFileStor::Finish(IRStor** /*out*/, int minLines, int /*release*/) {
  BeginFinish(minLines, nullptr, nullptr);
  KxBaseThread::Stop();  // returns when the worker has written all: it does not watch the stop event
  bool good = false;
  {
    const std::lock_guard life(m_life);
    m_facade.dropStripes();
    m_channel = nullptr;
    m_blank = nullptr;
    const std::lock_guard lock(m_feed.lock);
    m_feed.queue.clear();
    m_opened = false;
    good = m_error.empty() && !m_feed.abandoned;
  }
  m_progress->SetPosition(0);
  return good ? 1 : 0;
}

void CScanToFileStor::Reset() {
  abandon();
  waitForScanner();
  KxBaseThread::Stop();
  const std::lock_guard life(m_life);
  m_facade.dropStripes();
  m_channel = nullptr;
  m_blank = nullptr;
  m_written = m_published = m_cut = false;
  const std::lock_guard lock(m_feed.lock);
  m_feed.queue.clear();
  m_feed.finished = m_feed.abandoned = false;
  m_feed.queued.reset();
  m_feed.finish.reset();
  m_opened = m_writing = m_woken = false;
  m_size = {};
  m_lines = 0;
  m_target = {};
  m_hasTarget = false;
  m_error.clear();
  m_done = {};
}

// Until no AddStripe is under way. They are all on their way out: the page is abandoned.
void CScanToFileStor::waitForScanner() {
  for (;;) {
    {
      const std::lock_guard lock(m_feed.lock);
      if (m_visits == 0) return;
    }
    m_left.wait();
  }
}

void CScanToFileStor::Wake() {
  {
    const std::lock_guard lock(m_feed.lock);
    m_woken = true;
  }
  m_feed.taken.set();
}

void CScanToFileStor::Stop() {
  abandon();
  KxBaseThread::Stop();
}

void CScanToFileStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_feed.lock);
  putExtent(m_size.width, m_lines, rect);
}

void CScanToFileStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_feed.lock);
  putExtentMM(m_size.width, m_lines, m_dpi, rect);
}

bool CScanToFileStor::IsEmpty() {
  const std::lock_guard lock(m_feed.lock);
  return !m_opened && m_error.empty();
}

std::string CScanToFileStor::GetError() {
  const std::lock_guard lock(m_feed.lock);
  return m_error;
}

std::string CScanToFileStor::GetFile() {
  const std::lock_guard lock(m_feed.lock);
  return m_target.path;
}

std::int64_t CScanToFileStor::GetLines() {
  const std::lock_guard lock(m_feed.lock);
  return m_lines;
}

}  // namespace quillbay
