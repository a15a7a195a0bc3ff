#pragma once
#include <cstdint>
#include <vector>

#include "scanners/sane/sane_option.h"
#include "scanners/sane/sane_settings.h"
#include "scanners/sane/sane_sources.h"

namespace quillbay {

/// What a SANE device offers, computed from its options and kept by the unit, so that questions are answered while
/// a scan occupies the SANE thread.
struct SaneCapabilities {
  ModeNames modes;
  std::vector<std::int32_t> resolutions;  ///< dpi, ascending
  /// Allowed resolutions beside the list; 0, 0 when only those of the list are.
  double minDpi = 0, maxDpi = 0;
  /// Millimetres. A device that does not tell: 900 wide (it ignores the area) and 0, no limit, long.
  double maxWidth = 0, maxLength = 0;
  SaneSources sources;
  std::vector<SaneOption> options;

  [[nodiscard]] bool offers(int mode) const noexcept;
  [[nodiscard]] bool allowsDpi(int dpi) const noexcept;
};

[[nodiscard]] SaneCapabilities findCapabilities(const std::vector<SaneOption>& options);

}  // namespace quillbay
