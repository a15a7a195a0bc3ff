#pragma once
#include <array>
#include <cstdint>
#include <optional>

#include "quillbay/geometry.h"
#include "quillbay/view.h"

namespace quillbay {

/// Zones of a frame, clockwise from its top left corner; 8: all of it.
enum FrameZone : int {
  kNoZone = -1,
  kTopLeft = 0,
  kTop,
  kTopRight,
  kRight,
  kBottomRight,
  kBottom,
  kBottomLeft,
  kLeft,
  kWhole
};
/// Added to the zones of the fragment.
inline constexpr int kFragmentZones = 6502;

/// The frame as it is stored: normalised, not smaller than the least size and 1 mm in height, inside `area`; as
/// wide or high as the area where that is smaller. Millimetres.
[[nodiscard]] tagRRECT settledFrame(tagRRECT frame, const tagRRECT& area, double minWidth,
                                    double minHeight) noexcept;
/// The frame moved to have its centre at `at`.
[[nodiscard]] tagRRECT centredFrame(const tagRRECT& frame, const tagRPOINT& at) noexcept;

/// The square of a zone, 6 x 6 pixels around a corner or the middle of an edge; of `kWhole` the frame itself. Right
/// and bottom exclusive.
[[nodiscard]] KxRect handleOf(const KxRect& frame, int zone) noexcept;
/// The zone under a pixel: the whole wins over the squares.
[[nodiscard]] int zoneAt(const KxRect& frame, std::int32_t x, std::int32_t y) noexcept;
/// The zone of the preview frame under a pixel, else that of the fragment (null: none is shown) with
/// `kFragmentZones` added, else `kNoZone`.
[[nodiscard]] int zoneAt(const KxRect& preview, const KxRect* fragment, std::int32_t x, std::int32_t y) noexcept;

/// The frame when the edges of `zone` follow the pointer; `kWhole` moves by the way from `start` to `at`.
[[nodiscard]] tagRRECT dragged(tagRRECT frame, int zone, const tagRPOINT& start, const tagRPOINT& at) noexcept;

/// Directions of the arrow keys.
enum class FrameStep { Left, Right, Up, Down };
/// The frame after a key: moved by 1 mm, by 10 mm with `large`. `resizes`: only the right or lower edge moves.
[[nodiscard]] tagRRECT stepped(tagRRECT frame, FrameStep step, bool large, bool resizes) noexcept;

/// Which frame the keys change; the order in which Tab goes through them. `Sheet`: the outline of the document.
enum class ActiveFrame { Preview, Fragment, Sheet };
/// Where Tab (`forward`) or Shift+Tab goes in the control; nothing: it leaves the control.
[[nodiscard]] std::optional<ActiveFrame> nextFrame(ActiveFrame now, bool hasFragment, bool hasSheet,
                                                   bool forward) noexcept;

/// The outline of a frame, closed; it starts `phase` pixels right of the corner, so that dashes run along it.
[[nodiscard]] std::array<KxPoint, 6> dashOutline(const KxRect& frame, int phase) noexcept;
/// Dashes run through phases 1 to 51.
[[nodiscard]] constexpr int nextPhase(int phase) noexcept { return phase >= 51 ? 1 : phase + 1; }

}  // namespace quillbay
