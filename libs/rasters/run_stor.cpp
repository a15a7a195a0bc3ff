#include "rasters/run_stor.h"

#include <algorithm>
#include <cstring>

#include "platform/base_services.h"
#include "rasters/draw_runs.h"

namespace quillbay {
namespace {

constexpr std::size_t kSegmentBytes = std::size_t{4} << 20;
constexpr std::size_t kIndexBytes = std::size_t{1} << 20;
constexpr std::uint32_t kBlank[2] = {RunEnd, 0};

static_assert(sizeof(std::atomic<std::uint64_t>) == 8 && std::atomic<std::uint64_t>::is_always_lock_free,
              "index entries are plain words of zeroed memory");

/// A segment holds the longest list that a line may have.
std::size_t listSegmentBytes(std::int32_t width) noexcept {
  const std::size_t longest = 8 + runListBytes(static_cast<std::size_t>(width) / 2 + 1);
  return std::max(kSegmentBytes, (longest + 4095) / 4096 * 4096);
}

}  // namespace

CRunStor::CRunStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi)
    : RasterBase(colorSpace, width, dpi), m_lists(m_space, listSegmentBytes(width)), m_index(m_space, kIndexBytes) {
  if (height <= 0) return;
  CRunStor::reserveLines(height);
  publishHeight(height);
}

std::int64_t CRunStor::GetByteCount() {
  return static_cast<std::int64_t>(m_used.load(std::memory_order_relaxed)) +
         8 * static_cast<std::int64_t>(GetHeight());
}

std::atomic<std::uint64_t>& CRunStor::indexOf(std::int32_t line) const {
  constexpr std::uint64_t kPerSegment = kIndexBytes / 8;
  const auto i = static_cast<std::uint64_t>(line);
  return reinterpret_cast<std::atomic<std::uint64_t>*>(m_index.at(i / kPerSegment))[i % kPerSegment];
}

CRunStor::Header* CRunStor::headerAt(std::uint64_t offset) const {
  const std::uint64_t bytes = m_lists.segmentBytes();
  return reinterpret_cast<Header*>(m_lists.at(offset / bytes) + offset % bytes);
}

RunView CRunStor::runs(std::int32_t line) const {
  const std::uint64_t offset = indexOf(line).load(std::memory_order_acquire);
  if (offset == 0) return {kBlank, 0};
  const Header* header = headerAt(offset);
  return {reinterpret_cast<const std::uint32_t*>(header + 1), header->count};
}

void CRunStor::reserveLines(std::int32_t lines) {
  m_index.grow((static_cast<std::uint64_t>(lines) * 8 + kIndexBytes - 1) / kIndexBytes);
}

void CRunStor::blankLines(std::int32_t first, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) indexOf(first + i).store(0, std::memory_order_release);
}

void CRunStor::moveLine(std::int32_t from, std::int32_t to) {
  indexOf(to).store(indexOf(from).load(std::memory_order_relaxed), std::memory_order_release);
}

std::uint64_t CRunStor::newPlace(std::size_t count) {
  const std::uint64_t bytes = m_lists.segmentBytes();
  const std::uint64_t need = sizeof(Header) + runListBytes(count);
  std::uint64_t offset = std::max<std::uint64_t>(m_used.load(std::memory_order_relaxed), 8);
  if (offset / bytes != (offset + need - 1) / bytes) offset = (offset / bytes + 1) * bytes;
  m_lists.grow(offset / bytes + 1);
  m_used.store(offset + need, std::memory_order_relaxed);
  return offset;
}

void CRunStor::storeRuns(std::int32_t line, const std::uint32_t* runs, std::size_t count) {
  std::atomic<std::uint64_t>& index = indexOf(line);
  std::uint64_t offset = index.load(std::memory_order_relaxed);
  if (count == 0) {
    index.store(0, std::memory_order_release);
    return;
  }
  const bool fits = offset != 0 && headerAt(offset)->capacity >= count;
  if (!fits) {
    offset = newPlace(count);
    headerAt(offset)->capacity = static_cast<std::uint32_t>(count);
  }
  Header* header = headerAt(offset);
  header->count = static_cast<std::uint32_t>(count);
  auto* words = reinterpret_cast<std::uint32_t*>(header + 1);
  std::memcpy(words, runs, count * 8);
  words[2 * count] = RunEnd;
  words[2 * count + 1] = 0;
  if (!fits) index.store(offset, std::memory_order_release);
}

void CRunStor::setLine(std::int32_t line, const std::uint32_t* list) {
  std::size_t count = 0;
  if (areValidRuns(list, m_width, &count)) {
    storeRuns(line, list, count);
    return;
  }
  if (logEnabled(LogLevel::Debug, "quillbay.raster")) {
    logLine(LogLevel::Debug, "quillbay.raster", "repaired the run list of line " + std::to_string(line));
  }
  std::vector<std::uint32_t> repaired(2 * runCount(list) + 1);
  count = repairRuns(list, m_width, repaired.data());
  storeRuns(line, repaired.data(), count);
}

int CRunStor::readLine(std::int32_t line, std::int32_t, std::int32_t, void* buffer) {
  if (!hasLine(line) || !buffer) return 0;
  const RunView list = runs(line);
  std::memcpy(buffer, list.runs, runListBytes(list.count));
  return 1;
}

int CRunStor::writeLine(std::int32_t line, std::int32_t, std::int32_t, const void* buffer) {
  if (!hasLine(line) || !buffer) return 0;
  setLine(line, static_cast<const std::uint32_t*>(buffer));
  countWrite();
  linesChanged(line);
  return 1;
}

void CRunStor::appendStripe(IScanBuffer& stripe, std::int32_t lines) {
  const std::int32_t height = GetHeight();
  reserveLines(height + lines);
  for (std::int32_t i = 0; i < lines; ++i) {
    setLine(height + i, reinterpret_cast<const std::uint32_t*>(stripe.GetLine(i)));
  }
  countWrite();
  publishHeight(height + lines);
  linesAppended(height);
}

class CRunStor::Rows final : public RowSource {
 public:
  Rows(const CRunStor& stor, const DrawAxis& columns, const DrawAxis& rows, std::uint32_t background)
      : m_stor(stor), m_reducer(columns, rows, background) {}
  void paint(const AxisSpan& span, std::uint32_t* out) override {
    for (std::int32_t line = span.first; line <= span.last; ++line)
      m_reducer.addLine(m_stor.runs(line), span.weight(line));
    m_reducer.finishRow(out);
  }

 private:
  const CRunStor& m_stor;
  RunReducer m_reducer;
};

std::unique_ptr<RowSource> CRunStor::newRowSource(const DrawAxis& columns, const DrawAxis& rows) {
  return std::make_unique<Rows>(*this, columns, rows, GetBackground());
}

}  // namespace quillbay
