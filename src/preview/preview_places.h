#pragma once
#include <cstdint>

#include "params/scan_values.h"
#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "quillbay/view.h"

namespace quillbay::preview {

/// Pixels that stay free around the area.
inline constexpr std::int32_t kInset = 7;

/// What the control shows: the scan area, before there is one a square as wide as the bed. Millimetres.
[[nodiscard]] tagRRECT shownArea(const ScanValues& values) noexcept;

/// What is fitted into the control: the shown area; around a found document as much of the picture, which covers
/// `placed`, as it takes to see its edges.
[[nodiscard]] tagRRECT viewedArea(const ScanValues& values, const tagRRECT& placed) noexcept;
/// The area type by which `fittedView` shows all of a found document, and the type that is chosen otherwise.
[[nodiscard]] std::int32_t fittedType(const ScanValues& values, const KxRect& client,
                                      const tagRRECT& area) noexcept;

/// Pixels per millimetre at which `area` fills the client: its height for the area types from `kAreaCustom` on in
/// landscape, else its width. 1.0 for a width or height of 0. The client must be larger than the insets.
[[nodiscard]] double fitFactor(std::int32_t scanType, bool portrait, const KxRect& client,
                               const tagRRECT& area) noexcept;
/// The view transform that has the corner of `area` at the inset corner of the client. The transform before where
/// the client has no room.
[[nodiscard]] CRTfm fittedView(const CRTfm& now, std::int32_t scanType, bool portrait, const KxRect& client,
                               const tagRRECT& area) noexcept;

/// A rectangle of the document in pixels, corners rounded with halves upward, right and bottom exclusive. Pixels
/// are at most 2^22 away from the origin.
[[nodiscard]] KxRect toPixels(const CRTfm& view, const tagRRECT& document) noexcept;

/// Pixels by which a line of a scroll bar moves what is shown.
inline constexpr std::int32_t kLine = 5;
/// One scroll bar: values run from 0 to `range - page`.
struct ScrollBar {
  bool shown = false;
  std::int32_t range = 0, page = 0;
  bool operator==(const ScrollBar&) const = default;
};
/// @param area     extent of the area in millimetres
/// @param client   extent of the client in pixels
/// @param scale    pixels per millimetre
[[nodiscard]] ScrollBar scrollBarOf(double area, std::int32_t client, double scale) noexcept;

/// By how many pixels what is shown moves down for a frame to be seen: its upper edge, then its lower one.
[[nodiscard]] std::int32_t revealOffset(const KxRect& frame, const KxRect& client) noexcept;

/// From document millimetres to the values of rulers in a unit of `factor` millimetres, across from the middle of
/// the bed when documents are `centred`.
[[nodiscard]] CRDirectTfm rulerTransform(bool centred, double bedWidth, double factor) noexcept;

/// From the pixels of the store's picture, which has `extent`, to `area` in millimetres.
[[nodiscard]] CRDirectTfm rasterTransform(const tagRRECT& extent, const tagRRECT& area) noexcept;

/// What the control does when a parameter has changed.
struct Reaction {
  bool takesFragment = false;  ///< whether the fragment is shown follows its parameter
  bool hidesFragment = false;
  bool endsModes = false;
  bool revealsFrame = false;  ///< scrolls until the preview frame is seen
  bool updatesBars = false;
  bool renewsRulers = false;
  bool fits = false;  ///< fits the view, paints everything anew
  bool operator==(const Reaction&) const = default;
};
[[nodiscard]] Reaction reactionTo(const char* key) noexcept;

}  // namespace quillbay::preview
