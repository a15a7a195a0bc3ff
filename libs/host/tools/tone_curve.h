#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace quillbay {

/// A point of a curve: the output level `y` for the input level `x`, both 0 to 255.
struct CurvePoint {
  int x = 0, y = 0;
  bool operator==(const CurvePoint&) const = default;
};

/// An output level for each input level.
using CurveLevels = std::array<std::uint8_t, 256>;

/// A curve through points. Between two points it never leaves the range of their levels: a cubic Hermite spline
/// with the slopes of Fritsch and Butland (SIAM J. Sci. Stat. Comput. 5, 1984), level at a point that is higher or
/// lower than both of its neighbours. Before its first point and behind its last one it is flat.
class ToneCurve {
 public:
  static constexpr std::size_t kMostPoints = 17;

  /// A straight line: every level stays.
  ToneCurve();
  /// Through 2 to `kMostPoints` points with x ascending, levels 0 to 255; nothing for others.
  [[nodiscard]] static std::optional<ToneCurve> through(std::vector<CurvePoint> points);
  /// Follows a table at every 16th level.
  [[nodiscard]] static ToneCurve following(const CurveLevels& levels);

  [[nodiscard]] std::span<const CurvePoint> points() const noexcept { return m_points; }
  [[nodiscard]] bool isStraight() const { return *this == ToneCurve(); }
  /// The level at each input, rounded with halves upward.
  [[nodiscard]] CurveLevels levels() const;
  bool operator==(const ToneCurve&) const = default;

  /// Adds a point, or moves the one with this x. Levels are held within 0 to 255. Returns its index, or nothing
  /// when there is no room for another.
  std::optional<std::size_t> add(CurvePoint point);
  /// Moves a point as far as its neighbours let it: x stays between theirs. Returns where it is then.
  CurvePoint move(std::size_t index, CurvePoint to);
  /// Removes a point between the first and the last. False for those two.
  bool remove(std::size_t index);
  /// The curve starts at `x` with level 0 (black) or ends there with 255 (white); points beyond are removed. False,
  /// and nothing is changed, unless black stays below white.
  bool setBlack(int x);
  bool setWhite(int x);

 private:
  std::vector<CurvePoint> m_points;
};

}  // namespace quillbay
