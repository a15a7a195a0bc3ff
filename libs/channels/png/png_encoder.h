#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/band_pipeline.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// How the lines of a PNG are stored.
struct PngFormat {
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  int level = 1;
  [[nodiscard]] int samples() const noexcept {
    return isRunList(colorSpace) || bitsPerPixel(colorSpace) == 8 ? 1 : 3;
  }
  [[nodiscard]] int bitDepth() const noexcept { return isRunList(colorSpace) ? 1 : 8; }
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(samples() * bitDepth()) + 7) / 8;
  }
  /// Differences help where neighbouring values are alike.
  [[nodiscard]] bool isFiltered() const noexcept {
    return !isRunList(colorSpace) && colorSpace != KxColorSpace::Palette;
  }
};

/// Follows the bytes of an encoded band: what the whole stream's checksum is made of.
struct PngBandEnd {
  std::uint32_t adler = 1;
  std::uint64_t bytes = 0;  ///< before compression
};

/// Encodes a band as one IDAT chunk with a piece of a Deflate stream that ends at a whole byte, so that the chunks
/// one after the other are one stream; a `PngBandEnd` comes behind it.
[[nodiscard]] std::unique_ptr<IBandEncoder> makePngEncoder(const PngFormat& format);

/// Room around a chunk's data: length and type before it, the checksum behind it.
inline constexpr std::size_t kChunkHead = 8, kChunkTail = 4;
/// Completes a chunk whose data lies at `chunk + kChunkHead`.
void sealChunk(std::uint8_t* chunk, const char type[4], std::size_t dataSize) noexcept;
void putBigEndian(std::uint8_t* to, std::uint32_t value) noexcept;

}  // namespace quillbay
