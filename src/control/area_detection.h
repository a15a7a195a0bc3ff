#pragma once
#include <string>

#include "analysis/auto_detector.h"
#include "control/panel_parts.h"
#include "control/search_scan.h"

namespace quillbay {

/// Finds the document before a scan: by the scanner's own measurement, else in a prescan of the bed, and asks the
/// user where neither finds it. What was found becomes the scan area; without it, and when the user declines or
/// cancels, all settings stay as they were. User-interface thread only.
class AreaDetection final : public IAreaDetection {
 public:
  explicit AreaDetection(PanelParts& parts) : m_parts(parts) {}

  bool IsOffered() const override;
  /// Throws `WindowGone`, and what the unit throws.
  int Detect(IParam* request, int mask) override;
  bool AreaFound() const override { return m_by != DetectedBy::Nothing; }
  DetectedBy FoundBy() const override { return m_by; }
  DetectionEnd End() const override { return m_end; }

 private:
  [[nodiscard]] bool search(IParam* request);
  [[nodiscard]] bool takeMeasured(IParam* request);
  [[nodiscard]] SearchOutcome prescan();
  [[nodiscard]] KxPtr<IParam> makeRequest() const;
  [[nodiscard]] tagRRECT areaOf(const FoundBounds& found) const;
  void take(const tagRRECT& area, IParam* request, DetectedBy by);
  [[nodiscard]] bool isWholeBedWanted();
  void takeWholeBed();

  PanelParts& m_parts;
  CAutoDetector m_detector;
  DetectedBy m_by = DetectedBy::Nothing;
  DetectionEnd m_end;
};

}  // namespace quillbay
