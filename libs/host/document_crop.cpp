#include "host/document_crop.h"

#include "quillbay/document_finder.h"
#include "rasters/ops/page_tones.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

bool wasCancelled(IProgress* progress) { return progress && progress->IsCancelled(); }

/// A rectangle of `findContent` without the margin of 1 mm that it has around the content, as far as the page goes.
KxRect withoutMargin(const KxRect& r, IRStor& page) {
  const auto margin = static_cast<std::int32_t>(mmToPixels(1, resolutionOf(page)));
  const KxSize size = page.GetSize();
  const KxRect inner{r.left > 0 ? r.left + margin : 0, r.top > 0 ? r.top + margin : 0,
                     r.right < size.width ? r.right - margin : size.width,
                     r.bottom < size.height ? r.bottom - margin : size.height};
  return inner.left < inner.right && inner.top < inner.bottom ? inner : r;
}

/// The corners that turning left have stronger edges than the sheet: only `findContent` sees past them.
std::optional<KxRect> boxOn(IRStor* page, bool hasWhiteCorners, IProgress* progress) {
  if (hasWhiteCorners) {
    const auto content = findContent(page, progress);
    return content ? std::optional(withoutMargin(*content, *page)) : content;
  }
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
