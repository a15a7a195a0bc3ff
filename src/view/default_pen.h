#pragma once
#include <cstdint>
#include <vector>

#include "platform/pens.h"

namespace quillbay {

/// A pen that a value stands for; what the value looks like is the surface's matter. Shared: `getDefaultPen`.
class CDefaultPen : public CKxUnknownImpl<IPen> {
 public:
  explicit CDefaultPen(std::uint32_t value);

  const char* GetName() override { return "DefaultPen"; }
  std::uint32_t GetPenValue() override { return m_value; }
  int DrawLine(IPenDC* dc, const CRTfm& tfm, const CRPoint& from, const CRPoint& to) override;
  int DrawPath(IPenDC* dc, const CRTfm& tfm, std::span<const CRPoint> points) override;
  int DrawPolygon(IPenDC* dc, const CRTfm& tfm, const CRPolygon& polygon) override;
  int DrawArc(IPenDC* dc, const CRTfm& tfm, const CRArc& arc) override;
  int DrawCircle(IPenDC* dc, const CRTfm& tfm, const CRCircle& circle) override;
  int DrawPolyVector(IPenDC* dc, const CRTfm& tfm, const CRPolyVector& shape) override;
  KxSize GetExtent() override { return {0, 0}; }
  int Begin(IPenDC* dc, int flags) override { return dc->Begin(m_value, flags); }
  void End(IPenDC*) override {}

 protected:
  ~CDefaultPen() override = default;

 private:
  void addPoint(const CRTfm& tfm, const CRPoint& at);

  const std::uint32_t m_value;
  std::vector<KxPoint> m_points;  // of what is being drawn
  CRPolyVector m_work;            // a shape in its elements
};

/// The pen of a value; the same one each time, kept until the module goes.
[[nodiscard]] KxPtr<IPen> getDefaultPen(std::uint32_t value);
/// Makes it the surface's pen.
void selectDefaultPen(IPenDC* dc, std::uint32_t value);

}  // namespace quillbay
