#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "channels/codec/band_pipeline.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// How a page is coded.
struct Jp2Format {
  enum class Coding {
    Lossless,  ///< whole numbers, the 5/3 wavelet
    Quality,   ///< the same error in all that is not flat, the 9/7 wavelet
    Ratio,     ///< the same share of bytes for every tile at most, the 9/7 wavelet
  };
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  std::int32_t tileWidth = 0, tileLines = 0;
  Coding coding = Coding::Lossless;
  double decibels = 0;  ///< of `Quality`: peak signal to noise ratio
  double ratio = 1;     ///< of `Ratio`: uncompressed bytes to one coded
  std::string remark;   ///< goes into the codestream

  [[nodiscard]] std::int32_t samples() const noexcept {
    return colorSpace == KxColorSpace::Grey || colorSpace == KxColorSpace::Palette ? 1 : 3;
  }
  [[nodiscard]] std::int32_t columns() const noexcept { return (width + tileWidth - 1) / tileWidth; }
  /// Resolutions of a tile: halved as often as it has pixels for it, five times at most.
  [[nodiscard]] std::int32_t resolutions() const noexcept;
};

/// Tiles that a codestream can number.
inline constexpr std::int64_t kMostTiles = 65535;

/// Codes each band, a row of tiles, as tile-parts that carry their number. Before the first one of the page stands
/// the codestream's main header. Each tile is a picture of its own to the library, with its place on the canvas, so
/// that its blocks are those of the whole page.
[[nodiscard]] std::unique_ptr<IBandEncoder> makeJp2Encoder(const Jp2Format& format);

/// Where a codestream that begins at `bytes` has its first tile-part; 0: it is none.
[[nodiscard]] std::size_t mainHeaderSize(const std::uint8_t* bytes, std::size_t size) noexcept;
/// Writes the page's size and its tiles into a main header that describes one tile. A height of 0: not known yet.
void describePage(std::uint8_t* header, const Jp2Format& format, std::uint32_t height) noexcept;

/// The height's place in a main header.
inline constexpr std::size_t kMainHeaderHeight = 2 + 2 + 2 + 2 + 4;

void putBig16(std::uint8_t* to, std::uint32_t value) noexcept;
void putBig32(std::uint8_t* to, std::uint32_t value) noexcept;
[[nodiscard]] std::uint32_t big16(const std::uint8_t* from) noexcept;
[[nodiscard]] std::uint32_t big32(const std::uint8_t* from) noexcept;

}  // namespace quillbay
