#pragma once
#include <vector>

namespace quillbay {

/// How values lie along an edge: pixel = zero + value * pixelsPerUnit.
struct RulerScale {
  double pixelsPerUnit = 1, zero = 0;
};

/// The distance of numbers, 1, 2 or 5 times a power of ten, the parts that marks cut it into, and the decimals that
/// the numbers need. Without parts: no marks.
struct RulerSteps {
  double number = 0;
  int parts = 0;
  int decimals = 0;
  bool operator==(const RulerSteps&) const = default;
};

/// @param leastNumber  pixels between two numbers at least
/// @param leastMark    pixels between two marks at least
[[nodiscard]] RulerSteps rulerSteps(double pixelsPerUnit, double leastNumber, double leastMark) noexcept;

struct RulerMark {
  enum class Kind { Number, Half, Part };
  double pixel = 0, value = 0;
  Kind kind = Kind::Number;
};

/// The marks from pixel `first` to before `end`, from left to right.
[[nodiscard]] std::vector<RulerMark> rulerMarks(const RulerScale& scale, const RulerSteps& steps, double first,
                                                double end);

}  // namespace quillbay
