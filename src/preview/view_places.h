#pragma once
#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "quillbay/view.h"

/// Where pictures and frames lie in a host's view. Documents are in millimetres with y pointing up, client pixels
/// are device-independent, rectangles have top < bottom.
namespace quillbay::places {

/// Height by width of what a view shows; `kFirstFrameAspect` where it shows nothing.
[[nodiscard]] double aspectOf(const tagRRECT& shown) noexcept;

/// `frame` moved onto a bed of this width, and cut where it is wider; not above the bed's start.
[[nodiscard]] tagRRECT onBed(const tagRRECT& frame, double bedWidth) noexcept;

/// From a store's pixels to the document: as wide as `place`, from its upper edge (`bottom`) down. Neither may be
/// without a width.
[[nodiscard]] CRTfm across(const tagRRECT& extent, const tagRRECT& place) noexcept;

/// What of a raster is to be drawn, in device pixels.
struct DevicePart {
  CRDirectTfm tfm;  ///< from raster pixels to those of the part: 0, 0 is its corner
  KxRect pixels;    ///< the part in the device; empty when nothing of the raster is seen
};
/// @param toDocument  from raster pixels (`across`)
/// @param view        without rotation
/// @param clip        client pixels that are wanted
/// @param ratio       device pixels of a client pixel
[[nodiscard]] DevicePart devicePart(const CRTfm& toDocument, const CRTfm& view, const tagRRECT& extent,
                                    const tagRRECT& clip, double ratio) noexcept;

/// The frame in client pixels: corners rounded to the nearest, right and bottom plus one. Cut where it is farther
/// out than anybody sees.
[[nodiscard]] KxRect outline(const CRTfm& view, const tagRRECT& frame) noexcept;

/// The place of the information panel's picture in its area, which both are in client pixels: at most half as wide,
/// and 10 pixels lower than the area. Empty when there is no room.
[[nodiscard]] tagRRECT picturePlace(const tagRRECT& area, const tagRSIZE& picture) noexcept;

}  // namespace quillbay::places
