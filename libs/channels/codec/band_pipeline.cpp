#include "channels/codec/band_pipeline.h"

#include <algorithm>
#include <utility>

namespace quillbay {

unsigned encoderThreads() noexcept { return std::clamp(std::thread::hardware_concurrency(), 1U, 16U); }

void Band::add(const QbBlock& block, std::int32_t first, std::int32_t count) {
  m_parts.push_back({block, first, count});
  block.add_hold(block.hold);
  m_lines += count;
}

void Band::clear() noexcept {
  for (const Part& part : m_parts) part.block.release_hold(part.block.hold);
  m_parts.clear();
  m_lines = 0;
}

const std::uint8_t* Band::whole(std::size_t lineBytes) const noexcept {
  if (m_parts.empty()) return nullptr;
  const std::uint8_t* next = m_parts.front().line(0);
  for (const Part& part : m_parts) {
    if (!part.block.bytes || part.block.stride != lineBytes || part.line(0) != next) return nullptr;
    next += static_cast<std::size_t>(part.count) * lineBytes;
  }
  return m_parts.front().line(0);
}

BandPipeline::BandPipeline(Setup setup) : m_setup(std::move(setup)) {
  const unsigned threads = encoderThreads();
  // One band being filled, one being delivered, and those of the workers.
  for (unsigned i = 0; i < m_setup.depth * threads + 2; ++i) m_jobs.push_back(std::make_unique<Job>());
  try {
    for (unsigned i = 0; i < threads; ++i) m_workers.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    if (m_workers.empty()) throw;  // fewer threads than cores will do
  }
}

BandPipeline::~BandPipeline() {
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  m_waiting.notify_all();
  for (std::thread& worker : m_workers) worker.join();
}

void BandPipeline::work() {
  std::unique_ptr<IBandEncoder> encoder;
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_waiting.wait(lock, [this] { return m_stop || m_jobs[m_next]->step == Step::Waiting; });
    if (m_stop) return;
    Job& job = *m_jobs[m_next];
    m_next = (m_next + 1) % m_jobs.size();
    job.step = Step::Encoding;
    lock.unlock();
    try {
      if (!encoder) encoder = m_setup.makeEncoder();
      encoder->encode(job.band, job.bytes);
    } catch (...) {
      job.error = std::current_exception();
    }
    job.band.clear();
    lock.lock();
    job.step = Step::Encoded;
    m_encoded.notify_one();
  }
}

bool BandPipeline::frontIsEncoded() {
  const std::lock_guard lock(m_mutex);
  return m_jobs[m_front]->step == Step::Encoded;
}

/// Waits for the oldest band and delivers it.
void BandPipeline::deliverFront() {
  Job& job = *m_jobs[m_front];
  {
    std::unique_lock lock(m_mutex);
    m_encoded.wait(lock, [&] { return job.step == Step::Encoded; });
  }
  if (job.error) std::rethrow_exception(job.error);
  m_setup.deliver(job.bytes);
  m_front = (m_front + 1) % m_jobs.size();
  const std::lock_guard lock(m_mutex);
  job.step = Step::Empty;
}

void BandPipeline::submit() {
  Band& band = m_jobs[m_fill]->band;
  band.setFirst(m_submitted);
  m_submitted += band.lines();
  if (m_setup.prepare) m_setup.prepare(band);
  {
    const std::lock_guard lock(m_mutex);
    m_jobs[m_fill]->step = Step::Waiting;
  }
  m_waiting.notify_one();
  m_fill = (m_fill + 1) % m_jobs.size();
  if (m_fill == m_front) deliverFront();
  while (m_front != m_fill && frontIsEncoded()) deliverFront();
}

void BandPipeline::push(const QbBlock& block) {
  for (std::int32_t first = 0; first < block.lines;) {
    Band& band = m_jobs[m_fill]->band;
    const std::int32_t count = std::min(block.lines - first, m_setup.bandLines - band.lines());
    band.add(block, first, count);
    first += count;
    if (band.lines() == m_setup.bandLines) submit();
  }
}

void BandPipeline::finish() {
  if (m_jobs[m_fill]->band.lines() > 0) submit();
  while (m_front != m_fill) deliverFront();
}

}  // namespace quillbay
