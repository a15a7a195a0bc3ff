#include "document_view.h"

#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QUrl>
#include <algorithm>
#include <cmath>

namespace desktop {

namespace {
constexpr double kGapMm = 20, kMarginPixels = 16;
constexpr double kWheelStep = 1.25, kKeyStep = 1.5;
constexpr double kLeastScale = 0.002, kMostScale = 2000;  // pixels a millimetre
constexpr int kOverviewPixels = 1600, kSettleMs = 30, kScrollPixels = 60;
}  // namespace

DocumentView::DocumentView(Document* document, QWidget* parent) : QWidget(parent), m_document(document) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAcceptDrops(true);
  setMinimumSize(240, 180);
  setAccessibleName(tr("Document"));
  setAccessibleDescription(
      tr("The scanned and opened pages. Arrows scroll, plus and minus zoom, 0 shows everything, "
         "1 shows pixel by pixel."));
  m_settle.setSingleShot(true);
  connect(&m_settle, &QTimer::timeout, this, &DocumentView::requestFrame);
  connect(&m_images, &PageImages::overviewReady, m_document, &Document::setOverview);
  connect(&m_images, &PageImages::frameReady, this, &DocumentView::takeFrame);
  connect(m_document, &Document::added, this, [this](int id) {
    const Page* page = m_document->page(id);
    if (page->overview.isNull()) m_images.requestOverview(id, page->raster, kOverviewPixels);
    relayout();
  });
  connect(m_document, &Document::removed, this, &DocumentView::relayout);
  connect(m_document, &Document::changed, this, qOverload<>(&QWidget::update));
}

void DocumentView::relayout() {
  m_layout.clear();
  double x = 0;
  for (const Page& page : m_document->pages()) {
    const QRectF rect(QPointF(x, 0), page.sizeMm());
    m_layout.emplace_back(page.id, rect);
    x = rect.right() + kGapMm;
  }
  if (!m_document->page(m_current)) m_current = m_document->lastId();
  if (m_fitted) return fitAll();
  place(m_place);
}

QRectF DocumentView::toView(const QRectF& mm) const {
  return {mm.topLeft() * m_place.scale + m_place.offset, mm.size() * m_place.scale};
}

QRectF DocumentView::pageRect(int id) const {
  for (const auto& [page, rect] : m_layout) {
    if (page == id) return rect;
  }
  return {};
}

int DocumentView::pageAt(const QPointF& pixel) const {
  for (const auto& [page, rect] : m_layout) {
    if (toView(rect).contains(pixel)) return page;
  }
  return 0;
}

void DocumentView::place(const Place& place) {
  m_place = place;
  ++m_wanted;
  m_settle.start(kSettleMs);
  update();
  emit zoomChanged();
}

void DocumentView::fit(const QRectF& mm) {
  if (mm.isEmpty()) return place({});
  const double room = 2 * kMarginPixels;
  const double scale =
      std::min(std::max(1.0, width() - room) / mm.width(), std::max(1.0, height() - room) / mm.height());
  const double bounded = std::clamp(scale, kLeastScale, kMostScale);
  place({bounded, QPointF(width(), height()) / 2 - mm.center() * bounded});
}

void DocumentView::fitAll() {
  QRectF all;
  for (const auto& entry : m_layout) all |= entry.second;
  fit(all);
  m_fitted = true;
}

void DocumentView::fitPage(int id) {
  setCurrent(id);
  fit(pageRect(id));
  m_fitted = false;
}

double DocumentView::pixelScale() const {
  const Page* page = m_document->page(m_current);
  return page ? page->dpi() / quillbay::kMmPerInch / devicePixelRatioF() : 0;
}

double DocumentView::zoom() const { return pixelScale() > 0 ? m_place.scale / pixelScale() : 0; }

void DocumentView::actualPixels() {
  if (pixelScale() > 0) zoomAbout(pixelScale() / m_place.scale, QPointF(width(), height()) / 2);
}

void DocumentView::zoomBy(double factor) { zoomAbout(factor, QPointF(width(), height()) / 2); }

void DocumentView::zoomAbout(double factor, const QPointF& pivot) {
  if (m_layout.empty()) return;
  const double scale = std::clamp(m_place.scale * factor, kLeastScale, kMostScale);
  m_fitted = false;
  place({scale, pivot - (pivot - m_place.offset) * (scale / m_place.scale)});
}

void DocumentView::pan(const QPointF& pixels) {
  if (m_layout.empty()) return;
  m_fitted = false;
  place({m_place.scale, m_place.offset + pixels});
}

void DocumentView::setCurrent(int id) {
  if (m_current == id || !m_document->page(id)) return;
  m_current = id;
  const QRectF shown = toView(pageRect(id)) & QRectF(rect());
  if (shown.isEmpty()) pan(QPointF(width(), height()) / 2 - toView(pageRect(id)).center());
  update();
  emit zoomChanged();
}

void DocumentView::requestFrame() {
  const double ratio = devicePixelRatioF();
  std::vector<Placed> pages;
  for (const auto& [id, mm] : m_layout) {
    const Page* page = m_document->page(id);
    const QRectF view = toView(mm);
    const QRectF shown = view & QRectF(rect());
    if (!page || shown.isEmpty()) continue;
    const double scale = m_place.scale * ratio * quillbay::kMmPerInch / page->dpi();
    pages.push_back({page->raster,
                     {scale, scale, view.left() * ratio, view.top() * ratio},
                     QRectF(shown.topLeft() * ratio, shown.size() * ratio).toAlignedRect()});
  }
  m_images.requestFrame(m_wanted, (QSizeF(size()) * ratio).toSize(), std::move(pages));
}

void DocumentView::takeFrame(int number, const QImage& image) {
  if (number != m_wanted) return;  // the view has moved on
  m_frame = image;
  m_frame.setDevicePixelRatio(devicePixelRatioF());
  m_frameNumber = number;
  m_framePlace = m_place;
  update();
}

void DocumentView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor ground = palette().color(QPalette::Dark).darker(110);
  painter.fillRect(rect(), ground);
  if (m_layout.empty()) {
    painter.setPen(ground.lightness() > 110 ? Qt::black : Qt::white);
    painter.drawText(rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("No pages yet. Scan one (F5), or drop image files here."));
    return;
  }
  for (const auto& [id, mm] : m_layout) {
    const Page* page = m_document->page(id);
    const QRectF view = toView(mm);
    const QRectF shown = view & QRectF(rect());
    if (!page || shown.isEmpty()) continue;
    painter.fillRect(shown, Qt::white);
    if (isSharp() || page->overview.isNull()) continue;
    // Only what is shown is scaled: a whole page may be far larger than a painter can address.
    const double toX = page->overview.width() / view.width(), toY = page->overview.height() / view.height();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(shown, page->overview,
                      QRectF((shown.left() - view.left()) * toX, (shown.top() - view.top()) * toY,
                             shown.width() * toX, shown.height() * toY));
  }
  if (isSharp()) painter.drawImage(QPointF(0, 0), m_frame);
  paintFrame(painter);
}

void DocumentView::paintFrame(QPainter& painter) const {
  painter.setBrush(Qt::NoBrush);
  for (const auto& [id, mm] : m_layout) {
    const bool chosen = id == m_current && m_layout.size() > 1;
    painter.setPen(QPen(palette().color(chosen ? QPalette::Highlight : QPalette::Shadow), chosen ? 2 : 1));
    painter.drawRect(toView(mm) & QRectF(rect()).adjusted(-4, -4, 4, 4));
  }
  if (hasFocus()) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DotLine));
    painter.drawRect(rect().adjusted(1, 1, -2, -2));
  }
}

void DocumentView::resizeEvent(QResizeEvent*) {
  if (m_fitted) return fitAll();
  place(m_place);
}

void DocumentView::wheelEvent(QWheelEvent* event) {
  const double notches = event->angleDelta().y() / 120.0;
  if (notches != 0) zoomAbout(std::pow(kWheelStep, notches), event->position());
  event->accept();
}

void DocumentView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton && event->button() != Qt::MiddleButton) return;
  m_press = m_last = event->position();
  m_panning = true;
  m_moved = false;
}

void DocumentView::mouseMoveEvent(QMouseEvent* event) {
  const QPointF at = event->position();
  if (m_panning && (m_moved || (at - m_press).manhattanLength() > 4)) {
    m_moved = true;
    setCursor(Qt::ClosedHandCursor);
    pan(at - m_last);
    m_last = at;
  }
  const int under = pageAt(at);
  const QRectF page = pageRect(under ? under : m_current);
  emit pointerMoved((at - m_place.offset) / m_place.scale - page.topLeft(), !m_layout.empty());
}

void DocumentView::mouseReleaseEvent(QMouseEvent* event) {
  m_panning = false;
  unsetCursor();
  const int id = pageAt(event->position());
  if (!m_moved && event->button() == Qt::LeftButton && id) emit pageChosen(id);
}

void DocumentView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (const int id = pageAt(event->position())) fitPage(id);
}

void DocumentView::leaveEvent(QEvent*) { emit pointerMoved({}, false); }

void DocumentView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left: return pan({kScrollPixels, 0});
    case Qt::Key_Right: return pan({-kScrollPixels, 0});
    case Qt::Key_Up: return pan({0, kScrollPixels});
    case Qt::Key_Down: return pan({0, -kScrollPixels});
    case Qt::Key_PageUp: return pan({0, height() * 0.9});
    case Qt::Key_PageDown: return pan({0, height() * -0.9});
    case Qt::Key_Plus:
    case Qt::Key_Equal: return zoomBy(kKeyStep);
    case Qt::Key_Minus: return zoomBy(1 / kKeyStep);
    case Qt::Key_0: return fitAll();
    case Qt::Key_1: return actualPixels();
    default: QWidget::keyPressEvent(event);
  }
}

void DocumentView::dragEnterEvent(QDragEnterEvent* event) {
  const auto urls = event->mimeData()->urls();
  const bool files = std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
  if (files) event->acceptProposedAction();
}

void DocumentView::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) files += url.toLocalFile();
  }
  event->acceptProposedAction();
  emit filesDropped(files);
}

}  // namespace desktop
