#include "scanners/sim/sim_pen.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace quillbay::sim {

namespace {

// Strokes of a letter on a grid 4 wide and 6 high, pairs x y from the top left; a blank starts a new stroke.
struct Glyph {
  char letter;
  const char* strokes;
};
constexpr Glyph kGlyphs[] = {
    {'A', "0602204246 0444"},
    {'B', "06003041423303 3344453606"},
    {'C', "4130100105163645"},
    {'D', "06003041453606"},
    {'E', "40000646 0333"},
    {'F', "400006 0333"},
    {'G', "41301001051636454323"},
    {'H', "0006 4046 0343"},
    {'I', "2026 1030 1636"},
    {'J', "4045361605"},
    {'K', "0006 400346"},
    {'L', "000646"},
    {'M', "0600234046"},
    {'N', "06004640"},
    {'O', "103041453616050110"},
    {'P', "06003041423303"},
    {'Q', "103041453616050110 2446"},
    {'R', "06003041423303 2346"},
    {'S', "413010010213334445361605"},
    {'T', "0040 2026"},
    {'U', "000516364540"},
    {'V', "002640"},
    {'W', "0016233640"},
    {'X', "0046 4006"},
    {'Y', "002340 2326"},
    {'Z', "00400646"},
    {'0', "103041453616050110 4105"},
    {'1', "112026 1636"},
    {'2', "01103041420646"},
    {'3', "004022334445361605"},
    {'4', "36300444"},
    {'5', "400002324345361605"},
    {'6', "4130100105163645443303"},
    {'7', "004016"},
    {'8', "103041423313020110 1304051636454433"},
    {'9', "0516364541301001021343"},
    {'-', "0343"},
    {'.', "2526"},
    {':', "2122 2425"},
    {'/', "0640"},
    {'=', "0242 0444"},
    {'(', "30212536"},
    {')', "10212516"},
    {'+', "0343 2125"},
    {'*', "103041453616050110 0640"},  // the diameter sign
};

const char* strokesOf(char letter) noexcept {
  const auto* found =
      std::find_if(std::begin(kGlyphs), std::end(kGlyphs), [&](const Glyph& g) { return g.letter == letter; });
  return found == std::end(kGlyphs) ? "" : found->strokes;
}

void arrow(SimDisplayList& list, SimPoint tip, double ux, double uy, SimInk ink) {
  constexpr double kLength = 3.5;
  constexpr double kHalf = 0.6;
  const SimPoint back{tip.x - ux * kLength, tip.y - uy * kLength};
  list.area({tip, {back.x - uy * kHalf, back.y + ux * kHalf}, {back.x + uy * kHalf, back.y - ux * kHalf}}, ink);
}

}  // namespace

void rectangle(SimDisplayList& list, const Rect& r, double width, SimInk ink) {
  list.polyline({{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}}, width, ink, true);
}

double textWidth(double height, std::string_view words) noexcept {
  return static_cast<double>(words.size()) * height;
}

double text(SimDisplayList& list, SimPoint at, double height, std::string_view words, SimInk ink) {
  const double unit = height / 6;
  double x = at.x;
  for (const char letter : words) {
    SimPoint last;
    bool open = false;
    for (const char* s = strokesOf(letter); *s != 0;) {
      if (*s == ' ') {
        open = false;
        ++s;
        continue;
      }
      const SimPoint p{x + (s[0] - '0') * unit, at.y - (6 - (s[1] - '0')) * unit};
      if (open) list.line(last, p, height / 10, ink);
      last = p;
      open = true;
      s += 2;
    }
    x += height;
  }
  return x - at.x;
}

void dimension(SimDisplayList& list, SimPoint a, SimPoint b, double offset, SimInk ink) {
  const double length = std::hypot(b.x - a.x, b.y - a.y);
  if (length < 10) return;
  const double ux = (b.x - a.x) / length;
  const double uy = (b.y - a.y) / length;
  const auto moved = [&](SimPoint p, double by) { return SimPoint{p.x - uy * by, p.y + ux * by}; };
  const double over = offset + (offset < 0 ? -2 : 2);
  const SimPoint from = moved(a, offset);
  const SimPoint to = moved(b, offset);
  list.line(a, moved(a, over), 0.18, ink);
  list.line(b, moved(b, over), 0.18, ink);
  list.line(from, to, 0.18, ink);
  arrow(list, from, -ux, -uy, ink);
  arrow(list, to, ux, uy, ink);
  const std::string words = std::to_string(static_cast<int>(std::lround(length)));
  const SimPoint middle{(from.x + to.x) / 2, (from.y + to.y) / 2};
  if (std::abs(ux) > 0.7)
    text(list, {middle.x - textWidth(3, words) / 2, middle.y - 1}, 3, words, ink);
  else
    text(list, {middle.x + 1.2, middle.y + 1.5}, 3, words, ink);
}

void hatch(SimDisplayList& list, const Rect& r, double distance, SimInk ink) {
  const double height = r.height();
  for (double x = r.left - height + distance; x < r.right; x += distance) {
    // From (x, bottom) up to the right, cut to the rectangle.
    const double from = std::max(x, r.left);
    const double to = std::min(x + height, r.right);
    if (from < to) list.line({from, r.bottom - (from - x)}, {to, r.bottom - (to - x)}, 0.18, ink);
  }
}

void centreLine(SimDisplayList& list, SimPoint a, SimPoint b, SimInk ink) {
  const double length = std::hypot(b.x - a.x, b.y - a.y);
  const auto at = [&](double d) {
    const double t = std::min(d / length, 1.0);
    return SimPoint{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
  };
  for (double d = 0; d < length; d += 14) {
    list.line(at(d), at(d + 9), 0.18, ink);
    if (d + 11 < length) list.line(at(d + 11), at(d + 12), 0.18, ink);
  }
}

}  // namespace quillbay::sim
