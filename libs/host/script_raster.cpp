#include "host/script_raster.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/base_services.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

constexpr double kUsualSpeckMm = 0.3;
constexpr double kDegree = std::numbers::pi / 180;

using Note = std::function<void(const std::string&)>;

bool isCancelled(IProgress* progress) { return progress && progress->IsCancelled(); }

KxRect toPixels(const tagRRECT& mm, double dpi) {
  // Held to the range: an area may reach far beyond the raster.
  const auto pixel = [dpi](double at) { return roundHalfUp(std::min(mmToPixels(at, dpi), 2e9)); };
  return {pixel(mm.left), pixel(mm.top), pixel(mm.right), pixel(mm.bottom)};
}

std::string degrees(double radians) { return toText(std::round(radians / kDegree * 100) / 100); }

KxPtr<IRStor> rotate(IRStor* raster, double angle, IProgress* progress) {
  const double quarters = angle / 90;
  if (quarters != std::floor(quarters)) return rotateRaster(raster, angle * kDegree, progress);
  const int turns = static_cast<int>(std::fmod(quarters, 4));
  return turns == 0 ? KxPtr<IRStor>::share(raster) : rotateQuarters(raster, turns, progress);
}

KxPtr<IRStor> straighten(IRStor* raster, IProgress* progress, const Note& note) {
  const auto skew = findSkew(raster, progress);
  if (isCancelled(progress)) return {};
  const KxSize size = raster->GetSize();
  // Turning costs sharpness: not for less than a pixel along the longer side.
  if (!skew || std::abs(*skew) * std::max(size.width, size.height) < 1) {
    note(Supp_Translate(skew ? "it is straight" : "no skew was found"));
    return KxPtr<IRStor>::share(raster);
  }
  note(formatText(Supp_Translate("turned by %s degrees"), {degrees(*skew)}));
  return rotateRaster(raster, *skew, progress);
}

KxPtr<IRStor> cropToContent(IRStor* raster, IProgress* progress, const Note& note) {
  const auto content = findContent(raster, progress);
  if (isCancelled(progress)) return {};
  const KxSize size = raster->GetSize();
  if (!content || *content == KxRect{0, 0, size.width, size.height}) {
    note(Supp_Translate(content ? "the content fills it" : "no content was found"));
    return KxPtr<IRStor>::share(raster);
  }
  return cropRaster(raster, *content, progress);
}

KxPtr<IRStor> autocorrect(IRStor* raster, IProgress* progress, const Note& note) {
  auto result = straighten(raster, progress, note);
  if (result) result = cropToContent(result.get(), progress, note);
  if (result && isRunList(result->GetColorSpace())) result = despeckleRaster(result.get(), kUsualSpeckMm, progress);
  return result;
}

}  // namespace

KxPtr<IRStor> runRasterStep(const ScriptStep& step, IRStor* raster, IProgress* progress, const Note& note) {
  switch (step.action) {
    case ScriptAction::Deskew:
      return step.by ? rotate(raster, *step.by, progress) : straighten(raster, progress, note);
    case ScriptAction::Crop:
      if (step.area) return cropRaster(raster, toPixels(*step.area, resolutionOf(*raster)), progress);
      return cropToContent(raster, progress, note);
    case ScriptAction::Despeckle: return despeckleRaster(raster, step.by.value_or(kUsualSpeckMm), progress);
    case ScriptAction::Invert: return invertRaster(raster, progress);
    case ScriptAction::Rotate: return rotate(raster, step.by.value_or(0), progress);
    case ScriptAction::Autocorrect: return autocorrect(raster, progress, note);
    case ScriptAction::Open:
    case ScriptAction::SaveAs:
    case ScriptAction::Close: break;
  }
  throw CXIFaceException(step.name + " works on no raster");
}

}  // namespace quillbay
