#include "view/view_dc.h"

#include <cmath>
#include <utility>

#include "view/view_transform.h"

namespace quillbay {

CViewDC::CViewDC(const KxSize& size, double pixelRatio, const CRTfm& tfm, int mode,
                 std::function<void(QImage)> done)
    : m_painter(&m_ownPainter),
      m_tfm(tfm),
      m_clip{0, 0, size.width, size.height},
      m_mode(mode),
      m_image(static_cast<int>(std::ceil(size.width * pixelRatio)),
              static_cast<int>(std::ceil(size.height * pixelRatio)), QImage::Format_ARGB32_Premultiplied),
      m_done(std::move(done)) {
  m_image.setDevicePixelRatio(pixelRatio);
  m_image.fill(Qt::transparent);
  m_ownPainter.begin(&m_image);
}

CViewDC::~CViewDC() {
  if (!m_done) return;
  m_ownPainter.end();
  m_done(std::move(m_image));
}

tagRRECT CViewDC::GetClip() {
  return view::toDocument(
      m_tfm, tagRRECT{double(m_clip.left), double(m_clip.top), double(m_clip.right), double(m_clip.bottom)});
}

int CViewDC::SetStretchMode(int mode) {
  m_mode = mode;
  return 1;
}

}  // namespace quillbay
