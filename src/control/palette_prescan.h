#pragma once
#include "analysis/pal_detector.h"
#include "control/panel_parts.h"
#include "control/scan_steps.h"

namespace quillbay {

/// Computes the palette of a document, or a lookup file of its colours, from a colour prescan of the area that is
/// scanned next. User-interface thread only.
class PalettePrescan final : public IPalettePrescan {
 public:
  /// `parts` outlive this object.
  PalettePrescan(PanelParts& parts, KxPtr<CPalDetector> detector)
      : m_parts(parts), m_detector(std::move(detector)) {}

  [[nodiscard]] bool IsNeeded(IParam* request) const override;
  int Run(IParam* request, int dpi, EndCause* cause, UnitFault* fault) override;
  void Forget() override { m_detector->DropCache(); }

 private:
  [[nodiscard]] bool isOutdated(IParam* request) const;
  [[nodiscard]] bool scan(IParam* request, int dpi, EndCause* cause, UnitFault* fault);
  [[nodiscard]] int makeLut(IParam* request, const KXRGBQUAD* palette, EndCause* cause);

  PanelParts& m_parts;
  KxPtr<CPalDetector> m_detector;
  CKxBlob m_adjustments;  // of the palette that is kept
};

/// Colours of the palette that a request of a palette scan has the unit use.
[[nodiscard]] int paletteColors(IParam* request);

}  // namespace quillbay
