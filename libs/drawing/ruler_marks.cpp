#include "drawing/ruler_marks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace quillbay {

namespace {

struct Nice {
  double number;
  std::array<int, 4> parts;  // finest first
};
constexpr Nice kNice[] = {{1, {10, 5, 2, 1}}, {2, {10, 4, 2, 1}}, {5, {10, 5, 1, 1}}, {10, {10, 5, 2, 1}}};
/// Beyond them numbers say nothing.
constexpr double kFinest = 1e-9, kCoarsest = 1e12;

RulerMark::Kind kindOf(std::int64_t index, int parts) {
  if (index % parts == 0) return RulerMark::Kind::Number;
  return parts % 2 == 0 && index % (parts / 2) == 0 ? RulerMark::Kind::Half : RulerMark::Kind::Part;
}

}  // namespace

RulerSteps rulerSteps(double pixelsPerUnit, double leastNumber, double leastMark) noexcept {
  const double least = leastNumber / pixelsPerUnit;
  if (!(least >= kFinest && least <= kCoarsest)) return {};
  constexpr double kSlack = 1 - 1e-9;
  const int power = static_cast<int>(std::floor(std::log10(least) + 1e-9));
  const double ten = std::pow(10.0, power);
  for (const Nice& nice : kNice) {
    const double number = nice.number * ten;
    if (number < least * kSlack) continue;
    const auto fits = [&](int parts) { return number / parts * pixelsPerUnit >= leastMark * kSlack; };
    const auto parts = std::find_if(nice.parts.begin(), nice.parts.end(), fits);
    return {number, parts == nice.parts.end() ? 1 : *parts, std::max(0, nice.number == 10 ? -power - 1 : -power)};
  }
  return {};
}

std::vector<RulerMark> rulerMarks(const RulerScale& scale, const RulerSteps& steps, double first, double end) {
  std::vector<RulerMark> marks;
  if (steps.parts < 1) return marks;
  const double distance = steps.number / steps.parts * scale.pixelsPerUnit;
  if (!(distance >= 1)) return marks;
  const auto last = static_cast<std::int64_t>(std::ceil((end - scale.zero) / distance));
  for (auto i = static_cast<std::int64_t>(std::ceil((first - scale.zero) / distance)); i < last; ++i) {
    const double number = static_cast<double>(i) * steps.number / steps.parts;
    marks.push_back({scale.zero + number * scale.pixelsPerUnit, number, kindOf(i, steps.parts)});
  }
  return marks;
}

}  // namespace quillbay
