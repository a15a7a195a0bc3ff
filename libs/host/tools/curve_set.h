#pragma once
#include <array>
#include <cstddef>
#include <optional>

#include "host/tools/tone_curve.h"
#include "quillbay/color_space.h"

namespace quillbay {

enum class CurveChannel : std::size_t { Common, Red, Green, Blue };
inline constexpr std::size_t kCurveChannels = 4;

/// "SCAN_GAMMA": an entry for each input level, `reserved` 0.
using GammaTable = std::array<KXRGBQUAD, 256>;

/// The table that changes nothing.
[[nodiscard]] GammaTable straightTable();

/// The curves of a scan: one for each channel, and a common one for what these give. A table that a host gave is
/// kept as it is, and the curves follow it roughly, until one of them is changed.
class CurveSet {
 public:
  [[nodiscard]] const ToneCurve& curve(CurveChannel channel) const { return m_curves[index(channel)]; }
  void setCurve(CurveChannel channel, ToneCurve curve);
  /// Takes a table whose curves are not known.
  void follow(const GammaTable& table);
  /// What the unit applies.
  [[nodiscard]] GammaTable table() const;
  /// A curve as it is applied: of a channel with the common one behind it; the common one alone.
  [[nodiscard]] CurveLevels applied(CurveChannel channel) const;
  /// Black or white points of the three channels, from a colour of the picture. False, and nothing is changed,
  /// unless black stays below white in all of them.
  bool setBlack(KXRGBQUAD color);
  bool setWhite(KXRGBQUAD color);
  bool operator==(const CurveSet&) const = default;

 private:
  static std::size_t index(CurveChannel channel) { return static_cast<std::size_t>(channel); }
  bool setEnds(KXRGBQUAD color, bool (ToneCurve::*set)(int));

  std::array<ToneCurve, kCurveChannels> m_curves;
  std::optional<GammaTable> m_given;
};

}  // namespace quillbay
