#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "rasters/straighten/straighten_frame.h"

namespace quillbay {

/// A straight way through the source, along which the pixels of an output line lie. Cut into spans within which the
/// source's line stays the same, and its columns run along with the pixels. Fixed point, 32 bits of fraction.
class SpanLine {
 public:
  struct Span {
    std::int64_t row,
        column;  ///< of the source, at the first pixel; the pixel lies between these and the next ones
    std::uint32_t down, across;  ///< fractions of the place between them at the first pixel
    std::int32_t first, count;   ///< pixels of the output
  };

  /// @param shift  is added to both coordinates: 0.5 makes `row` and `column` those of the nearest pixel.
  SpanLine(const StraightenFrame& frame, double shift, std::int32_t mostPixels)
      : m_frame(frame),
        m_shift(shift),
        m_most(mostPixels),
        m_stepX(fixed(frame.cosine)),
        m_stepY(fixed(-frame.sine)),
        m_lag(pace(kOne - m_stepX)),
        m_drop(pace(std::abs(m_stepY))) {}

  /// Goes to line `y` of the output.
  void go(std::int64_t y) noexcept {
    m_x = fixed(m_frame.startX(y) + m_shift);
    m_y = fixed(m_frame.startY(y) + m_shift);
    const auto pixelAt = [this](double x) {
      const double pixel = std::ceil((x - static_cast<double>(m_x) / kOne) / (static_cast<double>(m_stepX) / kOne));
      return static_cast<std::int32_t>(std::clamp(pixel, 0.0, static_cast<double>(m_frame.lineWidth)));
    };
    m_first = pixelAt(-1);
    m_end = pixelAt(m_frame.width);
    while (m_first < m_end && m_x + m_first * m_stepX < -kOne) ++m_first;
    while (m_end > m_first && m_x + (m_end - 1) * m_stepX >= m_frame.width * kOne) --m_end;
  }
  /// The pixels from `first` to `end` - 1 lie within the source or less than a pixel beside it.
  [[nodiscard]] std::int32_t first() const noexcept { return m_first; }
  [[nodiscard]] std::int32_t end() const noexcept { return m_end; }
  /// The greatest `row` of the line's spans.
  [[nodiscard]] std::int64_t lowestRow() const noexcept {
    return std::max(m_y + m_first * m_stepY, m_y + (m_end - 1) * m_stepY) >> 32;
  }
  /// How far fractions move from pixel to pixel, in parts of 65536.
  [[nodiscard]] std::uint32_t lag() const noexcept { return parts(kOne - m_stepX); }
  [[nodiscard]] std::uint32_t drop() const noexcept { return parts(std::abs(m_stepY)); }
  /// `down` falls from pixel to pixel; otherwise it rises.
  [[nodiscard]] bool isRising() const noexcept { return m_stepY <= 0; }

  template <class Take>
  void eachSpan(Take&& take) const {
    for (std::int32_t x = m_first; x < m_end;) {
      const std::int64_t atX = m_x + x * m_stepX, atY = m_y + x * m_stepY;
      const auto across = static_cast<std::uint32_t>(atX), down = static_cast<std::uint32_t>(atY);
      std::int32_t count = std::min(m_end - x, m_most);
      count = std::min(count, m_lag.pixels(across));
      count = std::min(count, m_drop.pixels(isRising() ? down : ~down));
      take(Span{atY >> 32, atX >> 32, down, across, x, count});
      x += count;
    }
  }

 private:
  static constexpr std::int64_t kOne = std::int64_t{1} << 32;
  /// How many pixels a fraction lasts that falls by a constant step.
  struct Pace {
    double inverse;
    std::int32_t least;
    [[nodiscard]] std::int32_t pixels(std::uint32_t fraction) const noexcept {
      return least + static_cast<std::int32_t>(std::min(fraction * inverse, 1e6));
    }
  };
  [[nodiscard]] static std::int64_t fixed(double v) noexcept {
    return static_cast<std::int64_t>(std::floor(v * static_cast<double>(kOne) + 0.5));
  }
  [[nodiscard]] static std::uint32_t parts(std::int64_t step) noexcept {
    return static_cast<std::uint32_t>((step + (1 << 15)) >> 16);
  }
  [[nodiscard]] static Pace pace(std::int64_t step) noexcept {
    return step > 0 ? Pace{1.0 / static_cast<double>(step), 1} : Pace{0, 1 << 20};
  }

  const StraightenFrame m_frame;
  const double m_shift;
  const std::int32_t m_most;
  const std::int64_t m_stepX, m_stepY;
  const Pace m_lag, m_drop;
  std::int64_t m_x = 0, m_y = 0;
  std::int32_t m_first = 0, m_end = 0;
};

}  // namespace quillbay
