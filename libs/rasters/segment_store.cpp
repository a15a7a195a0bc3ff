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

/// The place of the segment that comes next; it counts only once the caller has filled it in.
SegmentStore::Segment& SegmentStore::newSegment() {
  auto& block = m_blocks[m_count / kBlock];
  if (!block.load(std::memory_order_relaxed)) {
    block.store(std::make_unique<Block>().release(), std::memory_order_release);
  }
  return segment(m_count);
}

void SegmentStore::grow(std::uint64_t count) {
  if (count > kBlock * kBlocks) {
    const auto most = static_cast<std::int64_t>(m_segmentBytes * kBlock * kBlocks);
    throw CXMemException(formatText(Supp_Translate("A raster may not have more than %s."), {memoryText(most)}));
  }
  while (m_count < count) {
    const auto missing = static_cast<std::int64_t>((count - m_count) * m_segmentBytes);
    newSegment().piece = m_space.allocate(m_segmentBytes, missing);
    ++m_count;
  }
}

void SegmentStore::borrow(const std::shared_ptr<SegmentStore>& lender, std::uint64_t i) {
  const Segment& from = lender->segment(i);
  // Of one that is borrowed itself only its owner is held, not all stores that it went through.
  const auto loanOf = [](std::vector<Loan>& loans, const SegmentStore* store) {
    return std::find_if(loans.begin(), loans.end(), [&](const Loan& loan) { return loan.lender.get() == store; });
  };
  const auto owner = from.lender ? loanOf(lender->m_loans, from.lender)->lender : lender;
  auto loan = loanOf(m_loans, owner.get());
  if (loan == m_loans.end()) loan = m_loans.insert(loan, Loan{owner, 0});
  ++loan->segments;
  Segment& s = newSegment();
  s.lender = owner.get();
  s.lent = from.lender ? from.lent : i;
  ++m_count;
  m_borrowed.store(borrowed() + 1, std::memory_order_relaxed);
}

void SegmentStore::orphan() noexcept {
  m_isOrphan.store(true, std::memory_order_relaxed);
  m_loans.clear();
}

std::uint64_t SegmentStore::inheritedBytes() const noexcept {
  std::uint64_t bytes = 0;
  for (const Loan& loan : m_loans) {
    if (!loan.lender->m_isOrphan.load(std::memory_order_relaxed)) continue;
    const auto holders = static_cast<std::uint64_t>(std::max(1L, loan.lender.use_count()));
    bytes += loan.segments * m_segmentBytes / holders;
  }
  return bytes;
}

std::uint8_t* SegmentStore::at(std::uint64_t i) const {
  Segment& s = segment(i);
  if (s.lender) return s.lender->at(s.lent);
  if (s.piece.fileOffset >= 0 && !s.resident.load(std::memory_order_relaxed)) makeResident(s);
  return s.piece.data;
}

void SegmentStore::keepResident(std::size_t segments) {
  for (const Loan& loan : m_loans) loan.lender->keepOwnResident(segments);
  keepOwnResident(segments);
}

void SegmentStore::keepOwnResident(std::size_t segments) {
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
