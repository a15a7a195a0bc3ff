#pragma once
#include <cstdint>
#include <optional>

#include "quillbay/geometry.h"
#include "quillbay/raster.h"

/// Operations on whole rasters. Each makes a new raster of the same colour space, palette, colours and resolution
/// and leaves its source alone; the source's content must not change meanwhile. A page may be larger than memory:
/// what is held of it is a band of lines, whatever its length.
///
/// `progress` may be null. An operation sets positions from 0 up to `kOpSteps`, and answers null (or nothing) soon
/// after the user has asked to cancel. It is called on the calling thread only; the source's lines are read on
/// several threads at once.
///
/// Throws CXMemException when memory or scratch space ran out, CXIFaceException for what cannot be done with this
/// raster (the text gives the reason).
namespace quillbay {

/// Position of the progress at the end of an operation.
inline constexpr int kOpSteps = 1000;

/// Dots per inch; a usual 100 for a raster that does not tell its own.
[[nodiscard]] double resolutionOf(IRStor& raster);

/// The part of a raster within `pixels` (right and bottom exclusive), which is clipped to the raster.
/// Throws CXIFaceException when nothing of the raster lies in it.
[[nodiscard]] KxPtr<IRStor> cropRaster(IRStor* source, const KxRect& pixels, IProgress* progress);

/// Turns clockwise by `quarters` times 90 degrees (any whole number; negative ones turn the other way), exactly.
/// Code 4 holds pairs of pixels: an odd number of lines becomes columns with a white one more.
[[nodiscard]] KxPtr<IRStor> rotateQuarters(IRStor* source, int quarters, IProgress* progress);

/// Turns the content clockwise by `radians` about its centre; any finite angle. The canvas grows to hold
/// everything, its corners are white (bitonal: background; palette: the entry nearest to white). Grey and colour
/// are interpolated between the four nearest pixels, palette pixels are those nearest, and a bitonal pixel is dark
/// when half of it is. What `findSkew` answers straightens the content when it is given here.
[[nodiscard]] KxPtr<IRStor> rotateRaster(IRStor* source, double radians, IProgress* progress);

/// Light becomes dark. With a palette (codes 4 and 8) the palette's entries change in place of the pixels; opacity
/// stays.
[[nodiscard]] KxPtr<IRStor> invertRaster(IRStor* source, IProgress* progress);

/// Removes dark specks of up to `millimetres` (above 0, at most 10) width and height: of bitonal rasters whole
/// 8-connected components, of others spots that are clearly darker than all that surrounds them, which take on the
/// ground's colour. Lines are kept, however thin. Throws CXIFaceException for a size out of range, which in pixels
/// ends at 1024: so many lines are held.
[[nodiscard]] KxPtr<IRStor> despeckleRaster(IRStor* source, double millimetres, IProgress* progress);

/// The angle that straightens the content when it is given to `rotateRaster`: radians, clockwise positive, within
/// 15 degrees either way. Nothing when there is no confident answer (blank pages, pictures without lines).
[[nodiscard]] std::optional<double> findSkew(IRStor* source, IProgress* progress);

/// The upright rectangle of what differs from the border that surrounds it (a scanner's bed, dark or bright, or the
/// paper's own margin), with some 1 mm around it, within the raster. Nothing when all is border.
[[nodiscard]] std::optional<KxRect> findContent(IRStor* source, IProgress* progress);

}  // namespace quillbay
