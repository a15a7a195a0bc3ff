#include "host/document_crop.h"

#include "quillbay/document_finder.h"
#include "rasters/ops/page_tones.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

bool wasCancelled(IProgress* progress) { return progress && progress->IsCancelled(); }

/// The corners that turning left have stronger edges than the sheet: only `findContent` sees past them.
std::optional<KxRect> boxOn(IRStor* page, bool hasWhiteCorners, IProgress* progress) {
  if (hasWhiteCorners) return findContent(page, progress);
  FoundDocument found;
  return FindDocument(page, progress, &found) ? std::optional(found.box) : std::nullopt;
}

}  // namespace

DocumentOnPage findDocumentOn(IRStor* page, IProgress* progress, KxRect* box) {
  const auto tones = PageTones::of(page, progress);
  if (wasCancelled(progress)) return DocumentOnPage::Cancelled;
  if (!tones) return DocumentOnPage::Nothing;
  const auto found = boxOn(page, tones->hasWhiteCorners(), progress);
  if (wasCancelled(progress)) return DocumentOnPage::Cancelled;
  if (!found) return DocumentOnPage::Nothing;
  const KxSize size = page->GetSize();
  if (*found == KxRect{0, 0, size.width, size.height}) return DocumentOnPage::FillsPage;
  if (!tones->showsBedAround(*found)) return DocumentOnPage::NoBed;
  *box = *found;
  return DocumentOnPage::Found;
}

}  // namespace quillbay
