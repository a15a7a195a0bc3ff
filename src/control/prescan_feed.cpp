#include "control/prescan_feed.h"

namespace quillbay {

void takePrescanStripe(PanelParts& parts, IScanBuffer& stripe, int dpi) {
  KxSize size;
  stripe.GetSize(&size);
  CSharedScanParams& params = parts.params;
  const ScanValues& v = params.values();
  if (v.scanType == kAreaAutoWidth || v.scanType == kAreaFixedWidth) {
    tagRRECT area = v.rcScan;
    area.bottom += size.height * kMmPerInch / dpi;
    params.set(scan_key::RcScan, area);
  }
  if (parts.steps.preview) {
    parts.steps.preview->AddStripe(&stripe);
  } else {
    params.previewStore->AddStripe(&stripe);
  }
  const std::int64_t rows = parts.run.addPrescanRows(size.height);
  if (v.centring == kNeverCentres) return;
  const double length = static_cast<double>(rows) * kMmPerInch / dpi;
  tagRRECT frame = v.rcPreview;
  if (length - 0.001 <= frame.bottom) return;
  const double down = length - frame.bottom;
  frame.top += down;
  frame.bottom += down;
  params.set(scan_key::RcPreview, frame);
}

}  // namespace quillbay
