#pragma once
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "rasters/raster_space.h"

namespace quillbay {

/// A growing row of segments of equal size. A segment never moves, and the table that finds it is never
/// reallocated. Threads: one writer; readers of what the writer has published (by an atomic of its own) run beside
/// it without a lock, except for the moment when a reader comes to a segment of the scratch file that nobody has
/// read lately.
class SegmentStore {
 public:
  /// Segments of the scratch file whose pages stay mapped; the others stay in the system's cache only, so that the
  /// process's own memory does not grow with the raster.
  static constexpr std::size_t kResident = 8;

  /// `space` outlives the store. `segmentBytes` > 0.
  SegmentStore(RasterSpace& space, std::size_t segmentBytes, std::size_t resident = kResident)
      : m_space(space), m_segmentBytes(segmentBytes), m_mostResident(resident) {}
  ~SegmentStore();
  SegmentStore(const SegmentStore&) = delete;
  SegmentStore& operator=(const SegmentStore&) = delete;

  [[nodiscard]] std::size_t segmentBytes() const noexcept { return m_segmentBytes; }
  /// Segments that there are. Writer only.
  [[nodiscard]] std::uint64_t count() const noexcept { return m_count; }
  /// Grows to `count` segments, zeroed. Throws CXMemException; the contents are kept.
  void grow(std::uint64_t count);
  /// Adds a segment of `lender`, whose segments have the same size. It is read from there, never written, and the
  /// lender, or the store that it has borrowed from itself, lives on as long as this store. Writer only.
  void borrow(const std::shared_ptr<SegmentStore>& lender, std::uint64_t segment);
  /// Segments that are borrowed. Any thread.
  [[nodiscard]] std::uint64_t borrowed() const noexcept { return m_borrowed.load(std::memory_order_relaxed); }
  /// The raster of this store is gone: what others have borrowed is theirs from now on, and what it has borrowed
  /// itself is given back. Writer only.
  void orphan() noexcept;
  /// Bytes that are borrowed from orphaned stores, each divided among all that hold it. Not beside `borrow`.
  [[nodiscard]] std::uint64_t inheritedBytes() const noexcept;
  /// A segment's bytes. Any thread.
  [[nodiscard]] std::uint8_t* at(std::uint64_t segment) const;
  /// Lets more segments stay mapped from now on. Not beside `borrow`.
  void keepResident(std::size_t segments);
  /// Copies `count` bytes into a segment. Writer only. Throws CXMemException when the disk fails.
  void write(std::uint64_t segment, std::size_t offset, const std::uint8_t* bytes, std::size_t count);

 private:
  static constexpr std::size_t kBlock = 512;
  static constexpr std::size_t kBlocks = 4096;

  struct Segment {
    RasterSpace::Piece piece;
    std::atomic<bool> resident{false};
    const SegmentStore* lender = nullptr;  // of a borrowed one, and which it is there
    std::uint64_t lent = 0;
  };
  using Block = std::array<Segment, kBlock>;

  [[nodiscard]] Segment& segment(std::uint64_t i) const noexcept {
    return (*m_blocks[i / kBlock].load(std::memory_order_acquire))[i % kBlock];
  }
  Segment& newSegment();
  void keepOwnResident(std::size_t segments);
  void makeResident(Segment& s) const;

  RasterSpace& m_space;
  const std::size_t m_segmentBytes;
  std::uint64_t m_count = 0;  // writer only
  /// A store that segments were borrowed from, and how many.
  struct Loan {
    std::shared_ptr<SegmentStore> lender;
    std::uint64_t segments = 0;
  };
  std::vector<Loan> m_loans;  // changed by `borrow` only
  std::atomic<bool> m_isOrphan{false};
  std::atomic<std::uint64_t> m_borrowed{0};
  std::array<std::atomic<Block*>, kBlocks> m_blocks{};
  mutable std::mutex m_residentMutex;
  std::size_t m_mostResident;               // guarded by m_residentMutex
  mutable std::deque<Segment*> m_resident;  // guarded by m_residentMutex, oldest first
};

}  // namespace quillbay
