#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/band_pipeline.h"
#include "channels/jpeg/jpeg_encoder.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// In the order of the choices of the option Compression after "auto".
enum class TiffCompression { None, PackBits, Lzw, Deflate, Zstandard, G4, Jpeg, G3 };

/// How the lines of a page look in the file, cut into strips or, with a tile's width, into tiles.
struct StripFormat {
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  TiffCompression compression = TiffCompression::None;
  int level = 0;
  bool predictor = false;  ///< differences from pixel to pixel are stored
  int quality = 0;         ///< of JPEG
  bool isHalved = false;   ///< JPEG keeps colour at half the resolution both ways

  /// Samples per pixel in the file: the fourth byte of 32-bit pixels has no meaning and is left out.
  [[nodiscard]] int samples() const noexcept {
    return isRunList(colorSpace) || bitsPerPixel(colorSpace) == 8 ? 1 : 3;
  }
  [[nodiscard]] int bitsPerSample() const noexcept { return isRunList(colorSpace) ? 1 : 8; }
  /// Bytes of a line in the file, before compression.
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(samples() * bitsPerSample()) + 7) / 8;
  }
  /// Lines go to the file as they are.
  [[nodiscard]] bool isVerbatim() const noexcept {
    return colorSpace == KxColorSpace::Grey || colorSpace == KxColorSpace::Palette ||
           colorSpace == KxColorSpace::Rgb;
  }
};

/// How a strip of this format is coded as JPEG.
[[nodiscard]] JpegFormat jpegFormatOf(const StripFormat& format) noexcept;

/// An encoder of strips of this format; for None it only converts the lines.
[[nodiscard]] std::unique_ptr<IBandEncoder> makeStripEncoder(const StripFormat& format);

}  // namespace quillbay
