#include <algorithm>

#include "analysis/auto_detector.h"
#include "analysis/reduced_page.h"
#include "quillbay/document_finder.h"
#include "quillbay/scan_mode.h"

namespace quillbay {
namespace {

constexpr double kFinderDpi = 100, kFinderPixels = 40e6;
constexpr int kFinderSteps = 1000, kDrawnSteps = 800;  // positions of the progress

/// The panel's threshold; an angle always, and never the widening to a page of a roll.
BoundSettings finderSettings() {
  BoundSettings settings = panelBoundServices().settings();
  settings.deskew = true;
  settings.scanType = kAreaFixedWidth;
  return settings;
}

KxRect toPage(const tagRRECT& mm, double dpi, double scale, KxSize page) {
  const auto at = [&](double length, std::int32_t end) {
    return std::clamp(roundHalfUp(mmToPixels(length, dpi) / scale), 0, end);
  };
  return {at(mm.left, page.width), at(mm.top, page.height), at(mm.right, page.width), at(mm.bottom, page.height)};
}

}  // namespace

int FindDocument(IRStor* page, IProgress* progress, FoundDocument* found) {
  const ReducedPage reduced = reducePage(*page, kFinderDpi, kFinderPixels, progress, kDrawnSteps);
  if (reduced.stripes.empty()) return 0;
  BoundServices services = panelBoundServices();
  services.settings = finderSettings;
  CAutoDetector detector(KxPtr<IBoundDetect>::adopt(new CIBoundDetect(services)));
  const std::uint32_t dpi = reduced.stripes.front()->GetResolution();
  detector.begin(dpi, nullptr);
  IScanSink* sink = detector.sink();
  KxSize size;
  reduced.stripes.front()->GetSize(&size);
  sink->ScanStarted(KxColorSpace::Grey, size.width, -1, dpi);
  std::int64_t line = 0;
  for (const auto& stripe : reduced.stripes) {
    sink->StripeArrived(line, stripe.get(), 0);
    line += stripe->GetSize(&size)->height;
  }
  sink->ScanEnded(1);
  const auto bounds = detector.detect(&services, true);
  if (progress) progress->SetPosition(kFinderSteps);
  if (!bounds || (progress && progress->IsCancelled())) return 0;
  const KxRect box = toPage(bounds->box, dpi, reduced.scale, page->GetSize());
  if (box.left >= box.right || box.top >= box.bottom) return 0;
  *found = {box, bounds->angle};
  return 1;
}

}  // namespace quillbay
