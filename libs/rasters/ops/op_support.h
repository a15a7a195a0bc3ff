#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "quillbay/raster.h"
#include "rasters/raster_base.h"

/// What the operations on whole rasters share.
namespace quillbay {

/// Memory that an operation takes for a band of lines, whatever the raster's size (some operations hold two).
inline constexpr std::size_t kBandBytes = std::size_t{16} << 20;

/// Reports an operation of so many units of work (lines, blocks) as positions from 0 to `kOpSteps`.
class OpProgress {
 public:
  /// `progress` may be null and outlives this.
  OpProgress(IProgress* progress, std::int64_t total);
  /// Work up to `done` units was done. False if the user cancelled.
  [[nodiscard]] bool reached(std::int64_t done);

 private:
  IProgress* const m_progress;
  const std::int64_t m_total;
  int m_position = 0;
};

/// A source whose lines can be read; throws CXIFaceException for null and for one without lines.
[[nodiscard]] KxPtr<IAccessContext> readerOf(IRStor* source);

/// Throws CXIFaceException for a line that the source does not give.
[[noreturn]] void cannotReadLine(std::int32_t line);

/// Throws what `readerOf` does.
inline void requireLines(IRStor* source) { (void)readerOf(source); }

/// The palette of codes 4, 8 and 16: 16 greys for code 4 when none was set, zeros where there is none.
[[nodiscard]] std::array<KXRGBQUAD, 256> paletteOf(IRStor& source);

/// The entry of a palette that is nearest to white, among those that the colour space has.
[[nodiscard]] std::uint8_t whiteEntry(KxColorSpace colorSpace, const std::array<KXRGBQUAD, 256>& palette) noexcept;

/// Throws CXIFaceException for a size over 2^31 - 1.
void checkSize(std::int64_t width, std::int64_t height);

/// A raster of the source's colour space, palette, colours and resolution. Throws CXMemException, and what
/// `checkSize` does.
[[nodiscard]] KxPtr<RasterBase> newLike(IRStor& source, std::int64_t width, std::int64_t height);

/// Bytes of a pixel in lines as the operations handle them: codes 4 and 8 as one index a byte.
[[nodiscard]] constexpr std::size_t pixelBytes(KxColorSpace colorSpace) noexcept {
  return std::max<std::size_t>(1, static_cast<std::size_t>(bitsPerPixel(colorSpace)) / 8);
}

/// Pixels of a line that have a place in its bytes: code 4 lacks the last one of an odd width.
[[nodiscard]] inline std::int32_t storedWidth(IRStor& raster) {
  return raster.GetColorSpace() == KxColorSpace::Four ? raster.GetWidth() / 2 * 2 : raster.GetWidth();
}

/// Reads lines of equal length with whole bytes a pixel. One thread.
class PixelReader {
 public:
  explicit PixelReader(IRStor& source);
  /// Copies `count` pixels of `line` from `x` on, all of them within the stored width.
  void read(std::int32_t line, std::int32_t x, std::int32_t count, std::uint8_t* out);

 private:
  const KxPtr<IAccessContext> m_lines;
  const bool m_four;
  const std::int32_t m_stored;
  std::vector<std::uint8_t> m_packed;
};

/// The last pixel first.
void reversePixels(std::uint8_t* pixels, std::int32_t count, std::size_t bytes) noexcept;
/// The same for a packed line; what lies beyond the width becomes 0.
void reversePacked(std::uint8_t* bits, std::int32_t width) noexcept;

/// Packs indices, one a byte, in pairs; `count` is even.
void packFour(const std::uint8_t* indices, std::int32_t count, std::uint8_t* out) noexcept;

/// A run list of a raster, without a copy where that is offered.
class RunReader {
 public:
  explicit RunReader(IRStor& source);
  /// Valid until the next call.
  [[nodiscard]] RunView read(std::int32_t line);

 private:
  const KxPtr<IARSContext> m_lines;
};

}  // namespace quillbay
