#pragma once
#include <array>
#include <cstdint>

#include "params/scan_values.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// A sheet as it lies on the bed. Millimetres.
struct Sheet {
  tagRPOINT centre;
  double width = 0, height = 0;  ///< along its own edges
  double angle = 0;              ///< radians: the turn that straightens it, clockwise positive

  /// Directions of its upper edge, to the right, and of its left edge, down.
  [[nodiscard]] tagRPOINT across() const noexcept;
  [[nodiscard]] tagRPOINT down() const noexcept;
  /// Its corners: top left, top right, bottom right, bottom left, as they are named on the straight sheet.
  [[nodiscard]] std::array<tagRPOINT, 4> corners() const noexcept;
  bool operator==(const Sheet&) const = default;
};

/// A point `by` times `direction` from another.
[[nodiscard]] tagRPOINT moved(const tagRPOINT& from, const tagRPOINT& direction, double by) noexcept;

/// The sheet that straightening makes of an upright box by `angle`: the page holds what lies in it, from edge to
/// edge. The box itself where nothing is straightened (an angle up to `kLeastSkew`, over 45 degrees, or one that no
/// sheet fills the box with).
[[nodiscard]] Sheet sheetIn(const tagRRECT& box, double angle, std::int32_t scanType) noexcept;

/// The upright box around a sheet.
[[nodiscard]] tagRRECT boxAround(const Sheet& sheet) noexcept;

/// The sheet that a page of the found area holds when it is straightened by `angle`: in the area widened as for the
/// scan.
[[nodiscard]] Sheet straightSheet(const ScanValues& values, double angle) noexcept;
/// The same by the angle that was found.
[[nodiscard]] inline Sheet scannedSheet(const ScanValues& values) noexcept {
  return straightSheet(values, values.found.angle);
}

}  // namespace quillbay
