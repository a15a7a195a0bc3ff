#include "rasters/draw_runs.h"

#include <algorithm>
#include <cmath>

namespace quillbay {
namespace {

constexpr std::int64_t kWhole = 1 << 16;

}  // namespace

RunReducer::RunReducer(const DrawAxis& columns, const DrawAxis& rows, std::uint32_t background)
    : m_columns(columns), m_gain(std::max(columns.reduction(), rows.reduction())), m_colors(inkColors(background)) {
  std::int32_t low = columns.spans.front().first;
  std::int32_t high = 0;
  for (const AxisSpan& s : columns.spans) {
    low = std::min(low, s.first);
    high = std::max(high, s.last);
  }
  m_low = static_cast<std::uint32_t>(low);
  m_high = static_cast<std::uint32_t>(high);
  m_part.resize(columns.spans.size());
  m_step.resize(columns.spans.size() + 1);
}

void RunReducer::addLine(const RunView& line, std::uint32_t weight) {
  m_totalWeight += weight;
  for (std::size_t i = firstRunFrom(line, m_low); i < line.count && line.runs[2 * i] <= m_high; ++i) {
    const double a = m_columns.scale * line.runs[2 * i] + m_columns.offset - m_columns.begin;
    const double b = m_columns.scale * (line.runs[2 * i + 1] + 1.0) + m_columns.offset - m_columns.begin;
    cover(std::min(a, b), std::max(a, b), weight);
  }
}

void RunReducer::cover(double from, double to, std::int64_t weight) noexcept {
  const auto columns = static_cast<double>(m_part.size());
  if (!m_columns.shrinks()) {  // the pixels whose centre is inside, as the nearest source pixel has it
    from = std::ceil(from - 0.5);
    to = std::ceil(to - 0.5);
  }
  from = std::clamp(from, 0.0, columns);
  to = std::clamp(to, 0.0, columns);
  if (from >= to) return;
  // Rounded by hand: neither is below 0, and a call of the library for each edge costs more than all the rest.
  // NOLINTBEGIN(bugprone-incorrect-roundings)
  const auto start = static_cast<std::int64_t>(from * kWhole + 0.5);
  const auto stop = static_cast<std::int64_t>(to * kWhole + 0.5);
  // NOLINTEND(bugprone-incorrect-roundings)
  const auto first = static_cast<std::size_t>(start) / kWhole;
  const auto last = static_cast<std::size_t>(stop) / kWhole;
  if (first == last) {
    if (first < m_part.size()) m_part[first] += (stop - start) * weight;
    return;
  }
  m_part[first] += (static_cast<std::int64_t>(first + 1) * kWhole - start) * weight;
  if (last < m_part.size()) m_part[last] += (stop - static_cast<std::int64_t>(last) * kWhole) * weight;
  m_step[first + 1] += kWhole * weight;
  m_step[last] -= kWhole * weight;
}

void RunReducer::finishRow(std::uint32_t* out) {
  const double toDarkness =
      255 * m_gain / (static_cast<double>(kWhole) * static_cast<double>(std::max<std::uint64_t>(1, m_totalWeight)));
  std::int64_t whole = 0;
  for (std::size_t i = 0; i < m_part.size(); ++i) {
    whole += m_step[i];
    const double dark = std::min(255.0, static_cast<double>(whole + m_part[i]) * toDarkness + 0.5);
    *out++ = m_colors[static_cast<std::size_t>(dark)];
  }
  std::fill(m_part.begin(), m_part.end(), 0);
  std::fill(m_step.begin(), m_step.end(), 0);
  m_totalWeight = 0;
}

}  // namespace quillbay
