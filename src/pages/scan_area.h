#pragma once
#include "params/shared_scan_params.h"

namespace quillbay {

/// A bed this much narrower than a paper still takes it: devices report theirs a little short.
inline constexpr double kBedToleranceMm = 1.0;

/// The scan area as the page's fields show it, in millimetres.
struct AreaFields {
  double width = 0, offset = 0, top = 0, length = 0;
  bool operator==(const AreaFields&) const = default;
};

/// Whether offsets are computed from centring with these settings: automatic areas bring their own position.
[[nodiscard]] bool showsCentred(const ScanValues& values) noexcept;
/// The fields for `key::RcScan`: the width held to the bed (and to exactly it within 0.001 mm), the offset so that
/// the area stays on the bed.
[[nodiscard]] AreaFields fieldsOf(const ScanValues& values) noexcept;
/// The area that edited fields mean: on the bed, at least the minimum width wide (the bed wins when it is
/// narrower), centred when centring is on.
[[nodiscard]] tagRRECT areaOf(const AreaFields& fields, const ScanValues& values) noexcept;

/// A paper as it lies on the bed: portrait has the short side across.
[[nodiscard]] tagRSIZE orientedSize(const tagRSIZE& paper, bool portrait) noexcept;
/// Whether the bed takes it so, with the tolerance.
[[nodiscard]] bool fitsBed(const tagRSIZE& paper, bool portrait, double bedWidth) noexcept;
/// The orientation that is used when `portrait` is wished for: the other one when only that fits the bed.
[[nodiscard]] bool usableOrientation(const tagRSIZE& paper, bool portrait, double bedWidth) noexcept;
/// The scan area of a paper: its size, no wider than the bed, where the scan area lies now or centred.
[[nodiscard]] tagRRECT paperArea(const tagRSIZE& paper, const ScanValues& values) noexcept;

/// Which fields the user can edit.
struct FieldAccess {
  bool width = false, offset = false, top = false, length = false;
  bool operator==(const FieldAccess&) const = default;
};
/// Found areas are not typed; a length to the end of the document is not either; a paper has its size; and centring
/// sets the position.
[[nodiscard]] FieldAccess fieldAccess(const ScanValues& values) noexcept;

/// What the detection mask makes of bursting and centring.
struct AutodetectEffect {
  bool burstingAllowed = false;
  bool centreAllowed = false;  ///< the user may choose
  std::int32_t bursting = 0, center = 0;
  bool operator==(const AutodetectEffect&) const = default;
};
[[nodiscard]] AutodetectEffect autodetectEffect(const ScanValues& values) noexcept;

/// `key::Center` as the scanner lets it be: forced where it always or never centres.
[[nodiscard]] std::int32_t allowedCentring(std::int32_t centring, std::int32_t wished) noexcept;

}  // namespace quillbay
