#pragma once
#include "view/default_pen.h"

namespace quillbay {

/// Draws with a handle of the caller; the surface's own is selected again after each element.
class CExtPen final : public CDefaultPen {
 public:
  explicit CExtPen(const PenHandle& handle) : CDefaultPen(0), m_handle(handle) {}
  int Begin(IPenDC* dc, int) override { return dc->SelectHandle(m_handle, &m_former); }
  void End(IPenDC* dc) override { dc->SelectHandle(m_former, nullptr); }

 private:
  const PenHandle m_handle;
  PenHandle m_former;
};

[[nodiscard]] inline KxPtr<IPen> makePen(const PenHandle& handle) {
  return KxPtr<IPen>::adopt(new CExtPen(handle));
}

}  // namespace quillbay
