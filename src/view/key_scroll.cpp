#include "view/key_scroll.h"

#include <algorithm>
#include <cmath>

namespace quillbay::view {
namespace {

std::int32_t arrowStep(std::int32_t size, double percent) noexcept {
  const double step = size * percent * 0.01;
  return step >= 1 ? static_cast<std::int32_t>(std::min(step, 1e9)) : 1;  // also for what is no number
}

std::int32_t autoStep(std::int32_t at, std::int32_t size) noexcept {
  if (at >= size) return static_cast<std::int32_t>(std::log(at - size + 1.0) + 1);
  if (at < 0) return static_cast<std::int32_t>(-std::log(-static_cast<double>(at)) - 1);
  return 0;
}

}  // namespace

std::optional<KxPoint> keyScroll(int key, const KxSize& client, double stepPercent) noexcept {
  const std::int32_t x = arrowStep(client.width, stepPercent);
  const std::int32_t y = arrowStep(client.height, stepPercent);
  switch (key) {
    case kKeyPageUp: return KxPoint{0, -client.height};
    case kKeyPageDown: return KxPoint{0, client.height};
    case kKeyLeft:
    case kKeyPad0 + 4: return KxPoint{-x, 0};
    case kKeyRight:
    case kKeyPad0 + 6: return KxPoint{x, 0};
    case kKeyUp:
    case kKeyPad0 + 8: return KxPoint{0, -y};
    case kKeyDown:
    case kKeyPad0 + 2: return KxPoint{0, y};
    case kKeyPad0 + 7: return KxPoint{-x, -y};
    case kKeyPad0 + 9: return KxPoint{x, -y};
    case kKeyPad0 + 1: return KxPoint{-x, y};
    case kKeyPad0 + 3: return KxPoint{x, y};
    default: return std::nullopt;
  }
}

KxPoint autoScroll(const KxPoint& pointer, const KxSize& client) noexcept {
  return {autoStep(pointer.x, client.width), autoStep(pointer.y, client.height)};
}

}  // namespace quillbay::view
