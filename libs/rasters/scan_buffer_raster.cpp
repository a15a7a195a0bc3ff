#include <algorithm>
#include <limits>

#include "platform/base_services.h"
#include "quillbay/raster.h"
#include "rasters/raster_base.h"

namespace quillbay {
namespace {

constexpr std::uint32_t kWhite = 0xFFFFFF;

/// Whether lines of `stripe` mean the same in `raster`.
bool sameLines(IScanBuffer& stripe, IRStor& raster) {
  const KxColorSpace a = stripe.GetColorSpace();
  const KxColorSpace b = raster.GetColorSpace();
  return a == b || (isRunList(a) && isRunList(b));
}

void givePalette(IScanBuffer& stripe, IRStor& raster) {
  if (stripe.GetColorSpace() != KxColorSpace::Palette) return;
  const auto context = query<IPalContext>(&raster);
  if (context && stripe.GetPalette()) context->SetPalette(stripe.GetPalette(), stripe.GetColorCount());
}

int writeLines(IScanBuffer& stripe, const KxSize& size, std::int32_t first, IRStor& raster) {
  const auto context = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(1, 0));
  if (!context) return 0;
  const std::int32_t width = std::min(size.width, raster.GetWidth());
  for (std::int32_t i = 0; i < size.height; ++i) {
    if (!context->WriteLine(first + i, 0, width, stripe.GetLine(i))) return 0;
  }
  return 1;
}

/// Grows the raster by the stripe's lines and writes them.
int addLines(IScanBuffer& stripe, const KxSize& size, std::int32_t first, IRStor& raster) {
  const std::int32_t height = raster.GetHeight();
  if (first < 0 || first > height || size.height > std::numeric_limits<std::int32_t>::max() - height) return 0;
  const auto own = query<RasterBase>(&raster);
  if (own && first == height && size.width == raster.GetWidth()) {
    own->appendStripe(stripe, size.height);
    return 1;
  }
  const auto growing = query<IRStorAddStripe>(&raster);
  if (!growing || !growing->AddLines(0, height, size.height)) return 0;
  return writeLines(stripe, size, first, raster);
}

}  // namespace

int ScanBuffer_CreateRaster(IScanBuffer* buffer, IRStor** out) {
  if (!buffer || !out) return 0;
  KxSize size;
  buffer->GetSize(&size);
  const KxColorSpace colorSpace =
      isRunList(buffer->GetColorSpace()) ? KxColorSpace::Bitonal : buffer->GetColorSpace();
  KxPtr<IRStor> raster = new_IRStor(colorSpace, size.width, 0, buffer->GetResolution());
  givePalette(*buffer, *raster);
  if (const auto colors = raster.as<IRStorColors>()) {
    colors->SetBackground(kWhite);
    colors->SetBlankColor(kWhite);
  }
  if (size.height > 0 && !addLines(*buffer, size, 0, *raster)) return 0;
  *out = raster.detach();
  return 1;
}

int ScanBuffer_AddToRaster(IScanBuffer* buffer, std::int32_t first, IRStor* raster) {
  if (!buffer || !raster || !query<IRStorAddStripe>(raster)) return 0;
  if (!sameLines(*buffer, *raster)) {
    logLine(LogLevel::Warning, "quillbay.raster", "a stripe of another colour space was not added to a raster");
    return 0;
  }
  KxSize size;
  buffer->GetSize(&size);
  givePalette(*buffer, *raster);
  if (const auto colors = query<IRStorColors>(raster)) colors->SetBackground(kWhite);
  return size.height <= 0 ? 1 : addLines(*buffer, size, first, *raster);
}

}  // namespace quillbay
