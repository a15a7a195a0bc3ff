#pragma once
#include "rasters/raster_base.h"
#include "rasters/segment_store.h"

namespace quillbay {

/// Lines of equal length (codes 4, 8, 16, 32, 64, 256 and 512), whole lines to a segment.
class CStripStor final : public RasterBase {
 public:
  /// Throws CXMemException when there is no room for `height` lines.
  CStripStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi);
  ~CStripStor() override { m_store.orphan(); }

  /// Without the lines that are shared with an earlier raster, which counts them; once that is gone they are
  /// divided among those that share them.
  std::int64_t GetByteCount() override;
  int IsReadOnly() override { return m_lines.use_count() > 1 || m_store.borrowed() > 0 ? 1 : 0; }
  int readLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override;
  int writeLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) override;
  void appendStripe(IScanBuffer& stripe, std::int32_t lines) override;
  std::int32_t shareLines(RasterBase& source, std::int32_t end) override;
  [[nodiscard]] std::int32_t sharedBlock() const noexcept override { return m_segmentLines; }

 protected:
  void reserveLines(std::int32_t lines) override;
  void blankLines(std::int32_t first, std::int32_t count) override;
  void moveLine(std::int32_t from, std::int32_t to) override;
  std::unique_ptr<RowSource> newRowSource(const DrawAxis& columns, const DrawAxis& rows) override;
  void keepForViewing() override;
  void addToLevels(RasterLevels& levels, std::int32_t line) override { levels.addLine(lineAt(line)); }

 private:
  class Rows;
  /// Held by the rasters that share lines of it as well.
  struct Lines {
    explicit Lines(std::size_t segmentBytes) : space(currentRasterPolicy()), store(space, segmentBytes) {}
    RasterSpace space;
    SegmentStore store;
  };
  /// Part of one segment: consecutive lines.
  struct Piece {
    std::uint64_t segment;
    std::size_t offset;
    std::int32_t lines;
  };
  [[nodiscard]] Piece pieceAt(std::int32_t line, std::int32_t most) const noexcept;
  [[nodiscard]] std::uint8_t* lineAt(std::int32_t line) const;
  void appendBytes(const std::uint8_t* bytes, std::size_t stride, std::int32_t lines);

  const std::size_t m_lineBytes;
  const std::int32_t m_segmentLines;
  const std::shared_ptr<Lines> m_lines;
  SegmentStore& m_store;
};

}  // namespace quillbay
