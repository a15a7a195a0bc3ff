#pragma once
#include <cstdint>
#include <vector>

namespace quillbay {

/// The weight of a whole source pixel across a line.
inline constexpr std::uint32_t kWholePixel = 256;

/// The source pixels (or lines) that one reduced pixel covers along one axis, `first` to `last`. Those between
/// weigh `unit` each; where `first` is `last`, only `firstWeight` counts.
struct AreaSpan {
  std::int32_t first = 0, last = 0;
  std::uint16_t firstWeight = 0, lastWeight = 0;
  [[nodiscard]] std::int32_t whole() const noexcept { return first == last ? 0 : last - first - 1; }
  /// All weights together.
  [[nodiscard]] std::uint32_t weight(std::uint32_t unit) const noexcept {
    if (first == last) return firstWeight;
    return std::uint32_t{firstWeight} + lastWeight + unit * static_cast<std::uint32_t>(whole());
  }
};

/// `length` source pixels seen as `cells` reduced ones of equal size, fewer or more. `unit` is the weight of a
/// whole source pixel, 1 to 256. Both counts are above 0.
[[nodiscard]] std::vector<AreaSpan> makeAreaSpans(std::int64_t length, std::int32_t cells, std::uint32_t unit);

/// The largest power of two, at most 256, by which a whole line may be weighted so that sums over `across` x `down`
/// source pixels of 255 stay below 2^31; 0 when there is none.
[[nodiscard]] std::uint32_t lineUnit(double across, double down) noexcept;

}  // namespace quillbay
