#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// A piece of an output line that lies between the same two source lines and at the same distance from their
/// pixels: its pixels and those of the source run side by side. Fractions are parts of 65536, which fall from pixel
/// to pixel and end at 0.
struct BlendSpan {
  const std::uint8_t* lines[2];  ///< the first pixel's left neighbour in each source line
  std::uint32_t right;           ///< share of the right neighbours at the first pixel
  std::uint32_t other;           ///< share of `lines[1]` at the first pixel
  std::uint32_t count;           ///< pixels, 1..kMostPixels
};

/// The inner loops of interpolation, in the form that suits the processor. All forms give the same results: a tone
/// is interpolated along both lines, then between them, in parts of 64, and rounded to the nearest.
class BlendLoops {
 public:
  static constexpr std::uint32_t kMostPixels = 512;
  /// Bytes that a loop may write behind a span's pixels, and read behind the source's.
  static constexpr std::size_t kSlack = 64;

  /// `bytes` a pixel: 1, 3 or 4. `fallRight` and `fallOther` is how far fractions fall from pixel to pixel.
  BlendLoops(std::size_t bytes, std::uint32_t fallRight, std::uint32_t fallOther, bool plain = false) noexcept;

  void blend(const BlendSpan& span, std::uint8_t* out) const noexcept { m_loop(*this, span, out); }

 private:
  friend struct BlendForms;
  /// 16 bytes of pixels are one step of a loop; with three bytes a pixel, three different steps follow each other.
  static constexpr std::size_t kLanes = 16, kSteps = 3;
  using Loop = void (*)(const BlendLoops&, const BlendSpan&, std::uint8_t*) noexcept;

  std::uint32_t m_fallRight, m_fallOther;
  Loop m_loop;
  /// How far the fractions of a step's bytes have fallen since the first step of the three.
  alignas(32) std::uint16_t m_right[kSteps][kLanes];
  alignas(32) std::uint16_t m_other[kSteps][kLanes];
};

}  // namespace quillbay
