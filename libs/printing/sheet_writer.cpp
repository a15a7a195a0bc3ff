#include "printing/sheet_writer.h"

#include <algorithm>

#include "printing/line_packer.h"
#include "quillbay/run_list.h"

namespace quillbay {

namespace {

/// A thin line: a fifth of a millimetre, at least one pixel.
std::int64_t markWidth(std::uint32_t dpi) { return std::max<std::int64_t>(1, dpi / 127); }

}  // namespace

SheetWriter::SheetWriter(const PageLayout& layout, const RasterType& type, RasterStream& stream)
    : m_layout(layout),
      m_type(type),
      m_stream(stream),
      m_line(lineBytes(type.kind, layout.sheetPixels), type.white()),
      m_blank(m_line),
      m_marked(layout.hasCropMarks ? m_line : std::vector<std::uint8_t>{}) {}

void SheetWriter::start(const PrintSheet& sheet) {
  // The part beside a narrower picture is white again.
  m_line = m_blank;
  m_sheet = sheet;
  m_isOpen = true;
  m_taken = 0;
  m_y = 0;
  m_stream.startSheet();
  writeBlank(sheet.y);
}

void SheetWriter::add(const std::uint8_t* line) {
  copyPixels(m_type.kind, line, m_sheet.left, m_line.data(), m_sheet.x, m_sheet.width);
  ++m_taken;
  writeOne(m_line.data());
}

void SheetWriter::finish() {
  writeBlank(m_layout.sheetLines);
  m_isOpen = false;
}

void SheetWriter::writeBlank(std::int64_t until) {
  while (m_y < until) writeOne(m_blank.data());
}

void SheetWriter::writeOne(std::uint8_t* line) {
  if (m_layout.hasCropMarks && hasMarks(m_y)) {
    std::copy_n(line, m_marked.size(), m_marked.data());
    drawMarks(m_y, m_marked.data());
    line = m_marked.data();
  }
  ++m_y;
  m_stream.writeLine(line);
}

/// Marks stand outside of the picture's rectangle, in line with its edges.
bool SheetWriter::hasMarks(std::int64_t y) const noexcept {
  const std::int64_t bottom = m_sheet.y + m_sheet.lines, thick = markWidth(m_layout.resolution.y);
  const std::int64_t reach = m_layout.markY + m_layout.markY / 5;
  const bool upright = (y >= m_sheet.y - reach && y < m_sheet.y) || (y >= bottom && y < bottom + reach);
  const bool level = (y >= m_sheet.y && y < m_sheet.y + thick) || (y < bottom && y >= bottom - thick);
  return upright || level;
}

void SheetWriter::drawMarks(std::int64_t y, std::uint8_t* line) const {
  const std::int64_t left = m_sheet.x, right = m_sheet.x + m_sheet.width, bottom = m_sheet.y + m_sheet.lines;
  if (y >= m_sheet.y && y < bottom) {
    const std::int64_t gap = m_layout.markX / 5;
    drawBlack(left - gap - m_layout.markX, left - gap, line);
    drawBlack(right + gap, right + gap + m_layout.markX, line);
    return;
  }
  const std::int64_t gap = m_layout.markY / 5;
  if (y >= m_sheet.y - gap && y < bottom + gap) return;
  const std::int64_t thick = markWidth(m_layout.resolution.x);
  drawBlack(left, left + thick, line);
  drawBlack(right - thick, right, line);
}

void SheetWriter::drawBlack(std::int64_t from, std::int64_t to, std::uint8_t* line) const {
  from = std::max<std::int64_t>(from, 0);
  to = std::min(to, m_layout.sheetPixels);
  if (from >= to) return;
  if (m_type.kind == LineKind::Bits) {
    setBits(line, static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - 1));
    return;
  }
  std::uint8_t* const first = line + lineBytes(m_type.kind, from);
  std::fill(first, line + lineBytes(m_type.kind, to), static_cast<std::uint8_t>(255 - m_type.white()));
}

}  // namespace quillbay
