#pragma once
#include <array>
#include <optional>

#include "analysis/sheet_outline.h"
#include "preview/frame_rules.h"
#include "quillbay/view.h"

namespace quillbay {

/// A found sheet on the preview: its outline, which the user takes by its corners and edges to resize it, between
/// them to move it, and by a knob beside its upper edge to turn it.

/// Added to the zones of a frame; `kWhole` is the outline between the handles.
inline constexpr int kSheetZones = 7000;
/// The knob.
inline constexpr int kTurn = 9;

/// No sheet is turned further, in radians (15 degrees): a scan straightens skews, it turns no pages.
inline constexpr double kMostTurn = 0.2617993877991494;
/// A step of the keys that turn, in radians (0.1 degrees), and a large one (1 degree).
inline constexpr double kTurnStep = 0.0017453292519943296, kLargeTurnStep = 10 * kTurnStep;

/// The outline in pixels of a control: corners as `Sheet::corners` has them, the eight handles by their zones, the
/// knob.
struct SheetPlaces {
  std::array<tagRPOINT, 4> corners;
  std::array<tagRPOINT, 8> handles;
  tagRPOINT knob;
};
[[nodiscard]] SheetPlaces placesOf(const Sheet& sheet, const CRTfm& view) noexcept;

/// The zone under a pixel, `kSheetZones` added, or `kNoZone`. Inside the outline there is none: frames lie there.
[[nodiscard]] int sheetZoneAt(const SheetPlaces& places, double x, double y) noexcept;

/// The sheet when its `zone` (without `kSheetZones`) is dragged from `start` to `at`, in document millimetres. It
/// keeps its angle, but for the knob, which turns it about its centre. Its sides stay at least 10 mm.
[[nodiscard]] Sheet draggedSheet(const Sheet& sheet, int zone, const tagRPOINT& start,
                                 const tagRPOINT& at) noexcept;
/// The sheet turned by `by` radians, held to `kMostTurn`.
[[nodiscard]] Sheet turnedSheet(Sheet sheet, double by) noexcept;
/// The sheet after an arrow key: see `stepped`. A resizing key moves its right or lower edge.
[[nodiscard]] Sheet steppedSheet(const Sheet& sheet, FrameStep step, bool large, bool resizes) noexcept;

/// What a corrected sheet makes of the scan: its box, moved onto the bed and cut there, and its angle. Angles that
/// straightening leaves alone are 0.
[[nodiscard]] DetectedArea correctedArea(const Sheet& sheet, const ScanValues& values) noexcept;

}  // namespace quillbay
