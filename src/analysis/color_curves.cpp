#include "quillbay/color_curves.h"

#include <algorithm>
#include <cmath>

// The bytes are compared with those of other programs: CMakeLists.txt keeps this file's arithmetic from being
// contracted or reordered, whatever else the build asks for.

namespace quillbay {

namespace {

constexpr int kLevels = 256;

bool isWithin(int value, int most) noexcept { return value >= -most && value <= most; }

double exponentOf(int balance, double gamma, int hue) noexcept {
  constexpr double kLeast = 0.0001;
  const double sum = balance * 0.01 + gamma + hue * 0.01;
  const double g = sum >= kLeast ? sum : kLeast;  // also for what is no number
  return std::log(g / (g + 1)) / std::log(0.5);
}

std::uint8_t levelAt(int i, int low, int high, double exponent) noexcept {
  if (low == high) return 0;  // 0/0 yields no level, whatever the exponent makes of it
  const double share = static_cast<double>(i - low) / static_cast<double>(high - low);
  const double level = std::pow(share, exponent) * 255.0 + 0.5;
  return std::isnan(level) ? std::uint8_t{0} : static_cast<std::uint8_t>(level);
}

void fillChannel(std::uint8_t KXRGBQUAD::*channel, int low, int high, double exponent, KXRGBQUAD* table) noexcept {
  for (int i = 0; i <= low; ++i) table[i].*channel = 0;
  for (int i = high; i < kLevels; ++i) table[i].*channel = 255;
  for (int i = low; i <= high; ++i) table[i].*channel = levelAt(i, low, high, exponent);
}

int truncated(double value) noexcept { return static_cast<int>(value); }

std::uint8_t contrasted(int v, int brightness, int contrast) noexcept {
  const auto held = [&](int level) { return static_cast<std::uint8_t>(std::clamp(brightness + level, 0, 255)); };
  if (contrast <= 0) return held(truncated(((contrast + 100) * v - 127 * contrast) * 0.01 + 0.5));
  const int dark = 127 * contrast / 100;
  if (v <= dark) return held(0);
  if (v >= 255 - dark) return held(255);
  return held(truncated(static_cast<double>(100 * v - 127 * contrast) / (100 - contrast) + 0.5));
}

}  // namespace

int CalculateColorCurves(int brightness, int contrast, int hue, int saturation, int redBalance, int greenBalance,
                         int blueBalance, double redGamma, double greenGamma, double blueGamma, KXRGBQUAD low,
                         KXRGBQUAD high, KXRGBQUAD* table) {
  const bool isValid = isWithin(brightness, 100) && isWithin(contrast, 100) && isWithin(hue, 180) &&
                       saturation >= -100 && isWithin(redBalance, 100) && isWithin(greenBalance, 100) &&
                       isWithin(blueBalance, 100);
  if (!isValid || !table) return 0;
  fillChannel(&KXRGBQUAD::red, low.red, high.red, exponentOf(redBalance, redGamma, hue), table);
  fillChannel(&KXRGBQUAD::green, low.green, high.green, exponentOf(greenBalance, greenGamma, hue), table);
  fillChannel(&KXRGBQUAD::blue, low.blue, high.blue, exponentOf(blueBalance, blueGamma, hue), table);
  std::uint8_t map[kLevels];
  for (int v = 0; v < kLevels; ++v) map[v] = contrasted(v, brightness, contrast);
  for (int i = 0; i < kLevels; ++i) {
    table[i].red = map[table[i].red];
    table[i].green = map[table[i].green];
    table[i].blue = map[table[i].blue];
  }
  return 1;
}

}  // namespace quillbay
