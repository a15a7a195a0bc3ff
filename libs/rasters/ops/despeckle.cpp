/// Removing specks: components of run lists as they are; for pixels, components of what is darker than the ground.
#include <cmath>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "rasters/ops/line_bands.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/speck_finder.h"
#include "rasters/ops/speck_tones.h"

namespace quillbay {
namespace {

constexpr double kMostMillimetres = 10;
constexpr std::int32_t kMostPixels = 1024;

bool despeckleRuns(IRStor& source, RasterBase& target, std::int32_t size, IProgress* progress) {
  RunReader reader(source);
  RunBand band(target);
  SpeckFinder finder(size, 0);
  const std::int32_t height = source.GetHeight();
  OpProgress step(progress, height);
  for (std::int32_t line = 0; line < height + finder.delay(); ++line) {
    if (line < height) {
      const RunView list = reader.read(line);
      for (std::size_t i = 0; i < list.count; ++i) finder.addRun(list.runs[2 * i], list.runs[2 * i + 1]);
    }
    finder.endLine();
    const std::int32_t decided = finder.lines() - finder.delay();
    if (decided < 0 || decided >= height) continue;
    for (const SpeckFinder::Run& run : finder.runs(decided)) {
      if (!finder.isSpeck(run)) band.addRun(run.first, run.last);
    }
    band.endLine();
    if (decided % 64 == 63 && !step.reached(decided + 1)) return false;
  }
  band.flush();
  return step.reached(height);
}

bool despecklePixels(IRStor& source, RasterBase& target, std::int32_t size, IProgress* progress) {
  SpeckTones tones(source, size);
  PixelBand band(target,
                 bandLines(std::size_t{1} << 20, fixedLineBytes(source.GetColorSpace(), target.GetWidth())));
  const bool four = source.GetColorSpace() == KxColorSpace::Four;
  const std::size_t bytes = static_cast<std::size_t>(storedWidth(source)) * pixelBytes(source.GetColorSpace());
  const std::int32_t height = source.GetHeight();
  OpProgress step(progress, height);
  for (std::int32_t line = 0; line < height; ++line) {
    const std::uint8_t* pixels = tones.line(line);
    std::uint8_t* out = band.next();
    if (four) {
      packFour(pixels, storedWidth(source), out);
    } else {
      std::copy_n(pixels, bytes, out);
    }
    if (line % 64 == 63 && !step.reached(line + 1)) return false;
  }
  band.flush();
  return step.reached(height);
}

}  // namespace

KxPtr<IRStor> despeckleRaster(IRStor* source, double millimetres, IProgress* progress) {
  requireLines(source);
  if (!(millimetres > 0 && millimetres <= kMostMillimetres)) {
    throw CXIFaceException(
        formatText(Supp_Translate("Specks of %s mm cannot be removed: give a size above 0, up to %s mm."),
                   {toText(millimetres), toText(kMostMillimetres)}));
  }
  const auto size = std::max(1, roundHalfUp(mmToPixels(millimetres, resolutionOf(*source))));
  if (size > kMostPixels) {
    throw CXIFaceException(formatText(
        Supp_Translate(
            "Specks of %s mm are %d pixels on this page; the largest size is %d pixels. Give a smaller size."),
        {toText(millimetres), toText(std::int64_t{size}), toText(std::int64_t{kMostPixels})}));
  }
  const auto target = newLike(*source, source->GetWidth(), 0);
  const bool whole = isRunList(source->GetColorSpace()) ? despeckleRuns(*source, *target, size, progress)
                                                        : despecklePixels(*source, *target, size, progress);
  return whole ? target.as<IRStor>() : KxPtr<IRStor>{};
}

}  // namespace quillbay
