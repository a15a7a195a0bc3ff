#include "stores/area_span.h"

#include <algorithm>

namespace quillbay {
namespace {

/// `part` of `whole` in units, rounded.
std::uint16_t weightOf(std::int64_t part, std::int64_t whole, std::uint32_t unit) noexcept {
  return static_cast<std::uint16_t>((part * unit + whole / 2) / whole);
}

AreaSpan spanOf(std::int64_t cell, std::int64_t length, std::int64_t cells, std::uint32_t unit) noexcept {
  const std::int64_t from = cell * length, to = from + length;  // in parts of a source pixel, `cells` to each
  AreaSpan s;
  s.first = static_cast<std::int32_t>(from / cells);
  s.last = static_cast<std::int32_t>((to - 1) / cells);
  if (s.first < s.last) {
    s.firstWeight = weightOf(cells - from % cells, cells, unit);
    s.lastWeight = weightOf(to - s.last * cells, cells, unit);
    if (s.firstWeight == 0) {
      ++s.first;
      s.firstWeight = s.first == s.last ? s.lastWeight : static_cast<std::uint16_t>(unit);
    }
  }
  if (s.first < s.last && s.lastWeight == 0) {
    --s.last;
    s.lastWeight = static_cast<std::uint16_t>(unit);
    if (s.first == s.last) s.lastWeight = s.firstWeight;
  }
  if (s.first == s.last) {
    if (s.firstWeight == 0)
      s.firstWeight = std::max<std::uint16_t>(1, weightOf(std::min(length, cells), cells, unit));
    s.lastWeight = s.firstWeight;
  }
  return s;
}

}  // namespace

std::vector<AreaSpan> makeAreaSpans(std::int64_t length, std::int32_t cells, std::uint32_t unit) {
  std::vector<AreaSpan> spans;
  spans.reserve(static_cast<std::size_t>(cells));
  for (std::int64_t cell = 0; cell < cells; ++cell) spans.push_back(spanOf(cell, length, cells, unit));
  return spans;
}

std::uint32_t lineUnit(double across, double down) noexcept {
  constexpr double kMost = 2147483647.0;
  for (std::uint32_t unit = 256; unit > 0; unit /= 2) {
    if (across * down * 255 * unit < kMost) return unit;
  }
  return 0;
}

}  // namespace quillbay
