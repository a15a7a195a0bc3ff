#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/scanner.h"
#include "scanners/sane/sane_device.h"
#include "scanners/scan_request.h"

namespace quillbay {

/// Options that the user set, by name, in the order they were set.
using WantedOptions = std::vector<std::pair<std::string, std::string>>;

/// Whether an option follows from the scan request (mode, resolution, area), so that it cannot be set by name.
[[nodiscard]] bool followsRequest(std::string_view option) noexcept;

/// How a device names its kinds of pictures in its "mode" option; empty where it has none of that kind.
struct ModeNames {
  bool any = false;  ///< no mode option, or none that we know: the device decides
  std::string lineart, grey, colour;
};
[[nodiscard]] ModeNames modeNames(const SaneOption* mode);

/// Sets the device up for a scan: source, mode, depth, the user's options, page size, area, resolution (which is
/// last, since setting others resets it with some drivers; a device that counts the area in pixels gets it after
/// the resolution). Returns the resolution that the device took, in dpi. Throws UnitFaultException.
///
/// The area is held within the device's; more than a millimetre that is lost is logged. An area without a length
/// goes to the device's longest scan where it finds the document's end (a feeder); elsewhere it is the
/// request's length, since a flatbed delivers what it is asked for.
std::uint32_t applyRequest(SaneDevice& device, const ScanRequest& request, const WantedOptions& wanted);

/// Whether a device has a threshold of its own for line art, active in the current mode or not.
[[nodiscard]] bool hasOwnThreshold(const std::vector<SaneOption>& options) noexcept;

/// Whether the device takes a scan area; otherwise it delivers its whole area.
[[nodiscard]] bool takesArea(const SaneDevice& device);

}  // namespace quillbay
