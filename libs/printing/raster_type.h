#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "printing/print_settings.h"
#include "printing/printer_info.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// Lines on their way to the printer: packed bits (bit 7 leftmost, 1 black), a byte of grey (0 black) or the bytes
/// R, G, B for each pixel.
enum class LineKind { Bits, Grey, Rgb };

[[nodiscard]] constexpr std::size_t lineBytes(LineKind kind, std::int64_t width) noexcept {
  const auto pixels = static_cast<std::size_t>(width);
  return kind == LineKind::Bits ? (pixels + 7) / 8 : kind == LineKind::Grey ? pixels : 3 * pixels;
}

inline constexpr char kPwgRaster[] = "image/pwg-raster";
inline constexpr char kAppleRaster[] = "image/urf";

/// What a printer is sent: a document format, and a type of raster as PWG 5102.4 names it.
struct RasterType {
  std::string format;  ///< one of the two above
  std::string name;    ///< "black_1", "black_8", "sgray_8", "srgb_8", "rgb_8"
  LineKind kind = LineKind::Grey;
  bool isInverted = false;  ///< grey whose 0 is white

  [[nodiscard]] std::uint8_t white() const noexcept {
    return kind == LineKind::Bits || isInverted ? std::uint8_t{0} : std::uint8_t{255};
  }
};

/// The best of what `printer` takes for pages of this colour space. Throws CXDeviceException, with the printer's
/// name and what it takes, when it takes no raster that we make.
[[nodiscard]] RasterType rasterTypeFor(const PrinterInfo& printer, KxColorSpace page, PrintColor color);

/// The working lines of such a page: bits only when no pixel is computed anew.
[[nodiscard]] LineKind workingKind(KxColorSpace page, const RasterType& type, bool isScaled) noexcept;

}  // namespace quillbay
