#include "rasters/draw_axis.h"

#include <algorithm>
#include <cmath>

namespace quillbay {
namespace {

/// Slack of a mapped edge, so that 20.000000001 does not touch pixel 20.
constexpr double kEdgeSlack = 1e-6;

std::uint32_t parts256(double v) noexcept { return static_cast<std::uint32_t>(std::lround(v * 256)); }

AxisSpan shrunkSpan(double from, double to, std::int32_t length) noexcept {
  from = std::clamp(from, 0.0, static_cast<double>(length));
  to = std::clamp(to, 0.0, static_cast<double>(length));
  AxisSpan s;
  s.first = std::min(static_cast<std::int32_t>(from), length - 1);
  s.last = std::clamp(static_cast<std::int32_t>(std::ceil(to)) - 1, s.first, length - 1);
  s.firstWeight = parts256(s.first + 1 - from);
  s.lastWeight = parts256(to - s.last);
  if (s.first < s.last && s.firstWeight == 0) {
    ++s.first;
    s.firstWeight = 256;
  }
  if (s.first < s.last && s.lastWeight == 0) {
    --s.last;
    s.lastWeight = 256;
  }
  if (s.first == s.last) {
    const double covered = std::min(to, s.last + 1.0) - std::max(from, static_cast<double>(s.first));
    s.firstWeight = std::max<std::uint32_t>(1, parts256(std::max(covered, 0.0)));
    s.lastWeight = s.firstWeight;
  }
  return s;
}

}  // namespace

DrawAxis makeDrawAxis(double scale, double offset, std::int32_t length, std::int32_t clipBegin,
                      std::int32_t clipEnd) {
  DrawAxis axis{scale, offset, 0, 0, {}};
  const double far = scale * length + offset;
  if (length <= 0 || scale == 0 || !std::isfinite(far) || clipBegin >= clipEnd) return axis;
  double begin = std::min(offset, far);
  double end = std::max(offset, far);
  begin = axis.shrinks() ? std::floor(begin + kEdgeSlack) : std::ceil(begin - 0.5);
  end = axis.shrinks() ? std::ceil(end - kEdgeSlack) : std::ceil(end - 0.5);
  axis.begin = static_cast<std::int32_t>(std::clamp<double>(begin, clipBegin, clipEnd));
  axis.end = static_cast<std::int32_t>(std::clamp<double>(end, clipBegin, clipEnd));
  if (axis.empty()) return axis;
  axis.spans.reserve(static_cast<std::size_t>(axis.count()));
  for (std::int32_t d = axis.begin; d < axis.end; ++d) {
    if (axis.shrinks()) {
      const double a = (d - offset) / scale;
      const double b = (d + 1.0 - offset) / scale;
      axis.spans.push_back(shrunkSpan(std::min(a, b), std::max(a, b), length));
    } else {
      const double at = std::clamp(std::floor((d + 0.5 - offset) / scale), 0.0, length - 1.0);
      const auto pixel = static_cast<std::int32_t>(at);
      axis.spans.push_back({pixel, pixel, 256, 256});
    }
  }
  return axis;
}

DrawAxis makeLevelAxis(const DrawAxis& source, std::int32_t length, int shift) {
  const double part = 1.0 / (1 << shift);
  const double end = length;
  const auto pixels = static_cast<std::int32_t>((std::int64_t{length} + (1 << shift) - 1) >> shift);
  DrawAxis axis{source.scale / part, source.offset, source.begin, source.end, {}};
  axis.spans.reserve(source.spans.size());
  for (std::int32_t d = axis.begin; d < axis.end; ++d) {
    const double a = std::clamp((d - source.offset) / source.scale, 0.0, end) * part;
    const double b = std::clamp((d + 1.0 - source.offset) / source.scale, 0.0, end) * part;
    axis.spans.push_back(shrunkSpan(std::min(a, b), std::max(a, b), pixels));
  }
  return axis;
}

DrawAxis makeSampledAxis(const DrawAxis& source) {
  DrawAxis axis = source;
  for (AxisSpan& s : axis.spans) {
    const std::int32_t middle = s.first + (s.last - s.first) / 2;
    s = {middle, middle, 256, 256};
  }
  return axis;
}

}  // namespace quillbay
