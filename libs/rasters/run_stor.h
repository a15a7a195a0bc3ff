#pragma once
#include "rasters/raster_base.h"
#include "rasters/run_lists.h"
#include "rasters/segment_store.h"

namespace quillbay {

/// Run lists (codes 1 and 2). Lists are appended to segments one after another; an index of 64-bit offsets finds
/// them. A list that is replaced by a longer one is appended again, and its old place is not used again. Lines
/// without a list of their own are blank and cost eight bytes.
class CRunStor final : public RasterBase {
 public:
  /// Throws CXMemException when there is no room for the index of `height` lines.
  CRunStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi);

  std::int64_t GetByteCount() override;
  int readLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override;
  int writeLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) override;
  void appendStripe(IScanBuffer& stripe, std::int32_t lines) override;

  [[nodiscard]] bool hasLine(std::int32_t line) noexcept { return line >= 0 && line < GetHeight(); }
  /// The list of a line that is there.
  [[nodiscard]] RunView runs(std::int32_t line) const;

 protected:
  void reserveLines(std::int32_t lines) override;
  void blankLines(std::int32_t first, std::int32_t count) override;
  void moveLine(std::int32_t from, std::int32_t to) override;
  std::unique_ptr<RowSource> newRowSource(const DrawAxis& columns, const DrawAxis& rows) override;
  void addToLevels(RasterLevels& levels, std::int32_t line) override { levels.addLine(runs(line)); }

 private:
  class Rows;
  /// Stands before each list.
  struct Header {
    std::uint32_t count;     ///< runs
    std::uint32_t capacity;  ///< runs that fit in its place
  };
  [[nodiscard]] std::atomic<std::uint64_t>& indexOf(std::int32_t line) const;
  [[nodiscard]] Header* headerAt(std::uint64_t offset) const;
  [[nodiscard]] std::uint64_t newPlace(std::size_t count);
  void setLine(std::int32_t line, const std::uint32_t* list);
  void storeRuns(std::int32_t line, const std::uint32_t* runs, std::size_t count);

  SegmentStore m_lists;
  SegmentStore m_index;                  // std::atomic<std::uint64_t>; 0: a blank line
  std::atomic<std::uint64_t> m_used{0};  // bytes of m_lists; the first eight stay unused, so that no list is at 0
};

}  // namespace quillbay
