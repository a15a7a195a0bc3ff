#include "control/prescan_feed.h"

#include <utility>

#include "preview/store_picture.h"
#include "stores/preview_stor.h"

namespace quillbay {

namespace {
/// Of the picture that stands for the mode until its next scan.
constexpr std::int32_t kPictureWidth = 640;
}  // namespace

void PrescanFeed::begin() {
  const ScanValues& v = m_parts.values();
  const tagRRECT place = m_parts.steps.preview ? m_parts.steps.preview->GetRasterPlace() : tagRRECT{};
  m_kept =
      Kept{m_parts.params.previewStore, v.rcScan, v.rcPreview, place, v.rectValid, v.boundDetectDirty, v.found};
}

/// The unit may keep the request itself.
void PrescanFeed::prepared(IParam* request) {
  m_settings = new_MemParam();
  Param_CopyTo(request, m_settings.get());
}

void PrescanFeed::lengthen(double by) const {
  const ScanValues& v = m_parts.values();
  if (v.scanType != kAreaAutoWidth && v.scanType != kAreaFixedWidth) return;
  tagRRECT area = v.rcScan;
  area.bottom += by;
  m_parts.params.set(scan_key::RcScan, area);
}

/// The frame's bottom stays at the scanned length.
void PrescanFeed::follow(double length) const {
  const ScanValues& v = m_parts.values();
  tagRRECT frame = v.rcPreview;
  const double end = v.rcScan.top + length;
  if (v.centring == kNeverCentres || end - 0.001 <= frame.bottom) return;
  const double down = end - frame.bottom;
  frame.top += down;
  frame.bottom += down;
  m_parts.params.set(scan_key::RcPreview, frame);
}

void PrescanFeed::place(const tagRRECT& area) const {
  if (m_parts.steps.preview) m_parts.steps.preview->PlaceRaster(area);
}

void PrescanFeed::take(IScanBuffer& stripe, int dpi) {
  KxSize size;
  stripe.GetSize(&size);
  lengthen(size.height * kMmPerInch / dpi);
  m_parts.params.setIfChanged(scan_key::RectValid, 1);
  if (m_parts.steps.preview) {
    m_parts.steps.preview->AddStripe(&stripe);
  } else {
    m_parts.params.previewStore->AddStripe(&stripe);
  }
  follow(static_cast<double>(m_parts.run.addPrescanRows(size.height)) * kMmPerInch / dpi);
}

void PrescanFeed::complete() {
  m_parts.previewSettings = m_settings;
  m_parts.params.previewStore->Finish(nullptr, 0, 0);
  place(m_parts.values().rcScan);
  if (m_parts.steps.preview) {
    if (auto picture = pictureOf(*m_parts.params.previewStore, kPictureWidth)) {
      const auto colorClass = static_cast<std::size_t>(pictureClassOf(m_parts.values().currMode));
      m_parts.params.pictures[colorClass] = std::move(picture);
    }
  }
  m_kept.reset();
}

void PrescanFeed::end() {
  const auto kept = std::exchange(m_kept, std::nullopt);
  if (!kept) return;
  m_parts.params.previewStore = kept->store;
  // Before the area, whose handlers look at it. A page that is scanned next is looked for anew.
  m_parts.quiet().found = kept->found;
  m_parts.params.setIfChanged(scan_key::BoundDetectDirty, kept->dirty);
  m_parts.params.setIfChanged(scan_key::RectValid, kept->rectValid);
  m_parts.params.setIfChanged(scan_key::RcScan, kept->scanArea);
  m_parts.params.setIfChanged(scan_key::RcPreview, kept->frame);
  place(kept->place);
}

}  // namespace quillbay
