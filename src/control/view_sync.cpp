#include "control/view_sync.h"

namespace quillbay {

int CViewSync::enable(int enable) {
  if (!m_view) return kNoView;
  m_enabled = enable != 0;
  if (m_enabled) m_view->Invalidate();
  return 1;
}

void CViewSync::invalidate() {
  if (m_view && m_enabled) m_view->Invalidate();
}

void CViewSync::setArea(const tagRRECT& area, std::uint32_t dpi) noexcept {
  m_area = area;
  m_dpi = dpi > 0 ? dpi : 1;
}

CRDirectTfm CViewSync::transform() const noexcept {
  const double mmPerPixel = kMmPerInch / m_dpi;
  return {mmPerPixel, mmPerPixel, m_area.left, m_area.top};
}

}  // namespace quillbay
