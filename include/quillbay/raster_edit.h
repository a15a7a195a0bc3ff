#pragma once
/// What tools with a shape do to a raster. Each makes a new raster of the same colour space, palette, colours and
/// resolution; a page may be larger than memory.
///
/// Shapes are in pixels of the raster, from its top left corner, x to the right and y down: pixel (i, j) covers
/// i..i+1 and j..j+1, and belongs to a shape when its centre does. A frame's `angle` turns from x towards y here,
/// and its `height` goes from `origin` along y for an angle of 0, so that `origin` is its upper left corner.
///
/// `progress` may be null; its positions go from 0 to `kEditSteps`. Returns null soon after the user has asked to
/// cancel. Throws CXMemException when memory or scratch space ran out, CXIFaceException for what cannot be done
/// with this raster or shape (the text gives the reason). Any thread; the source's content must not change
/// meanwhile.
#include <variant>

#include "quillbay/color_space.h"
#include "quillbay/export.h"
#include "quillbay/raster.h"
#include "quillbay/shapes.h"

namespace quillbay {

/// Position of the progress at the end of an edit.
inline constexpr int kEditSteps = 1000;

/// A polygon counts as closed; of an outline that crosses itself the parts with an odd number of crossings to the
/// outside belong to it.
using RasterShape = std::variant<CRPolygon, CRCircle, CRRect, CRFrame>;

/// A side of a shape's outline.
enum class ShapePart { Inside, Outside };

/// Fills one side of a shape, which may reach beyond the raster, with a colour. Bitonal: dark when the colour is
/// darker than middle grey. Palette: its entry of this colour; if there is none, an entry that no pixel uses
/// becomes it, else the nearest one counts. Other pixels stay exactly as they are.
///
/// Long pages share what did not change with the source: as long as the new raster lives, the source's lines cannot
/// be written (`IsReadOnly`).
[[nodiscard]] QUILLBAY_API KxPtr<IRStor> FillShape(IRStor* source, const RasterShape& shape, ShapePart part,
                                                   KXRGBQUAD color, IProgress* progress);

/// The colour that prevails along a shape's outline, to fill `part` with: in a ring of 1 mm (at least 3 pixels)
/// outside the shape for its inside, and inside for its outside. Grey and colour: the median of each channel.
/// Bitonal: what more pixels are, black or white. Palette: the entry of most pixels. White when no pixel lies in
/// the ring. Of large shapes every so many lines are looked at. Returns 1, or 0 when it was cancelled.
QUILLBAY_API int ColorAround(IRStor* source, const RasterShape& shape, ShapePart part, IProgress* progress,
                             KXRGBQUAD* color);

/// The part of a raster that a frame holds, as far as it lies on the raster, upright: a turned frame is
/// straightened in the same pass by less than 45 degrees to either side, so that what is above stays above. A frame
/// along the axes gives exact pixels: its edges are rounded as by `roundHalfUp`. What of a turned frame's corners
/// lies beyond the raster is white. Throws CXIFaceException when nothing of the raster lies in the frame.
[[nodiscard]] QUILLBAY_API KxPtr<IRStor> CropToFrame(IRStor* source, const CRFrame& frame, IProgress* progress);

/// Turns clockwise by `radians`; the result holds the whole sheet, its corners are white.
[[nodiscard]] QUILLBAY_API KxPtr<IRStor> TurnRaster(IRStor* source, double radians, IProgress* progress);

/// The turn (radians, clockwise positive, within 45 degrees either way) that brings a line along an edge to the
/// nearest axis. 0 for a line without length.
[[nodiscard]] QUILLBAY_API double TurnToAxis(const CRLine& edge) noexcept;

}  // namespace quillbay
