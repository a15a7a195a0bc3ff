#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/geometry.h"
#include "quillbay/scanner.h"
#include "scanners/sane/sane_device.h"

namespace quillbay {

/// What a scan request asks for (`IQuillbayUnit::Scan`).
struct ScanWish {
  int mode = 5;
  int dpi = 0;  ///< 0: as the device stands
  bool hasRect = false;
  tagRRECT rect;           ///< mm; top = bottom: to the document's end
  bool isPrescan = false;  ///< a prescan or a detection prescan
  bool isBatch = false;
  double length = 0;              ///< mm when the device cannot find the document's end; 0: none was given
  int threshold = -1;             ///< 0-255; -1: none was given
  std::vector<KXRGBQUAD> curves;  ///< 256, or none
  bool operator==(const ScanWish&) const = default;
};
[[nodiscard]] ScanWish readScanWish(IParam* request);

/// Options that the person set, by name, in the order they were set.
using WantedOptions = std::vector<std::pair<std::string, std::string>>;

/// Whether an option follows from the scan request (mode, resolution, area), so that it cannot be set by name.
[[nodiscard]] bool followsRequest(std::string_view option) noexcept;

/// How a device names its kinds of pictures in its "mode" option; empty where it has none of that kind.
struct ModeNames {
  bool any = false;  ///< no mode option, or none that we know: the device decides
  std::string lineart, grey, colour;
};
[[nodiscard]] ModeNames modeNames(const SaneOption* mode);

/// Whether the selected source feeds sheets, and so finds their end.
[[nodiscard]] bool isFeeder(const std::vector<SaneOption>& options);

/// Sets the device up for a scan: source, mode, depth, the person's options, page size, area, resolution (which is
/// last, since setting others resets it with some drivers; a device that counts the area in pixels gets it after
/// the resolution). Answers the resolution that the device took, in dpi. Throws UnitFaultException.
///
/// The area is held within the device's; more than a millimetre that is lost is logged. An area without a length
/// goes to the device's longest scan where it finds the document's end (a feeder); elsewhere it is the wish's
/// length, since a flatbed delivers what it is asked for.
std::uint32_t applyScanWish(SaneDevice& device, const ScanWish& wish, const WantedOptions& wanted);

}  // namespace quillbay
