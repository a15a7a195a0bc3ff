#include "preview/stor_painter.h"

#include <QImage>
#include <QPainter>
#include <algorithm>

#include "preview/view_places.h"
#include "stores/simple_stor.h"
#include "view/device_image.h"
#include "view/image_dc.h"
#include "view/view_transform.h"

namespace quillbay {

namespace {

/// How long a paint works on the levels of a raster at most.
constexpr int kLevelsMs = 4;

/// A store that holds a whole raster draws it from its levels: shrinking all of it anew would take long.
void makeLevels(ISStripStor& store) {
  if (!dynamic_cast<CSimpleStor*>(&store)) return;
  KxPtr<IRStor> raster;
  store.Finish(raster.put(), 0, 0);
  if (const auto levels = raster.as<IRStorLevels>()) levels->MakeLevels(kLevelsMs);
}

}  // namespace

tagRRECT extentOf(ISStripStor& store) {
  double r[4] = {0, 0, 0, 0};
  store.GetRect(r);
  return store.IsEmpty() ? tagRRECT{} : tagRRECT{r[0], r[1], r[2] + 1, r[3] + 1};
}

void StorPainter::paint(IKxViewDC& dc, ISStripStor& store, const tagRRECT& extent, const CRTfm& toDocument) {
  QPainter& painter = *dc.GetPainter();
  const double ratio = painter.device()->devicePixelRatioF();
  const KxRect c = dc.GetClientClip();
  tagRRECT clip{double(c.left), double(c.top), double(c.right), double(c.bottom)};
  const CRTfm t = dc.GetTransform();
  CRTfm flat = t;  // the view without its rotation, which the painter does
  if (t.angle != 0) {
    flat = {t.scaleX, t.scaleY, 0, 0, 0};
    clip = view::toDocument(CRTfm{1, 1, t.angle, t.offsetX, t.offsetY}, clip);
  }
  const places::DevicePart part = places::devicePart(toDocument, flat, extent, clip, ratio);
  const KxSize size{part.pixels.right - part.pixels.left, part.pixels.bottom - part.pixels.top};
  if (size.width <= 0 || size.height <= 0) return;
  makeLevels(store);
  // Transparent where the store draws nothing.
  m_pixels.assign(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0);
  const auto target = KxPtr<CImageDC>::adopt(
      new CImageDC(m_pixels.data(), size, {0, 0, size.width, size.height}, dc.GetStretchMode()));
  store.Paint(target.get(), &part.tfm);
  const QImage image(reinterpret_cast<const uchar*>(m_pixels.data()), size.width, size.height,
                     qsizetype{size.width} * 4, QImage::Format_ARGB32_Premultiplied);
  drawDeviceImage(painter, t, ratio, dc.GetStretchMode(), part.pixels.left, part.pixels.top, image);
}

}  // namespace quillbay
