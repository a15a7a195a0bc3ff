#include "pages/unadjusted.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "quillbay/bw_points.h"
#include "quillbay/palette.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

namespace {

using Levels = std::array<std::uint8_t, 256>;
using Curves = std::array<KXRGBQUAD, 256>;
/// Fewer levels than this in a curve's result, and the picture has lost something that is seen.
constexpr int kLeastLevels = 250;

/// What a request's points and curves do; false when they do nothing.
bool curvesOfRequest(IParam* request, Curves* out) {
  BwPoints points;
  Curves gamma{};
  const CKxVariant storedPoints = paramValue(request, key::HardBwPoint),
                   storedGamma = paramValue(request, key::Gamma);
  const auto* pointBytes = storedPoints.get<CKxBlob>();
  const bool hasPoints = pointBytes && readBwPoints(*pointBytes, &points);
  const auto* gammaBytes = storedGamma.get<CKxBlob>();
  const bool hasGamma = gammaBytes && gammaBytes->size() == sizeof gamma;
  if (hasGamma) std::memcpy(gamma.data(), gammaBytes->data(), sizeof gamma);
  *out = curvesOf(points, hasGamma ? gamma.data() : nullptr);
  return hasPoints || hasGamma;
}

Levels inverse(const Levels& curve, bool* isExact) {
  std::array<bool, 256> given{};
  for (const std::uint8_t level : curve) given[level] = true;
  int count = 0;
  for (const bool g : given) count += g ? 1 : 0;
  if (count < kLeastLevels) *isExact = false;
  Levels out{};
  for (int wanted = 0; wanted < 256; ++wanted) {
    int nearest = 256, first = 0, last = 0;
    for (int level = 0; level < 256; ++level) {
      const int away = std::abs(curve[static_cast<std::size_t>(level)] - wanted);
      if (away < nearest) {
        nearest = away;
        first = level;
      }
      if (away == nearest) last = level;
    }
    out[static_cast<std::size_t>(wanted)] = static_cast<std::uint8_t>((first + last + 1) / 2);
  }
  return out;
}

struct Inverse {
  Levels red, green, blue;
};

Inverse inverseOf(const Curves& curves, bool isGrey, bool* isExact) {
  Levels red{}, green{}, blue{};
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const KXRGBQUAD c = curves[i];
    const std::uint8_t grey = greyOf(c.red, c.green, c.blue);
    red[i] = isGrey ? grey : c.red;
    green[i] = isGrey ? grey : c.green;
    blue[i] = isGrey ? grey : c.blue;
  }
  return {inverse(red, isExact), inverse(green, isExact), inverse(blue, isExact)};
}

std::shared_ptr<const Picture> mapped(const Picture& picture, const Inverse& by) {
  auto out = std::make_shared<Picture>(picture);
  for (std::int32_t y = 0; y < out->height; ++y) {
    std::uint8_t* row = out->bytes.data() + out->stride * static_cast<std::size_t>(y);
    for (std::int32_t x = 0; x < out->width; ++x, row += sizeof(std::uint32_t)) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, row, sizeof pixel);
      pixel = 0xff000000U | std::uint32_t{by.red[pixel >> 16 & 0xff]} << 16 |
              std::uint32_t{by.green[pixel >> 8 & 0xff]} << 8 | by.blue[pixel & 0xff];
      std::memcpy(row, &pixel, sizeof pixel);
    }
  }
  return out;
}

/// Whether the request did something that cannot be taken out.
bool hasMore(IParam* request, std::int32_t mode) {
  return mode == kModePalette || (mode == kModeRgb && paramInt(request, key::Saturation) != 0) ||
         paramInt(request, key::numbered(key::SoftenSharpen, mode)) != 0 ||
         paramInt(request, key::numbered(key::Blur, mode)) != 0;
}

}  // namespace

Unadjusted unadjusted(std::shared_ptr<const Picture> picture, IParam* request) {
  if (!picture || picture->width < 1 || picture->height < 1) return {};
  const std::int32_t mode = paramInt(request, key::Mode, kModeRgb);
  if (isBitonalMode(mode)) return {};
  Unadjusted out{std::move(picture), !hasMore(request, mode)};
  if (Curves curves{}; curvesOfRequest(request, &curves))
    out.picture = mapped(*out.picture, inverseOf(curves, mode == kModeGrey, &out.isExact));
  return out;
}

}  // namespace quillbay
