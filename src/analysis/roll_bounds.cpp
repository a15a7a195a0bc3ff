#include "analysis/roll_bounds.h"

#include <algorithm>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

RollBounds::RollBounds(BoundStripes beginning, const BoundSettings& settings)
    : m_beginning(std::move(beginning)),
      m_settings(settings),
      m_finder(m_beginning.size().width, settings.threshold),
      m_current(static_cast<std::size_t>(m_beginning.size().width)),
      m_room(m_current.size()) {
  addRows(m_beginning);
}

void RollBounds::addRows(const BoundStripes& stripes) {
  const std::int32_t height = stripes.size().height;
  m_extents.reserve(m_extents.size() + static_cast<std::size_t>(height));
  for (std::int32_t y = 0; y < height; ++y, ++m_rows) {
    const std::uint8_t* row = stripes.row(y, m_room.data());
    if (m_rows == 0) m_finder.begin(row);
    if (m_rows > 0) m_extents.push_back(m_rows > 1 ? m_finder.extentOf(m_current.data(), row) : RowExtent{});
    std::copy_n(row, m_current.size(), m_current.data());
  }
}

void RollBounds::add(IScanBuffer* stripe) {
  BoundStripes one;
  if (!one.add(stripe) || one.size().width != m_beginning.size().width || one.isGrey() != m_beginning.isGrey()) {
    return logLine(LogLevel::Warning, "quillbay.analysis", "a prescan's stripe that does not fit is left out");
  }
  addRows(one);
}

std::optional<KxRect> RollBounds::detect(const BoundServices& services, double* angle) {
  m_extents.resize(static_cast<std::size_t>(m_rows));  // the last row has none
  return boundsOf(m_extents, m_beginning, m_settings, services, angle);
}

}  // namespace quillbay
