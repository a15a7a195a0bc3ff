/// The operations that go through a raster line by line.
#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "rasters/ops/bit_lines.h"
#include "rasters/ops/line_ops.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

/// Adds what a line has no runs for.
void addGaps(const RunView& list, std::int32_t width, RunBand& band) {
  std::uint32_t next = 0;
  for (std::size_t i = 0; i < list.count; ++i) {
    if (list.runs[2 * i] > next) band.addRun(next, list.runs[2 * i] - 1);
    next = list.runs[2 * i + 1] + 1;
  }
  if (const auto end = static_cast<std::uint32_t>(width); next < end) band.addRun(next, end - 1);
}

void invertPalette(IRStor& source, RasterBase& target) {
  auto palette = paletteOf(source);
  for (KXRGBQUAD& c : palette) {
    c.red = static_cast<std::uint8_t>(255 - c.red);
    c.green = static_cast<std::uint8_t>(255 - c.green);
    c.blue = static_cast<std::uint8_t>(255 - c.blue);
  }
  const bool four = source.GetColorSpace() == KxColorSpace::Four;
  target.setPalette(palette.data(), four ? 16 : 256);
}

void invertPixels(std::uint8_t* bytes, std::size_t count, bool opacity) noexcept {
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(~bytes[i]);
  if (!opacity) return;
  for (std::size_t i = 3; i < count; i += 4) bytes[i] = static_cast<std::uint8_t>(~bytes[i]);
}

}  // namespace

KxPtr<IRStor> cropRaster(IRStor* source, const KxRect& pixels, IProgress* progress) {
  requireLines(source);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  const KxRect part{std::max(0, pixels.left), std::max(0, pixels.top), std::min(size.width, pixels.right),
                    std::min(size.height, pixels.bottom)};
  if (part.left >= part.right || part.top >= part.bottom) {
    throw CXIFaceException(formatText(Supp_Translate("The area to keep lies outside the page of %d x %d pixels."),
                                      {toText(std::int64_t{size.width}), toText(std::int64_t{size.height})}));
  }
  const auto target = newLike(*source, part.right - part.left, 0);
  const LineCopy copy{part};
  bool whole = false;
  if (isRunList(source->GetColorSpace())) {
    whole = copyRunLines(*source, *target, copy, progress, [&](const RunView& list, RunBand& band) {
      eachRunWithin(list, static_cast<std::uint32_t>(part.left), static_cast<std::uint32_t>(part.right),
                    [&band](std::uint32_t first, std::uint32_t last) { band.addRun(first, last); });
    });
  } else {
    whole = copyPixelLines(*source, *target, copy, progress, [](std::uint8_t*, std::int32_t) {});
  }
  return whole ? target.as<IRStor>() : KxPtr<IRStor>{};
}

KxPtr<IRStor> invertRaster(IRStor* source, IProgress* progress) {
  requireLines(source);
  const KxColorSpace colorSpace = source->GetColorSpace();
  const auto target = newLike(*source, source->GetWidth(), 0);
  const LineCopy copy{{0, 0, storedWidth(*source), source->GetHeight()}};
  bool whole = false;
  if (isRunList(colorSpace)) {
    whole = copyRunLines(*source, *target, copy, progress,
                         [&](const RunView& list, RunBand& band) { addGaps(list, copy.part.right, band); });
  } else if (colorSpace == KxColorSpace::Four || colorSpace == KxColorSpace::Palette) {
    invertPalette(*source, *target);
    whole = copyPixelLines(*source, *target, copy, progress, [](std::uint8_t*, std::int32_t) {});
  } else {
    const std::size_t bytes = pixelBytes(colorSpace);
    whole = copyPixelLines(*source, *target, copy, progress, [bytes](std::uint8_t* pixels, std::int32_t count) {
      invertPixels(pixels, static_cast<std::size_t>(count) * bytes, bytes == 4);
    });
  }
  return whole ? target.as<IRStor>() : KxPtr<IRStor>{};
}

}  // namespace quillbay
