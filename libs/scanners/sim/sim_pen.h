#pragma once
#include <cstdint>
#include <string_view>

#include "scanners/sim/sim_shapes.h"

namespace quillbay {

/// Random numbers that are the same on every machine.
class SimRandom {
 public:
  explicit SimRandom(std::uint64_t seed) noexcept : m_state(seed) {}
  std::uint64_t next() noexcept {  // splitmix64
    std::uint64_t z = (m_state += 0x9E3779B97F4A7C15U);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
  }
  /// 0 <= value < 1.
  double unit() noexcept { return static_cast<double>(next() >> 11) * 0x1p-53; }
  double between(double least, double most) noexcept { return least + (most - least) * unit(); }
  /// 0 <= value < count.
  int below(int count) noexcept { return static_cast<int>(next() % static_cast<std::uint64_t>(count)); }

 private:
  std::uint64_t m_state;
};

/// One seed from several numbers.
[[nodiscard]] inline std::uint64_t mixSeeds(std::uint64_t a, std::uint64_t b, std::uint64_t c = 0) noexcept {
  SimRandom random(a);
  SimRandom second(random.next() ^ b);
  SimRandom third(second.next() ^ c);
  return third.next();
}

namespace sim {

inline constexpr SimInk kBlack{24, 24, 28}, kRed{196, 44, 36}, kBlue{36, 72, 168}, kGreen{44, 128, 68},
    kBrown{156, 100, 52}, kGrey{120, 120, 120};

/// A rectangle of the paper in millimetres.
struct Rect {
  double left = 0, top = 0, right = 0, bottom = 0;
  [[nodiscard]] double width() const noexcept { return right - left; }
  [[nodiscard]] double height() const noexcept { return bottom - top; }
  [[nodiscard]] SimPoint middle() const noexcept { return {(left + right) / 2, (top + bottom) / 2}; }
  [[nodiscard]] Rect inner(double margin) const noexcept {
    return {left + margin, top + margin, right - margin, bottom - margin};
  }
};

void rectangle(SimDisplayList& list, const Rect& r, double width, SimInk ink);
/// Capitals, digits and some signs in strokes, `height` mm high, from the baseline's left end on; others leave a
/// gap. Returns the text's width in millimetres.
double text(SimDisplayList& list, SimPoint at, double height, std::string_view words, SimInk ink);
[[nodiscard]] double textWidth(double height, std::string_view words) noexcept;
/// A dimension along a straight line: extension lines, arrows, and the length in whole millimetres. `offset` is the
/// distance of the dimension line, to the right of the direction from `a` to `b` when positive.
void dimension(SimDisplayList& list, SimPoint a, SimPoint b, double offset, SimInk ink);
/// Hatches a rectangle at 45 degrees.
void hatch(SimDisplayList& list, const Rect& r, double distance, SimInk ink);
/// A dash-dotted line.
void centreLine(SimDisplayList& list, SimPoint a, SimPoint b, SimInk ink);

}  // namespace sim
}  // namespace quillbay
