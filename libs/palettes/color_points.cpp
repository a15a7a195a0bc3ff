#include "palettes/color_points.h"

#include <algorithm>

namespace quillbay {
namespace {

constexpr std::size_t kChildren = 8;         // a cube has eight of half its side
constexpr std::size_t kLargestCube = 32768;  // colours: 32 levels a side

/// Sums of pixels, exact.
struct ColorMoments {
  std::uint64_t count = 0, red = 0, green = 0, blue = 0, squares = 0;

  void add(const ColorMoments& o) noexcept {
    count += o.count;
    red += o.red;
    green += o.green;
    blue += o.blue;
    squares += o.squares;
  }
  /// Squared distances from the mean, summed.
  [[nodiscard]] double error() const noexcept {
    const auto r = static_cast<double>(red), g = static_cast<double>(green), b = static_cast<double>(blue);
    return static_cast<double>(squares) - (r * r + g * g + b * b) / static_cast<double>(count);
  }
  [[nodiscard]] ColorPoint point() const noexcept {
    const auto n = static_cast<double>(count);
    const auto mean = [n](std::uint64_t sum) { return static_cast<float>(static_cast<double>(sum) / n); };
    return {mean(red), mean(green), mean(blue), static_cast<float>(n)};
  }
};

/// Walks the cubes of a histogram from the small ones to the large ones.
class PointGatherer {
 public:
  PointGatherer(const ColorHistogram& histogram, double hidden) : m_histogram(histogram), m_hidden(hidden) {}

  /// Returns false when there are more points than `most`.
  bool gather(std::size_t most) {
    for (std::size_t first = 0; first < kColorCount && m_points.size() <= most; first += kLargestCube)
      addCube(first, kLargestCube);
    return m_points.size() <= most;
  }
  [[nodiscard]] std::vector<ColorPoint> take() { return std::move(m_points); }

 private:
  ColorMoments addCube(std::size_t first, std::size_t colors) {
    if (colors == ColorHistogram::kCubeColors && !m_histogram.isUsed(first / colors)) return {};
    const std::size_t before = m_points.size();
    ColorMoments sum;
    if (colors == kChildren) {
      sum = addColors(first);
    } else {
      for (std::size_t i = 0; i < kChildren; ++i)
        sum.add(addCube(first + i * (colors / kChildren), colors / kChildren));
    }
    if (m_points.size() > before + 1 && sum.error() <= m_hidden) {
      m_points.resize(before);
      m_points.push_back(sum.point());
    }
    return sum;
  }

  ColorMoments addColors(std::size_t first) {
    const auto counts = m_histogram.cube(first / ColorHistogram::kCubeColors)
                            .subspan(first % ColorHistogram::kCubeColors, kChildren);
    ColorMoments sum;
    for (std::size_t i = 0; i < kChildren; ++i) {
      const std::uint64_t n = counts[i];
      if (n == 0) continue;
      const KXRGBQUAD c = colorAt(static_cast<std::uint32_t>(first + i));
      const std::uint64_t r = c.red, g = c.green, b = c.blue;
      const ColorMoments one{n, n * r, n * g, n * b, n * (r * r + g * g + b * b)};
      m_points.push_back(one.point());
      sum.add(one);
    }
    return sum;
  }

  const ColorHistogram& m_histogram;
  const double m_hidden;
  std::vector<ColorPoint> m_points;
};

}  // namespace

std::vector<ColorPoint> pointsOf(const ColorHistogram& histogram, std::size_t most) {
  // Good palettes of 256 colours leave an error of some 10 a pixel: a hundredth of that may be hidden.
  constexpr double kHiddenOfPixel = 0.1, kCoarser = 3;
  double hidden = static_cast<double>(histogram.total()) * kHiddenOfPixel / static_cast<double>(most);
  for (;; hidden *= kCoarser) {
    PointGatherer gatherer(histogram, hidden);
    if (gatherer.gather(most)) return gatherer.take();
  }
}

}  // namespace quillbay
