#include "analysis/sheet_edges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "quillbay/scan_mode.h"

namespace quillbay {
namespace {

/// Places along a side, and the part of the side at each end where its neighbour's edge disturbs.
constexpr int kPlaces = 96;
constexpr double kEndPart = 0.06;
/// Profiles across an edge: samples for a pixel, and pixels along the edge that each one averages.
constexpr int kPerPixel = 4, kAlong = 5;
/// A step is the difference of tones over this many pixels.
constexpr double kStepPixels = 2;
/// Tones; and to the clearest step of the profile. What is less is noise, or the fibres of the paper.
constexpr double kLeastRise = 6, kRisePart = 0.45;
/// How far places may lie from their median, in pixels, and how many have to agree.
constexpr double kAgree = 1.2, kAgreePart = 0.4;

class EdgeFinder {
 public:
  EdgeFinder(const BoundStripes& stripes, double reach)
      : m_stripes(stripes), m_size(stripes.size()), m_reach(reach) {}

  /// How far the edge lies inside of the side from `a` to `b` (along `along`, a unit vector; `in` points into the
  /// sheet), or nothing.
  [[nodiscard]] std::optional<double> offset(const tagRPOINT& a, const tagRPOINT& along, double length,
                                             const tagRPOINT& in) const {
    std::vector<double> found;
    int inPicture = 0;
    for (int i = 0; i < kPlaces; ++i) {
      const double at = length * (kEndPart + (1 - 2 * kEndPart) * (i + 0.5) / kPlaces);
      const tagRPOINT place{a.x + along.x * at, a.y + along.y * at};
      const auto profile = profileAt(place, along, in);
      if (profile.empty()) continue;
      ++inPicture;
      if (const auto edge = edgeIn(profile)) found.push_back(*edge);
    }
    if (inPicture < kPlaces / 4 || found.empty()) return std::nullopt;
    const auto middle = found.begin() + static_cast<std::ptrdiff_t>(found.size() / 2);
    std::nth_element(found.begin(), middle, found.end());
    const double median = *middle;
    double sum = 0;
    int agreeing = 0;
    for (const double edge : found) {
      if (std::abs(edge - median) > kAgree) continue;
      sum += edge;
      ++agreeing;
    }
    if (agreeing < kAgreePart * inPicture) return std::nullopt;
    return sum / agreeing;
  }

 private:
  /// Tones on the way in, from `m_reach` outside of a place to as much inside. Empty where the picture ends before.
  [[nodiscard]] std::vector<double> profileAt(const tagRPOINT& place, const tagRPOINT& along,
                                              const tagRPOINT& in) const {
    const int count = static_cast<int>(2 * m_reach * kPerPixel) + 1;
    std::vector<double> profile(static_cast<std::size_t>(count));
    for (int k = 0; k < count; ++k) {
      const double depth = -m_reach + static_cast<double>(k) / kPerPixel;
      double sum = 0;
      for (int n = -kAlong / 2; n <= kAlong / 2; ++n) {
        const auto tone = toneAt(place.x + in.x * depth + along.x * n, place.y + in.y * depth + along.y * n);
        if (!tone) return {};
        sum += *tone;
      }
      profile[static_cast<std::size_t>(k)] = sum / kAlong;
    }
    return profile;
  }

  /// Between four pixels; `x`, `y` count from the picture's corner.
  [[nodiscard]] std::optional<double> toneAt(double x, double y) const {
    const double left = std::floor(x - 0.5), top = std::floor(y - 0.5);
    const auto column = static_cast<std::int32_t>(left), row = static_cast<std::int32_t>(top);
    if (column < 0 || row < 0 || column + 1 >= m_size.width || row + 1 >= m_size.height) return std::nullopt;
    const double u = x - 0.5 - left, v = y - 0.5 - top;
    const std::uint8_t* upper = m_stripes.greyRow(row) + column;
    const std::uint8_t* lower = m_stripes.greyRow(row + 1) + column;
    return (upper[0] * (1 - u) + upper[1] * u) * (1 - v) + (lower[0] * (1 - u) + lower[1] * u) * v;
  }

  /// The middle of the first clear rise, in pixels from the place; positive inside.
  [[nodiscard]] std::optional<double> edgeIn(const std::vector<double>& profile) const {
    const auto span = static_cast<std::size_t>(kStepPixels * kPerPixel);
    double clearest = 0;
    for (std::size_t k = 0; k + span < profile.size(); ++k)
      clearest = std::max(clearest, profile[k + span] - profile[k]);
    const double least = std::max(kLeastRise, kRisePart * clearest);
    for (std::size_t k = 0; k + span < profile.size(); ++k) {
      const auto rise = [&](std::size_t i) { return profile[i + span] - profile[i]; };
      if (rise(k) < least) continue;
      while (k + 1 + span < profile.size() && rise(k + 1) > rise(k)) ++k;  // to its steepest part
      return centreOf(profile, k, span);
    }
    return std::nullopt;
  }

  /// Where the tones of a rise pass half of it.
  [[nodiscard]] double centreOf(const std::vector<double>& profile, std::size_t from, std::size_t span) const {
    const double half = (profile[from] + profile[from + span]) / 2;
    double at = static_cast<double>(from) + static_cast<double>(span) / 2;
    for (std::size_t i = from; i < from + span; ++i) {
      if (profile[i] > half || profile[i + 1] <= half) continue;
      at = static_cast<double>(i) + (half - profile[i]) / (profile[i + 1] - profile[i]);
      break;
    }
    return at / kPerPixel - m_reach;
  }

  const BoundStripes& m_stripes;
  const KxSize m_size;
  const double m_reach;
};

}  // namespace

std::optional<Sheet> fitSheet(const BoundStripes& stripes, const KxRect& bounds, double angle, double reach) {
  if (!stripes.isGrey() || stripes.isEmpty()) return std::nullopt;
  const tagRRECT box{static_cast<double>(bounds.left), static_cast<double>(bounds.top),
                     static_cast<double>(bounds.right), static_cast<double>(bounds.bottom)};
  Sheet sheet = sheetIn(box, angle, kAreaAuto);
  const auto corners = sheet.corners();
  const tagRPOINT across = sheet.across(), down = sheet.down();
  const tagRPOINT left{-across.x, -across.y}, up{-down.x, -down.y};
  const EdgeFinder finder(stripes, reach);
  const std::array<std::optional<double>, 4> found{
      finder.offset(corners[0], down, sheet.height, across), finder.offset(corners[0], across, sheet.width, down),
      finder.offset(corners[1], down, sheet.height, left), finder.offset(corners[3], across, sheet.width, up)};
  if (std::count_if(found.begin(), found.end(), [](const auto& f) { return f.has_value(); }) < 2)
    return std::nullopt;
  const double l = found[0].value_or(0), t = found[1].value_or(0), r = found[2].value_or(0),
               b = found[3].value_or(0);
  sheet.centre = moved(moved(sheet.centre, across, (l - r) / 2), down, (t - b) / 2);
  sheet.width -= l + r;
  sheet.height -= t + b;
  // Many feeders end a scan with the document: its last corner is the picture's last line.
  const double beyond = stripes.size().height - boxAround(sheet).bottom;
  if (!found[3] && stripes.size().height - bounds.bottom <= reach) {
    const double longer = beyond / std::cos(angle);
    sheet.centre = moved(sheet.centre, down, longer / 2);
    sheet.height += longer;
  }
  return sheet.width > 0 && sheet.height > 0 ? std::optional(sheet) : std::nullopt;
}

}  // namespace quillbay
