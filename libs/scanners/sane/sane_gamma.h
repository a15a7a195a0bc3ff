#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/color_space.h"
#include "scanners/lines/color_loops.h"
#include "scanners/sane/sane_device.h"

namespace quillbay {

/// A scan's tone curves in the device's own gamma tables ("gamma-table" of grey, "red-gamma-table" and so on of
/// colour), which usually hold more than 8 bits. They are part of the device's own rendering: curves are applied to
/// what they hold, and that is put back before the next scan. SANE thread only.
///
/// The line pipeline applies the curves where the device cannot: it has no tables, they are inactive (a device that
/// has to be switched to "custom-gamma" would give up its own curve, which nobody can read), they do not rise, the
/// lines are black and white, or the device does not keep what it is given. SANE's driver "test" keeps tables that
/// have no effect on its pictures: it gets none.
class SaneGamma {
 public:
  /// Whether the tables of a device of this name do what they say.
  [[nodiscard]] static bool isTrusted(std::string_view deviceName) noexcept;
  /// After the device was set up for a scan. `curves`: 256 entries, or none.
  void apply(SaneDevice& device, const std::vector<KXRGBQUAD>& curves);
  /// Whether the device applies the curves of the last `apply`.
  [[nodiscard]] bool isApplied() const noexcept { return !m_kept.empty(); }
  /// Puts the device's own tables back, before it is set up again.
  void restore(SaneDevice& device);

  /// A device's table with a curve behind it. Values within `least` to `most`; the curve's levels 0 to 255 are
  /// spread over them, between two of its levels it is a straight line.
  [[nodiscard]] static std::vector<double> compose(const std::vector<double>& table, double least, double most,
                                                   const LevelTable& curve);

 private:
  struct Kept {
    std::string name;
    std::vector<SANE_Word> words;
  };
  bool put(SaneDevice& device, const char* name, const LevelTable& curve);

  std::vector<Kept> m_kept;  // the tables that were changed, as they were
};

}  // namespace quillbay
