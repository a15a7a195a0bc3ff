#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// The mean squared error of a tile whose blocks of 8 x 8 pixels each have the error `most`, or none when they are
/// more even than that and their mean will do. So a line on white paper is as good as one in a photograph.
/// Source: reverse water-filling (Cover and Thomas, Elements of Information Theory, 10.3.3), blocks for bands.
inline double tileTolerance(const std::int32_t* values, std::size_t width, std::size_t lines,
                            double most) noexcept {
  constexpr std::size_t kBlock = 8;
  double sum = 0;
  for (std::size_t top = 0; top < lines; top += kBlock) {
    const std::size_t bottom = std::min(top + kBlock, lines);
    for (std::size_t left = 0; left < width; left += kBlock) {
      const std::size_t right = std::min(left + kBlock, width);
      std::int64_t total = 0, squares = 0;
      for (std::size_t y = top; y < bottom; ++y) {
        const std::int32_t* line = values + y * width;
        for (std::size_t x = left; x < right; ++x) {
          total += line[x];
          squares += std::int64_t{line[x]} * line[x];
        }
      }
      const auto count = static_cast<double>((bottom - top) * (right - left));
      const double mean = static_cast<double>(total) / count;
      const double variance = static_cast<double>(squares) / count - mean * mean;
      sum += std::clamp(variance, 0.0, most) * count;
    }
  }
  return sum / static_cast<double>(width * lines);
}

}  // namespace quillbay
