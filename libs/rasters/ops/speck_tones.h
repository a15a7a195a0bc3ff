#pragma once
#include <cstdint>
#include <vector>

#include "rasters/ops/ground_map.h"
#include "rasters/ops/speck_finder.h"

namespace quillbay {

/// Lines of grey, palette or colour pixels without their specks: components of pixels that are darker than the
/// ground
/// (`GroundMap`), clearly so somewhere, and small. A speck takes on the average of the ground around it (of a
/// palette the most frequent entry), together with the pixels that touch it, which its soft edge has darkened. One
/// thread.
class SpeckTones {
 public:
  /// Specks are up to `size` pixels wide and high.
  SpeckTones(IRStor& source, std::int32_t size);
  /// The pixels of a line, codes 4 and 8 as one index a byte; valid until the next call. Lines come in ascending
  /// order, without gaps.
  [[nodiscard]] const std::uint8_t* line(std::int32_t line);

 private:
  struct Line {
    std::vector<std::uint8_t> pixels, tones;
  };
  [[nodiscard]] Line& at(std::int32_t line) noexcept {
    return m_ring[static_cast<std::size_t>(line) % m_ring.size()];
  }
  void readNext();
  void markNext();
  void markLine(const Line& line, const std::vector<std::uint8_t>& limits);
  void erase(const SpeckFinder::Speck& speck);
  void groundAround(const KxRect& bounds, std::uint8_t* pixel);
  void paint(std::int32_t line, std::int32_t first, std::int32_t end, const std::uint8_t* pixel);

  const KxSize m_pixels;
  const std::size_t m_bytes;
  PixelReader m_reader;
  BrightnessOf m_brightness;
  GroundMap m_ground;
  SpeckFinder m_finder;
  std::vector<Line> m_ring;
  std::vector<std::vector<std::uint8_t>> m_limitRing;  // the limits of the ring's lines
  std::int32_t m_read = 0;                             // lines that were read
};

}  // namespace quillbay
