#include "platform/pal_calculator.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "palettes/cluster_search.h"
#include "palettes/color_histogram.h"
#include "palettes/color_points.h"
#include "palettes/fill_palette.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

/// Points that a palette is computed from: more of them raise its quality by hundredths of a decibel.
constexpr std::size_t kMostPoints = 65536;
constexpr int kMostEntries = 256;

std::optional<ColorHistogram::PixelLayout> layoutOf(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Grey: return ColorHistogram::PixelLayout{0, 0, 0, 1};
    case KxColorSpace::Rgb: return ColorHistogram::PixelLayout{0, 1, 2, 3};
    case KxColorSpace::Bgr: return ColorHistogram::PixelLayout{2, 1, 0, 3};
    case KxColorSpace::Rgba: return ColorHistogram::PixelLayout{0, 1, 2, 4};
    case KxColorSpace::Bgra: return ColorHistogram::PixelLayout{2, 1, 0, 4};
    default: return std::nullopt;
  }
}

KXRGBQUAD rounded(const ColorPoint& point) noexcept {
  const auto level = [](float v) { return static_cast<std::uint8_t>(std::lround(v)); };
  return {level(point.red), level(point.green), level(point.blue), 0};
}

/// From dark to light, no two alike, `count` in all: black is never among the last entries, which look like unused
/// ones when they are black.
void complete(std::size_t count, std::vector<KXRGBQUAD>& palette) {
  const auto rank = [](const KXRGBQUAD& c) {
    return std::uint32_t{greyOf(c.red, c.green, c.blue)} << 24 | colorPlace(c.red, c.green, c.blue);
  };
  const auto isDarker = [&](const KXRGBQUAD& a, const KXRGBQUAD& b) { return rank(a) < rank(b); };
  std::sort(palette.begin(), palette.end(), isDarker);
  palette.erase(std::unique(palette.begin(), palette.end()), palette.end());
  fillPalette(count, palette);
  std::sort(palette.begin(), palette.end(), isDarker);
}

class PalCalculator final : public CKxUnknownImpl<IPalCalculator> {
 public:
  int Clear() override {
    m_histogram.clear();
    return 1;
  }

  int AddRaster(IRStor* storage, const KxRect* area) override {
    const auto layout = storage ? layoutOf(storage->GetColorSpace()) : std::nullopt;
    if (!layout) return 0;
    const auto lines = KxPtr<IAccessContext>::adopt(storage->GetAccessContext(0, 0));
    if (!lines) return 0;
    const KxSize size = storage->GetSize();
    const KxRect all{0, 0, size.width, size.height};
    const KxRect part = area ? *area : all;
    const std::int32_t left = std::max(part.left, 0), right = std::min(part.right, size.width);
    const std::int32_t top = std::max(part.top, 0), bottom = std::min(part.bottom, size.height);
    if (left >= right) return 1;
    const auto count = static_cast<std::size_t>(right - left);
    m_line.resize(count * layout->step);
    for (std::int32_t y = top; y < bottom; ++y) {
      if (!lines->ReadLine(y, left, right - left, m_line.data())) return 0;
      m_histogram.add(m_line.data(), count, *layout);
    }
    return 1;
  }

  int Calculate(int count, KXRGBQUAD* palette, void*, int) override {
    if (count < 1 || count > kMostEntries || !palette) return 0;
    const auto wanted = static_cast<std::size_t>(count);
    std::vector<KXRGBQUAD> colors = m_histogram.colors(wanted + 1);
    if (colors.size() > wanted) {
      colors.clear();
      for (const ColorPoint& centre : findClusters(pointsOf(m_histogram, kMostPoints), wanted))
        colors.push_back(rounded(centre));
    }
    complete(wanted, colors);
    std::copy(colors.begin(), colors.end(), palette);
    return 1;
  }

 private:
  ColorHistogram m_histogram;
  std::vector<std::uint8_t> m_line;
};

}  // namespace

KxPtr<IPalCalculator> new_PalCalculator() { return KxPtr<IPalCalculator>::adopt(new PalCalculator); }

}  // namespace quillbay
