#include "view/raster_painter.h"

#include <QImage>
#include <QPainter>
#include <QtMath>
#include <algorithm>
#include <cmath>

#include "view/device_image.h"
#include "view/view_transform.h"

namespace quillbay {
namespace {

struct Range {
  std::int32_t begin, end;
};

/// The device pixels that drawing fills along one axis, cut to begin..end-1: what it touches when it shrinks,
/// otherwise those with their centre inside.
Range filled(double scale, double offset, std::int32_t length, double begin, double end) {
  const double far = scale * length + offset;
  const bool shrinks = scale < 1;
  const double first = shrinks ? std::floor(offset + 1e-6) : std::ceil(offset - 0.5);
  const double last = shrinks ? std::ceil(far - 1e-6) : std::ceil(far - 0.5);
  return {static_cast<std::int32_t>(std::clamp(first, begin, end)),
          static_cast<std::int32_t>(std::clamp(last, begin, end))};
}

/// Four bits a pixel: an odd line's last pixel is not drawn.
std::int32_t drawnWidth(IRStor& raster) {
  const std::int32_t width = raster.GetWidth();
  return raster.GetColorSpace() == KxColorSpace::Four ? width / 2 * 2 : width;
}

}  // namespace

tagRRECT CRasterPainter::Item::area(std::int32_t firstLine, std::int32_t endLine) const {
  return {topLeft.x, topLeft.y - endLine * mmPerPixel, topLeft.x + raster->GetWidth() * mmPerPixel,
          topLeft.y - firstLine * mmPerPixel};
}

CRasterPainter::CRasterPainter(IKxViewPort* view)
    : m_view(KxPtr<IKxViewPort>::share(view)),
      m_levels([this](IRStor* raster, std::int32_t lines) { levelsMade(raster, lines); }) {
  if (const auto point = query<IConnectionPoint<IKxViewPaintReactor>>(view)) m_reactor.Subscribe(point.get());
}

CRasterPainter::~CRasterPainter() { m_reactor.Unsubscribe(); }

int CRasterPainter::Reactor::Paint(IKxViewPort*, IKxViewDC* dc, int) {
  owner()->paint(*dc);
  return 1;
}

int CRasterPainter::Reactor::Closing(IKxViewPort*) {
  owner()->m_view = nullptr;
  return 1;
}

CRasterPainter::Item* CRasterPainter::find(IRStor* raster) {
  const auto at =
      std::find_if(m_items.begin(), m_items.end(), [&](const Item& i) { return i.raster.get() == raster; });
  return at == m_items.end() ? nullptr : &*at;
}

void CRasterPainter::invalidate(const tagRRECT& area) {
  if (m_view) m_view->Invalidate(&area);
}

int CRasterPainter::Add(IRStor* raster, const tagRPOINT& topLeft, double dpi) {
  if (!raster || find(raster)) return 0;
  Item item;
  item.raster = KxPtr<IRStor>::share(raster);
  item.drawing = KxPtr<IRStorDraw>::adopt(raster->GetDrawing());
  if (!item.drawing) return 0;
  item.levels = query<IRStorLevels>(raster);
  if (!(dpi > 0)) dpi = std::max(1U, raster->GetResolution());
  item.topLeft = topLeft;
  item.mmPerPixel = kMmPerInch / dpi;
  item.knownHeight = raster->GetHeight();
  if (item.levels)
    item.levels->MakeLevels(0);  // begun: what lacks them is not averaged in full for the first frame
  m_items.push_back(std::move(item));
  makeLevels();
  invalidate(m_items.back().area());
  return 1;
}

int CRasterPainter::Remove(IRStor* raster) {
  Item* item = find(raster);
  if (!item) return 0;
  const tagRRECT area = item->area();
  m_items.erase(m_items.begin() + (item - m_items.data()));
  m_levels.giveUp(raster);
  makeLevels();
  invalidate(area);
  return 1;
}

int CRasterPainter::Move(IRStor* raster, const tagRPOINT& topLeft) {
  Item* item = find(raster);
  if (!item) return 0;
  invalidate(item->area());
  item->topLeft = topLeft;
  invalidate(item->area());
  return 1;
}

int CRasterPainter::Clear() {
  for (const Item& item : m_items) m_levels.giveUp(item.raster.get());
  m_items.clear();
  if (m_view) m_view->Invalidate(nullptr);
  return 1;
}

int CRasterPainter::GetArea(IRStor* raster, tagRRECT* out) {
  const Item* item = find(raster);
  if (!item || !out) return 0;
  *out = item->area();
  return 1;
}

int CRasterPainter::extents(tagRRECT* out) {
  if (m_items.empty() || !out) return 0;
  *out = m_items.front().area();
  for (const Item& item : m_items) {
    const tagRRECT r = item.area();
    *out = {std::min(out->left, r.left), std::min(out->top, r.top), std::max(out->right, r.right),
            std::max(out->bottom, r.bottom)};
  }
  return 1;
}

int CRasterPainter::Refresh() {
  for (Item& item : m_items) {
    const std::int32_t height = item.raster->GetHeight();
    if (height == item.knownHeight && item.coarseFrom < 0) continue;
    const std::int32_t first = item.coarseFrom < 0 ? item.knownHeight : std::min(item.knownHeight, item.coarseFrom);
    // Also the line before: its device pixel may have been covered in part only.
    invalidate(item.area(std::max(0, first - 1), height));
    item.knownHeight = height;
    // Lines get their levels a moment after they have come.
    const std::int32_t fine = item.levels && height > item.levelsHeight ? item.levels->GetLevelLines() : height;
    item.coarseFrom = fine < height ? fine : -1;
  }
  return 1;
}

void CRasterPainter::paint(IKxViewDC& dc) {
  if (!dc.GetPainter()) return;
  for (const Item& item : m_items) paintItem(dc, item);
  makeLevels();  // of what has grown
}

void CRasterPainter::paintItem(IKxViewDC& dc, const Item& item) {
  QPainter& painter = *dc.GetPainter();
  const CRTfm t = dc.GetTransform();
  const double ratio = painter.device()->devicePixelRatioF();
  const KxRect c = dc.GetClientClip();
  tagRRECT clip{double(c.left), double(c.top), double(c.right), double(c.bottom)};
  CRTfm flat = t;  // the view without its rotation, which the painter does
  if (t.angle != 0) {
    flat = {t.scaleX, t.scaleY, 0, 0, 0};
    clip = view::toDocument(CRTfm{1, 1, t.angle, t.offsetX, t.offsetY}, clip);
  }
  const tagRPOINT corner = view::toClient(flat, item.topLeft);
  CRDirectTfm tfm{flat.scaleX * item.mmPerPixel * ratio, -flat.scaleY * item.mmPerPixel * ratio, corner.x * ratio,
                  corner.y * ratio};
  const Range x = filled(tfm.scaleX, tfm.offsetX, drawnWidth(*item.raster), std::floor(clip.left * ratio),
                         std::ceil(clip.right * ratio));
  const Range y = filled(tfm.scaleY, tfm.offsetY, item.knownHeight, std::floor(clip.top * ratio),
                         std::ceil(clip.bottom * ratio));
  if (x.begin >= x.end || y.begin >= y.end) return;
  const KxSize size{x.end - x.begin, y.end - y.begin};
  tfm.offsetX -= x.begin;
  tfm.offsetY -= y.begin;
  const std::size_t pixels = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  if (m_pixels.size() < pixels) m_pixels.resize(pixels);
  m_bands.draw(*item.drawing, m_pixels.data(), size, tfm, dc.GetStretchMode());
  const QImage image(reinterpret_cast<const uchar*>(m_pixels.data()), size.width, size.height,
                     qsizetype{size.width} * 4, QImage::Format_RGB32);
  drawDeviceImage(painter, t, ratio, dc.GetStretchMode(), x.begin, y.begin, image);
}

/// Has the levels of the first raster made that lacks some.
void CRasterPainter::makeLevels() {
  if (m_levels.isBusy()) return;
  for (Item& item : m_items) {
    const std::int32_t height = item.raster->GetHeight();
    if (!item.levels || height <= item.levelsHeight) continue;
    item.levelsFrom = item.levels->GetLevelLines();
    if (item.levelsFrom >= height) {  // whoever adds the lines makes them
      item.levelsHeight = height;
      continue;
    }
    m_levels.start(item.raster, item.levels);
    return;
  }
}

void CRasterPainter::levelsMade(IRStor* raster, std::int32_t lines) {
  if (Item* item = find(raster)) {
    item->levelsHeight = lines;
    // Lines that nobody has asked to be painted yet come with `Refresh`.
    if (item->levelsFrom < item->knownHeight)
      invalidate(item->area(std::max(0, item->levelsFrom - 1), item->knownHeight));
  }
  makeLevels();
}

KxPtr<IKxRasterPainter> new_RasterPainter(IKxViewPort* view) {
  return KxPtr<IKxRasterPainter>::adopt(new CRasterPainter(view));
}

}  // namespace quillbay
