#pragma once
#include <cstdint>

#include "rasters/ops/line_bands.h"

namespace quillbay {

/// Which lines and pixels of a raster are copied.
struct LineCopy {
  KxRect part;            ///< within the stored width and the height
  bool reversed = false;  ///< the last line first, the last pixel first
};

/// Appends the part's lines to `target` (whose lines begin at the part's left edge); each line of pixels goes
/// through `change(bytes, pixels)` first, with codes 4 and 8 as one index a byte. False when cancelled.
template <class Change>
bool copyPixelLines(IRStor& source, RasterBase& target, const LineCopy& copy, IProgress* progress,
                    Change&& change) {
  const std::int32_t count = copy.part.right - copy.part.left;
  const std::int32_t lines = copy.part.bottom - copy.part.top;
  const bool four = source.GetColorSpace() == KxColorSpace::Four;
  PixelReader reader(source);
  PixelBand band(target, bandLines(std::size_t{1} << 20, fixedLineBytes(source.GetColorSpace(), count)));
  std::vector<std::uint8_t> indices(four ? static_cast<std::size_t>(count) + 1 : 0);
  OpProgress step(progress, lines);
  for (std::int32_t i = 0; i < lines; ++i) {
    std::uint8_t* out = band.next();
    std::uint8_t* pixels = four ? indices.data() : out;
    reader.read(copy.reversed ? copy.part.bottom - 1 - i : copy.part.top + i, copy.part.left, count, pixels);
    change(pixels, count);
    if (four) packFour(pixels, count, out);
    if (i % 64 == 63 && !step.reached(i + 1)) return false;
  }
  band.flush();
  return step.reached(lines);
}

/// The same for run lists: `add(list, band)` adds the runs of each line to the band.
template <class Add>
bool copyRunLines(IRStor& source, RasterBase& target, const LineCopy& copy, IProgress* progress, Add&& add) {
  const std::int32_t lines = copy.part.bottom - copy.part.top;
  RunReader reader(source);
  RunBand band(target);
  OpProgress step(progress, lines);
  for (std::int32_t i = 0; i < lines; ++i) {
    add(reader.read(copy.reversed ? copy.part.bottom - 1 - i : copy.part.top + i), band);
    band.endLine();
    if (i % 64 == 63 && !step.reached(i + 1)) return false;
  }
  band.flush();
  return step.reached(lines);
}

}  // namespace quillbay
