#include "entry/scan_picture.h"

#include <QPainter>
#include <QWidget>
#include <algorithm>

#include "platform/base_services.h"
#include "view/view_transform.h"

namespace quillbay {

namespace {
/// How much longer a page of unknown length is taken to be when it outgrows its place.
constexpr double kLonger = 1.5;
constexpr int kHintMargin = 12;
}  // namespace

ScanPicture::ScanPicture(IKxViewPort* port)
    : m_port(KxPtr<IKxViewPort>::share(port)), m_painter(new_RasterPainter(port)) {
  // After the painter: the frame lies over the page.
  m_reactor.Subscribe(m_port.as<IConnectionPoint<IKxViewPaintReactor>>().get());
}

void ScanPicture::begin(const ScanStartInfo& page) {
  m_painter->Clear();
  m_raster = nullptr;
  m_dpi = std::max<double>(page.dpi, 1);
  const double width = static_cast<double>(page.width) * kMmPerInch / m_dpi;
  const double lines = static_cast<double>(page.expectedLines > 0 ? page.expectedLines : page.width);
  setPlace({0, -lines * kMmPerInch / m_dpi, width, 0}, true);
}

void ScanPicture::clear() {
  m_painter->Clear();
  m_raster = nullptr;
  setPlace({}, false);
}

void ScanPicture::grow(IRStor* raster) {
  if (!raster) return;
  if (!m_raster && m_painter->Add(raster, {0, 0}, m_dpi)) m_raster = KxPtr<IRStor>::share(raster);
  m_painter->Refresh();
  tagRRECT area;
  if (!m_raster || !m_painter->GetArea(m_raster.get(), &area)) return;
  if (area.top >= m_place.top && area.right <= m_place.right) return;
  tagRRECT place = m_place;
  place.top = std::min(place.top, area.top * kLonger);
  place.right = std::max(place.right, area.right);
  setPlace(place, showsAll());
}

void ScanPicture::end() {
  tagRRECT area;
  if (m_raster && m_painter->GetArea(m_raster.get(), &area)) setPlace(area, showsAll());
}

void ScanPicture::showPixels() {
  const auto commands = m_port.as<ICmdProcess>();
  const QWidget* window = m_port->GetWindow();
  if (!commands || !window || m_dpi <= 0) return;
  const tagRPOINT centre = view::clientCentre(m_port->GetClientSize());
  commands->ZoomByFactor(m_dpi / kMmPerInch / window->devicePixelRatioF(), m_port->ToDocument(centre.x, centre.y));
}

/// Whether the view is as `ZoomToExtents` leaves it.
bool ScanPicture::showsAll() const {
  const CRTfm& now = m_port->Transform();
  tagRRECT extents;
  return !m_port->GetExtents(&extents) || now == view::zoomedToExtents(now, extents, m_port->GetClientSize());
}

/// `show`: all of it, without a step in the view's history.
void ScanPicture::setPlace(const tagRRECT& place, bool show) {
  m_place = place;
  tagRRECT extents;
  if (show && m_port->GetExtents(&extents)) {
    m_port->SetTransform(view::zoomedToExtents(m_port->Transform(), extents, m_port->GetClientSize()), 0);
  }
  m_port->Invalidate(nullptr);
}

void ScanPicture::paint(IKxViewDC& dc) const {
  QPainter& painter = *dc.GetPainter();
  const QWidget* window = m_port->GetWindow();
  if (!window) return;
  const QColor ground = window->palette().color(QPalette::Window);
  painter.setBackgroundMode(Qt::TransparentMode);
  painter.setPen(ground.lightness() > 110 ? Qt::black : Qt::white);
  if (m_place.width() <= 0) {
    painter.drawText(window->rect().adjusted(kHintMargin, kHintMargin, -kHintMargin, -kHintMargin),
                     Qt::AlignCenter | Qt::TextWordWrap,
                     QString::fromStdString(Supp_Translate("The page that is scanned shows here.")));
    return;
  }
  const tagRRECT place = view::toClient(m_port->Transform(), m_place);
  // Cut to what is near: a page may be huge in pixels of the view.
  const QRectF frame(QPointF(place.left, place.top), QPointF(place.right, place.bottom));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(frame.normalized() & QRectF(window->rect()).adjusted(-4, -4, 4, 4));
}

int ScanPicture::Reactor::Paint(IKxViewPort*, IKxViewDC* dc, int) {
  owner()->paint(*dc);
  return 1;
}

int ScanPicture::Reactor::GetArea(IKxViewPort*, tagRRECT* out) {
  if (owner()->m_place.width() <= 0) return 0;
  *out = owner()->m_place;
  return 1;
}

}  // namespace quillbay
