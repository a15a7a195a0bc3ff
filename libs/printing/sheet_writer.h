#pragma once
#include <cstdint>
#include <vector>

#include "printing/page_layout.h"
#include "printing/raster_stream.h"
#include "printing/raster_type.h"

namespace quillbay {

/// Lays the lines of a picture on sheets: white around them, crop marks, and white to the sheet's end. No
/// allocation after the constructor; one thread.
class SheetWriter {
 public:
  /// All outlive it.
  SheetWriter(const PageLayout& layout, const RasterType& type, RasterStream& stream);

  /// Begins a sheet.
  void start(const PrintSheet& sheet);
  [[nodiscard]] bool isOpen() const noexcept { return m_isOpen; }
  /// The sheet has all its lines of the picture.
  [[nodiscard]] bool isFull() const noexcept { return m_taken == m_sheet.lines; }
  /// The next line of the picture, in all its width, as `LinePacker` makes it.
  void add(const std::uint8_t* line);
  /// Fills the rest with white.
  void finish();

 private:
  void writeBlank(std::int64_t until);
  void writeOne(std::uint8_t* line);
  [[nodiscard]] bool hasMarks(std::int64_t y) const noexcept;
  void drawMarks(std::int64_t y, std::uint8_t* line) const;
  void drawBlack(std::int64_t from, std::int64_t to, std::uint8_t* line) const;

  const PageLayout& m_layout;
  const RasterType& m_type;
  RasterStream& m_stream;
  PrintSheet m_sheet;
  bool m_isOpen = false;
  std::int64_t m_taken = 0, m_y = 0;  // lines of the picture, of the sheet
  std::vector<std::uint8_t> m_line, m_blank, m_marked;
};

}  // namespace quillbay
