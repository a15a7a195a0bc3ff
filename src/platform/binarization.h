#pragma once
#include <cstdint>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

/// What the panel needs to make pictures bitonal, to find their skew and to straighten them.
///
/// One convention for angles, everywhere: the angle that straightens the content. Radians; positive turns the
/// content clockwise as it is seen (x to the right, y down): x' = x cos a - y sin a, y' = x sin a + y cos a. A
/// sheet that lies turned anticlockwise by a is found at a, and straightened by a.
namespace quillbay {

/// Finds the skew of a bitonal raster; queried from rasters of codes 1 and 2.
class IRSDeskew : public IKxUnknown {
 public:
  /// The angle that straightens the content, within 15 degrees either way. Returns 1; 0, and writes nothing, when
  /// there is no confident answer (blank pages, no lines or edges) or the user cancelled. `progress` may be null.
  virtual int GetSkewAngle(double* radians, IProgress* progress) = 0;
};

/// A bitonal raster (code 1) of a grey one's dark pixels, by a threshold that fits its two classes of tones. Null
/// when the source is not of code 16 or the user cancelled; `progress` may be null. Throws CXMemException.
[[nodiscard]] KxPtr<IRStor> AutoBinarizing(IRStor* source, IProgress* progress);

/// Straightens lines while they arrive. It holds the band of lines that a slanting line crosses, whatever the
/// page's length. One thread.
class IDynamicRasterSampler : public IKxUnknown {
 public:
  /// Takes the next source line (bytes or a run list, as `IScanBuffer` has them) and hands the output every line
  /// that has become ready. With `flush` 1 and no line: the page is at its end, the rest is handed over. Returns 1,
  /// or 0 when the output refused a line.
  virtual int AddRow(const std::uint8_t* row, int flush) = 0;
  /// Pixels of the lines that the output gets; it may take fewer.
  virtual std::int32_t GetLineWidth() = 0;
  /// Lines that are held now.
  virtual std::int32_t GetHeldRows() = 0;
};

/// A rotator for lines of `sourceWidth` pixels; `angle` as above, less than 60 degrees either way.
///
/// The source is the upright box around a sheet. The sheet's upper corner on the box's side edge (the left edge for
/// a positive angle, the right one for a negative angle) fixes the output, whose lines are as wide as the source
/// and begin (positive) or end (negative) on that edge. `offset.width` pixels of them are left out at the left.
/// `offset.height` is how far the middle of the first line lies above the middle of the line that the source covers
/// first: the ends of the two are twice as far apart. For a sheet of width w in a box of width W, offsets of
/// (0 or W - w, (W - w) tan|a| / 2) make the sheet's corner the first pixel. The last line lies to the source's end
/// as the first one to its start, so that a box's height of lines gives the sheet's height.
///
/// Grey and colour are interpolated between the four nearest pixels, indices are those of the nearest pixel.
/// Bitonal pixels are those of the nearest one too; beyond them, as many are set as it takes for what touches in
/// the source (8-connected) to touch in the output. What the source does not cover is white: background, or the
/// palette's entry nearest to white; code 4 has its last entry for white where no palette is given. `palette` may
/// be null.
///
/// Throws CXIFaceException for an angle that is too large or not a number, CXMemException without room for the
/// band.
[[nodiscard]] KxPtr<IDynamicRasterSampler> CreateDynamicRasterRotator(KxColorSpace colorSpace,
                                                                      std::int32_t sourceWidth, KxSize offset,
                                                                      double angle, IRasterFiller* output,
                                                                      const KXRGBQUAD* palette);

}  // namespace quillbay
