#include "control/search_picture.h"

#include <algorithm>
#include <utility>

#include "control/screen_width.h"
#include "platform/preview_page.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

/// Shares the stripes, on the scanner's thread.
class SearchPicture::Sink final : public CKxUnknownImpl<IScanSink> {
 public:
  Sink(KxPtr<CPreviewStor> picture, IScanSink* target) : m_picture(std::move(picture)), m_target(target) {}

  int ScanEnded(int status) override { return m_target->ScanEnded(status); }
  int QueryContinue() override { return m_target->QueryContinue(); }
  int ScanStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) override {
    return m_target->ScanStarted(colorSpace, width, lines, dpi);
  }
  int StripeArrived(std::int64_t first, IScanBuffer* stripe, std::int64_t extra) override {
    KxSize size;
    stripe->GetSize(&size);
    m_picture->AddStripe(stripe);
    const std::uint32_t dpi = stripe->GetResolution();
    // Only this thread writes it.
    if (dpi > 0) m_length = m_length + size.height * kMmPerInch / dpi;
    return m_target->StripeArrived(first, stripe, extra);
  }

  [[nodiscard]] CPreviewStor* picture() const noexcept { return m_picture.get(); }
  [[nodiscard]] double length() const noexcept { return m_length; }

 private:
  KxPtr<CPreviewStor> m_picture;
  IScanSink* m_target;  // only while its scan runs
  std::atomic<double> m_length{0};
};

SearchPicture::SearchPicture(PanelParts& parts) : m_parts(parts) {}

SearchPicture::~SearchPicture() = default;

KxPtr<IScanSink> SearchPicture::begin(IParam* request, IScanSink* target) {
  m_sink = nullptr;
  IPreviewPage* page = m_parts.steps.preview;
  if (!page) return KxPtr<IScanSink>::share(target);
  CSharedScanParams& params = m_parts.params;
  if (!m_before) m_before = Before{params.previewStore, page->GetRasterPlace()};
  const CKxVariant rect = paramValue(request, key::Rect);
  m_mode = paramInt(request, key::Mode, kModeGrey);
  m_area = rect.get<tagRRECT>() ? *rect.get<tagRRECT>() : tagRRECT{0, 0, params.values().bedWidth, 0};
  auto picture = KxPtr<CPreviewStor>::adopt(new CPreviewStor(screenWidth()));
  params.previewStore = KxPtr<ISStripStor>::share(picture.get());
  m_sink = KxPtr<Sink>::adopt(new Sink(std::move(picture), target));
  return KxPtr<IScanSink>::share(m_sink.get());
}

void SearchPicture::show() const {
  IPreviewPage* page = m_parts.steps.preview;
  if (!m_sink || !page || m_sink->picture()->IsEmpty()) return;
  page->PlaceRaster({m_area.left, m_area.top, m_area.right, m_area.top + m_sink->length()});
}

void SearchPicture::complete() const {
  if (!m_sink) return;
  // Before the detector smooths the stripes.
  m_sink->picture()->Finish(nullptr, 0, 0);
  show();
}

void SearchPicture::settle(bool keeps) {
  const KxPtr<Sink> sink = std::exchange(m_sink, {});
  const auto before = std::exchange(m_before, std::nullopt);
  if (keeps && sink) {  // a search has no curves
    m_parts.previewSettings = new_MemParam();
    m_parts.previewSettings->SetValue(key::Mode, m_mode);
  }
  if (keeps || !sink || !before) return;
  CSharedScanParams& params = m_parts.params;
  if (params.previewStore.get() == static_cast<ISStripStor*>(sink->picture())) params.previewStore = before->store;
  if (m_parts.steps.preview) m_parts.steps.preview->PlaceRaster(before->place);
}

}  // namespace quillbay
