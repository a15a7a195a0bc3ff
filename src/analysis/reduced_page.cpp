#include "analysis/reduced_page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

constexpr std::int32_t kStripeLines = 64;

const std::array<KXRGBQUAD, 256>& plainGreys() noexcept {
  static const auto greys = [] {
    std::array<KXRGBQUAD, 256> all{};
    for (std::size_t i = 0; i < all.size(); ++i) {
      const auto tone = static_cast<std::uint8_t>(i);
      all[i] = {tone, tone, tone, 0};
    }
    return all;
  }();
  return greys;
}

/// Lines of a picture in brightness.
class GreyStripe final : public CKxUnknownImpl<IScanBuffer> {
 public:
  GreyStripe(KxSize size, std::uint32_t dpi)
      : m_size(size),
        m_dpi(dpi),
        m_bytes(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height)) {}
  std::uint8_t* line(std::int32_t i) noexcept {
    return m_bytes.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(m_size.width);
  }

  KxSize* GetSize(KxSize* out) override {
    *out = m_size;
    return out;
  }
  const std::uint8_t* GetLine(std::int32_t i) override { return line(i); }
  KxColorSpace GetColorSpace() override { return KxColorSpace::Grey; }
  int GetColorCount() override { return paletteSize(KxColorSpace::Grey); }
  const KXRGBQUAD* GetPalette() override { return plainGreys().data(); }
  std::uint32_t GetResolution() override { return m_dpi; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }

 private:
  const KxSize m_size;
  const std::uint32_t m_dpi;
  std::vector<std::uint8_t> m_bytes;
};

/// A stripe of the picture as the page draws it.
class StripeDC final : public CKxUnknownImplStatic<IRasterDC> {
 public:
  explicit StripeDC(std::int32_t width)
      : m_size{width, kStripeLines}, m_pixels(static_cast<std::size_t>(width) * kStripeLines) {}
  void begin(std::int32_t lines) {
    m_size.height = lines;
    std::fill(m_pixels.begin(), m_pixels.end(), 0xFFFFFFFF);
  }
  KxSize GetDeviceSize() override { return m_size; }
  KxRect GetClip() override { return {0, 0, m_size.width, m_size.height}; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return m_pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width);
  }

 private:
  KxSize m_size;
  std::vector<std::uint32_t> m_pixels;
};

double scaleFor(IRStor& page, double mostDpi, double mostPixels) {
  const double area = static_cast<double>(page.GetWidth()) * page.GetHeight();
  const std::uint32_t dpi = page.GetResolution();
  return std::min({1.0, dpi > 0 ? mostDpi / dpi : 1.0, std::sqrt(mostPixels / area)});
}

}  // namespace

ReducedPage reducePage(IRStor& page, double mostDpi, double mostPixels, IProgress* progress, int end) {
  if (page.GetWidth() <= 0 || page.GetHeight() <= 0) return {};
  const auto drawing = KxPtr<IRStorDraw>::adopt(page.GetDrawing());
  if (!drawing) throw CXIFaceException(Supp_Translate("The picture cannot be read: it cannot draw itself."));
  ReducedPage reduced;
  reduced.scale = scaleFor(page, mostDpi, mostPixels);
  const auto pixels = [&](std::int32_t length) {
    return std::max(1, static_cast<std::int32_t>(std::floor(length * reduced.scale)));
  };
  const KxSize size{pixels(page.GetWidth()), pixels(page.GetHeight())};
  const auto dpi = static_cast<std::uint32_t>(std::max(1L, std::lround(page.GetResolution() * reduced.scale)));
  StripeDC target(size.width);
  for (std::int32_t top = 0; top < size.height; top += kStripeLines) {
    const std::int32_t lines = std::min(kStripeLines, size.height - top);
    target.begin(lines);
    const CRDirectTfm tfm{reduced.scale, reduced.scale, 0, static_cast<double>(-top)};
    if ((progress && progress->IsCancelled()) || !drawing->Draw(&target, tfm, nullptr)) return {};
    const auto stripe = KxPtr<GreyStripe>::adopt(new GreyStripe({size.width, lines}, dpi));
    for (std::int32_t y = 0; y < lines; ++y) {
      const std::uint32_t* row = target.GetRow(y);
      std::transform(row, row + size.width, stripe->line(y), [](std::uint32_t rgb) { return greyOf(rgb); });
    }
    reduced.stripes.push_back(stripe.as<IScanBuffer>());
    if (progress) progress->SetPosition(static_cast<int>(std::int64_t{top + lines} * end / size.height));
  }
  return reduced;
}

}  // namespace quillbay
