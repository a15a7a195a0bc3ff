#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "channels/jp2/jp2_head.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// Decoded samples of one component within an area of the canvas, line by line.
struct Plane {
  const void* values = nullptr;
  int bytes = 4;                   ///< of a sample: 1, 2 or 4; signed as the component is
  std::int64_t left = 0, top = 0;  ///< of the first sample, counted in samples of the component
  std::int64_t width = 0, lines = 0;
};

/// Turns lines of planes into lines of a page: grey, palette numbers, or red, green, blue. Colours of less
/// resolution are repeated, samples of other sizes brought to 0..255, transparent pixels laid on white.
class PlaneRows {
 public:
  explicit PlaneRows(const Jp2Head& head);
  [[nodiscard]] KxColorSpace colorSpace() const noexcept { return m_colorSpace; }
  [[nodiscard]] std::size_t pixelBytes() const noexcept { return m_colorSpace == KxColorSpace::Rgb ? 3 : 1; }
  /// The pixels from `left` to `right` (exclusive) of the canvas line `y`. `planes`: one for each component.
  void row(const std::vector<Plane>& planes, std::int64_t left, std::int64_t right, std::int64_t y,
           std::uint8_t* out);

 private:
  void readRow(const Plane& plane, std::size_t component, std::int64_t left, std::int64_t right, std::int64_t y,
               std::uint8_t* out) const;
  void layOnWhite(std::size_t pixels, std::uint8_t* out) const noexcept;

  const Jp2Head& m_head;
  KxColorSpace m_colorSpace;
  Jp2Head::Colours m_colours;
  std::vector<std::size_t> m_used;  // components: the colours, then opacity
  std::size_t m_colourCount = 1;
  std::array<std::vector<std::uint8_t>, 5> m_rows;  // of those
};

}  // namespace quillbay
