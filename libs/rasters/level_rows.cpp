#include "rasters/level_rows.h"

#include <algorithm>

namespace quillbay {

LevelRows::LevelRows(const RasterLevels& levels, const DrawAxis& columns, const DrawAxis& rows, KxSize size,
                     std::uint32_t background)
    : m_levels(levels), m_columns(columns), m_rows(rows), m_size(size) {
  const double reduction = std::min(columns.reduction(), rows.reduction());
  while (m_best + 1 < levels.count() && reduction >= 1 << levels.shift(m_best + 1)) ++m_best;
  if (isEmpty()) return;
  m_parts.resize(static_cast<std::size_t>(m_best) + 1);
  if (levels.isInk()) m_ink = inkColors(background);
}

LevelRows::Part::Part(const LevelRows& owner, int level)
    : columns(makeLevelAxis(owner.m_columns, owner.m_size.width, owner.m_levels.shift(level))),
      rows(makeLevelAxis(owner.m_rows, owner.m_size.height, owner.m_levels.shift(level))),
      reducer(owner.m_levels.rowSpace(), Palette{}, columns) {
  if (owner.m_levels.isInk()) reducer.setInk(std::max(columns.reduction(), rows.reduction()), owner.m_ink);
}

bool LevelRows::paint(std::size_t i, std::uint32_t* out) {
  const std::int32_t lastLine = m_rows.spans[i].last;
  for (int level = m_best; level >= 0; --level) {
    if (lastLine >> m_levels.shift(level) >= m_levels.rows(level)) continue;
    auto& part = m_parts[static_cast<std::size_t>(level)];
    if (!part) part = std::make_unique<Part>(*this, level);
    const AxisSpan& span = part->rows.spans[i];
    part->reducer.paintRow(
        span, [&](std::int32_t line) { return m_levels.row(level, line); }, out);
    return true;
  }
  return false;
}

}  // namespace quillbay
