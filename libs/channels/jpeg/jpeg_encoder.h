#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// How a page is coded.
struct JpegFormat {
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  std::uint32_t dpi = 0;
  int quality = 90;
  bool isHalved = false;  ///< colour at half the resolution both ways (4:2:0)
  bool isPart = false;    ///< a part of a TIFF page: no restart markers, no density, its tables are `jpegTables`

  [[nodiscard]] bool isColour() const noexcept { return colorSpace != KxColorSpace::Grey; }
  /// Lines that are coded together: a restart interval is one such row.
  [[nodiscard]] std::int32_t blockLines() const noexcept { return isColour() && isHalved ? 16 : 8; }
};

/// Restart markers are counted modulo 8: bands of that many intervals all count from 0.
inline constexpr std::int32_t kRestartCycle = 8;
/// Pixels to a line, and lines: the library's limit.
inline constexpr std::int32_t kMostJpegSide = 65500;

/// Codes each band as a picture of its own, with one restart interval to a row of blocks.
[[nodiscard]] std::unique_ptr<IBandEncoder> makeJpegEncoder(const JpegFormat& format);

/// The tables of parts of this format: a stream of its own, as TIFF's JPEGTables has it. Throws std::runtime_error.
[[nodiscard]] std::vector<std::uint8_t> jpegTables(const JpegFormat& format);

/// The parts of a coded band: the first `coded` bytes are its head, `size` more the coded rows.
struct JpegParts {
  std::size_t coded = 0, size = 0;
  std::size_t height = 0;  ///< where the head says how many lines there are: two bytes, high byte first
};
/// Throws ModuleError for bytes that are no picture with one scan.
[[nodiscard]] JpegParts partsOf(const std::uint8_t* picture, std::size_t size);

}  // namespace quillbay
