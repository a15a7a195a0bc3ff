#include "host/script_raster.h"

#include <QLocale>
#include <cmath>
#include <numbers>

#include "host/document_crop.h"
#include "platform/base_services.h"
#include "quillbay/document_finder.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

constexpr double kUsualSpeckMm = 0.3;
constexpr double kDegree = std::numbers::pi / 180;

/// Degrees. Turning costs sharpness: less is not worth it, and no more than what measuring may be off.
constexpr double kLeastTurn = 0.05;

using Note = std::function<void(const StepNote&)>;

bool isCancelled(IProgress* progress) { return progress && progress->IsCancelled(); }

KxRect toPixels(const tagRRECT& mm, double dpi) {
  // Held to the range: an area may reach far beyond the raster.
  const auto pixel = [dpi](double at) { return roundHalfUp(std::min(mmToPixels(at, dpi), 2e9)); };
  return {pixel(mm.left), pixel(mm.top), pixel(mm.right), pixel(mm.bottom)};
}

/// "1.53", as the user writes numbers.
std::string degrees(double radians) {
  return QLocale().toString(std::abs(radians) / kDegree, 'f', 2).toStdString();
}

KxPtr<IRStor> rotate(IRStor* raster, double angle, IProgress* progress) {
  const double quarters = angle / 90;
  if (quarters != std::floor(quarters)) return rotateRaster(raster, angle * kDegree, progress);
  const int turns = static_cast<int>(std::fmod(quarters, 4));
  return turns == 0 ? KxPtr<IRStor>::share(raster) : rotateQuarters(raster, turns, progress);
}

/// Of the content, where it has lines, else of the sheet's edges.
std::optional<double> skewOf(IRStor* raster, IProgress* progress) {
  const auto skew = findSkew(raster, progress);
  if (skew || isCancelled(progress)) return skew;
  FoundDocument found;
  if (!FindDocument(raster, progress, &found) || found.angle == 0) return std::nullopt;
  return found.angle;
}

KxPtr<IRStor> straighten(IRStor* raster, IProgress* progress, const Note& note) {
  const auto skew = skewOf(raster, progress);
  if (isCancelled(progress)) return {};
  if (!skew) {
    note({Supp_Translate("No skew was found: the page has no clear lines and no edges of a sheet."), true});
    return KxPtr<IRStor>::share(raster);
  }
  if (std::abs(*skew) < kLeastTurn * kDegree) {
    note({formatText(Supp_Translate("The page is straight: its skew is %s degrees."), {degrees(*skew)})});
    return KxPtr<IRStor>::share(raster);
  }
  note({formatText(Supp_Translate(*skew > 0 ? "The page was turned clockwise by %s degrees."
                                            : "The page was turned anticlockwise by %s degrees."),
                   {degrees(*skew)})});
  return rotateRaster(raster, *skew, progress);
}

KxPtr<IRStor> cropToContent(IRStor* raster, IProgress* progress, const Note& note) {
  const auto content = findContent(raster, progress);
  if (isCancelled(progress)) return {};
  const KxSize size = raster->GetSize();
  if (!content || *content == KxRect{0, 0, size.width, size.height}) {
    if (content) {
      note({Supp_Translate("The content fills the page.")});
    } else {
      note({Supp_Translate("No content was found on the page."), true});
    }
    return KxPtr<IRStor>::share(raster);
  }
  return cropRaster(raster, *content, progress);
}

/// What a user reads when a page stays as it is.
StepNote uncropped(DocumentOnPage found) {
  if (found == DocumentOnPage::FillsPage) return {Supp_Translate("The document fills the page.")};
  if (found == DocumentOnPage::NoBed) {
    return {
        Supp_Translate("No scanner bed is visible around a document: the page is not cropped. \"Crop to content\" "
                       "cuts off the margins of the paper, too."),
        true};
  }
  return {Supp_Translate("No document was found: the page shows no edges of a sheet."), true};
}

KxPtr<IRStor> cropToDocument(IRStor* raster, IProgress* progress, const Note& note) {
  KxRect box;
  const DocumentOnPage found = findDocumentOn(raster, progress, &box);
  if (found == DocumentOnPage::Cancelled) return {};
  if (found == DocumentOnPage::Found) return cropRaster(raster, box, progress);
  note(uncropped(found));
  return KxPtr<IRStor>::share(raster);
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
    case ScriptAction::CropToDocument: return cropToDocument(raster, progress, note);
    case ScriptAction::Despeckle: return despeckleRaster(raster, step.by.value_or(kUsualSpeckMm), progress);
    case ScriptAction::Invert: return invertRaster(raster, progress);
    case ScriptAction::Rotate: return rotate(raster, step.by.value_or(0), progress);
    case ScriptAction::Autocorrect: return autocorrect(raster, progress, note);
    case ScriptAction::Open:
    case ScriptAction::SaveAs:
    case ScriptAction::Close:
    case ScriptAction::Run: break;
  }
  throw CXIFaceException(step.name + " works on no raster");
}

}  // namespace quillbay
