#include "stores/tone_reduction.h"

#include <algorithm>
#include <cstring>

namespace quillbay {
namespace {

ToneOrder orderOf(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Palette: return ToneOrder::BgrX;
    case KxColorSpace::Rgb: return ToneOrder::Rgb;
    case KxColorSpace::Bgr: return ToneOrder::Bgr;
    default: return ToneOrder::Grey;
  }
}

}  // namespace

void ToneReduction::takePalette(const KXRGBQUAD* palette) {
  for (std::size_t i = 0; i < m_colors.size(); ++i) {
    const std::uint16_t tones[4] = {palette[i].blue, palette[i].green, palette[i].red, 0};
    std::memcpy(&m_colors[i], tones, sizeof(tones));
  }
}

bool ToneReduction::reduce(const std::vector<const std::uint8_t*>& lines, std::int32_t width,
                           KxColorSpace colorSpace, const KXRGBQUAD* palette, KxSize size, Picture* out) {
  const auto count = static_cast<std::int64_t>(lines.size());
  const std::uint32_t unit =
      lineUnit(static_cast<double>(width) / size.width + 2, static_cast<double>(count) / size.height + 2);
  if (unit == 0) return false;
  if (m_width != width || m_cells.cells.size() != static_cast<std::size_t>(size.width)) {
    m_cells.make(makeAreaSpans(width, size.width, kWholePixel));
    m_width = width;
  }
  m_colorSpace = colorSpace;
  if (colorSpace == KxColorSpace::Palette) takePalette(palette);
  std::uint8_t* row = out->bytes.data();
  for (const AreaSpan& span : makeAreaSpans(count, size.height, unit)) {
    paintRow(span, unit, lines.data(), reinterpret_cast<std::uint32_t*>(row));
    row += out->stride;
  }
  return true;
}

void ToneReduction::paintRow(const AreaSpan& span, std::uint32_t unit, const std::uint8_t* const* lines,
                             std::uint32_t* out) {
  const bool single = span.first == span.last;
  const std::uint8_t* const parts[2] = {lines[span.first], lines[span.last]};
  const std::uint16_t weights[2] = {span.firstWeight, span.lastWeight};
  WeightedLines row;
  row.whole = lines + span.first + 1;
  row.wholeCount = static_cast<std::size_t>(span.whole());
  row.unit = unit;
  row.parts = parts;
  row.weights = weights;
  row.partCount = single ? 1 : 2;
  const ToneOrder order = orderOf(m_colorSpace);
  const std::size_t tones = toneCount(order);
  const float inverse = 1.0F / static_cast<float>(span.weight(unit));
  std::uint32_t* const sums = m_cells.sums.data();
  for (const CellBlock& block : m_cells.blocks) {
    if (m_colorSpace == KxColorSpace::Palette) {
      sumIndices(row, m_colors.data(), block.firstPixel, block.pixelCount, sums);
    } else {
      sumLines(row, block.firstPixel * tones, block.pixelCount * tones, sums);
    }
    finishCells(order, m_cells.cells.data() + block.firstCell, block.cellCount, sums, inverse,
                out + block.firstCell);
  }
}

}  // namespace quillbay
