#include "rasters/segment_store.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// From here on a write to the scratch file goes through a system call: pages that the process has not touched yet
/// cost more than that. Smaller ones go through the mapping.
constexpr std::size_t kDirectWrite = std::size_t{8} << 10;

}  // namespace

SegmentStore::~SegmentStore() {
  for (auto& block : m_blocks) delete block.load(std::memory_order_relaxed);
}

void SegmentStore::grow(std::uint64_t count) {
  if (count > kBlock * kBlocks) {
    const auto most = static_cast<std::int64_t>(m_segmentBytes * kBlock * kBlocks);
    throw CXMemException(formatText(Supp_Translate("A raster may not have more than %s."), {memoryText(most)}));
  }
  while (m_count < count) {
    auto& block = m_blocks[m_count / kBlock];
    if (!block.load(std::memory_order_relaxed)) {
      block.store(std::make_unique<Block>().release(), std::memory_order_release);
    }
    const auto missing = static_cast<std::int64_t>((count - m_count) * m_segmentBytes);
    segment(m_count).piece = m_space.allocate(m_segmentBytes, missing);
    ++m_count;
  }
}

std::uint8_t* SegmentStore::at(std::uint64_t i) const {
  Segment& s = segment(i);
  if (s.piece.fileOffset >= 0 && !s.resident.load(std::memory_order_relaxed)) makeResident(s);
  return s.piece.data;
}

void SegmentStore::keepResident(std::size_t segments) {
  const std::lock_guard lock(m_residentMutex);
  m_mostResident = std::max(m_mostResident, segments);
}

void SegmentStore::makeResident(Segment& s) const {
  const std::lock_guard lock(m_residentMutex);
  if (s.resident.load(std::memory_order_relaxed)) return;
  if (m_resident.size() >= m_mostResident) {
    Segment* oldest = m_resident.front();
    m_resident.pop_front();
    // Lets go of the pages only: the file keeps what was written, and a thread that is still there reads it again.
    madvise(oldest->piece.data, m_segmentBytes, MADV_DONTNEED);
    oldest->resident.store(false, std::memory_order_relaxed);
  }
  m_resident.push_back(&s);
  s.resident.store(true, std::memory_order_relaxed);
}

void SegmentStore::write(std::uint64_t i, std::size_t offset, const std::uint8_t* bytes, std::size_t count) {
  if (count == 0) return;
  const RasterSpace::Piece& piece = segment(i).piece;
  if (piece.fileOffset >= 0 && count >= kDirectWrite) {
    m_space.scratch()->write(piece.fileOffset + static_cast<std::int64_t>(offset), bytes, count);
  } else {
    std::memcpy(at(i) + offset, bytes, count);
  }
}

}  // namespace quillbay
