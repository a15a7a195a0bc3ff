#include "document_view.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace desktop {

namespace {
constexpr double kGapMm = 20;
constexpr int kOverviewPixels = 400;
}  // namespace

/// Draws frames over the pages.
class PaintLink final : public quillbay::TSinkImpl<quillbay::IKxViewPaintReactor, DocumentView> {
 public:
  using TSinkImpl::TSinkImpl;
  int ActiveChanged(quillbay::IKxViewPort*, int) override { return 1; }
  int Paint(quillbay::IKxViewPort*, quillbay::IKxViewDC* dc, int) override {
    owner()->paintOver(*dc->GetPainter());
    return 1;
  }
  int Painted(quillbay::IKxViewPort*) override { return 1; }
  int Closing(quillbay::IKxViewPort*) override { return 1; }
  int GetArea(quillbay::IKxViewPort*, quillbay::tagRRECT*) override { return 0; }
};

/// Tells of zooming.
class ZoomLink final : public quillbay::TSinkImpl<quillbay::IKxViewZoomSink, DocumentView> {
 public:
  using TSinkImpl::TSinkImpl;
  int TransformChanging(quillbay::IKxViewPort*, const quillbay::CRTfm&) override { return 1; }
  int TransformChanged(quillbay::IKxViewPort*, const quillbay::CRTfm&, const quillbay::CRTfm&) override {
    emit owner()->zoomChanged();
    return 1;
  }
  int Resized(quillbay::IKxViewPort*, const quillbay::KxSize&) override { return 1; }
};

DocumentView::DocumentView(quillbay::IApp* app, Document* document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_port(quillbay::new_ViewPort(app, this)),
      m_kxView(m_port.as<quillbay::IKxView>()),
      m_rasters(quillbay::new_RasterPainter(m_port.get())),
      m_surface(m_port->GetWindow()),
      m_paintLink(std::make_unique<PaintLink>(this)),
      m_zoomLink(std::make_unique<ZoomLink>(this)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(1, 1, 1, 1);  // shows where the keys go
  column->addWidget(m_surface);
  setMinimumSize(240, 180);
  setFocusProxy(m_surface);
  m_surface->setAcceptDrops(true);
  m_surface->installEventFilter(this);
  m_surface->setAccessibleDescription(
      tr("The scanned and opened pages. Arrows scroll, plus and minus zoom, 0 shows "
         "everything, 1 shows pixel by pixel."));
  setGround();
  // After the rasters: the frames lie over them.
  m_paintLink->Subscribe(m_port.as<quillbay::IConnectionPoint<quillbay::IKxViewPaintReactor>>().get());
  m_zoomLink->Subscribe(m_port.as<quillbay::IConnectionPoint<quillbay::IKxViewZoomSink>>().get());
  connect(&m_images, &PageImages::overviewReady, m_document, &Document::setOverview);
  connect(m_document, &Document::added, this, &DocumentView::add);
  connect(m_document, &Document::replaced, this, &DocumentView::add);
  connect(m_document, &Document::removed, this, &DocumentView::relayout);
}

DocumentView::~DocumentView() = default;

void DocumentView::add(int id) {
  const Page* page = m_document->page(id);
  if (page->overview.isNull()) m_images.requestOverview(id, page->raster, kOverviewPixels);
  relayout();
}

void DocumentView::relayout() {
  m_rasters->Clear();
  m_layout.clear();
  double x = 0;
  for (const Page& page : m_document->pages()) {
    m_layout.push_back({page.id, QRectF(QPointF(x, 0), page.sizeMm()), page.raster});
    m_rasters->Add(page.raster.get(), {x, 0}, page.dpi());
    x = m_layout.back().mm.right() + kGapMm;
  }
  if (!m_document->page(m_current)) m_current = m_document->lastId();
  fitAll();
  emit zoomChanged();
}

QRectF DocumentView::toView(const QRectF& mm) const {
  const auto corner = m_port->ToClient({mm.left(), -mm.top()});
  return {QPointF(corner.x, corner.y), mm.size() * m_port->Transform().scaleX};
}

QRectF DocumentView::pageRect(int id) const {
  for (const Shown& shown : m_layout) {
    if (shown.id == id) return shown.mm;
  }
  return {};
}

int DocumentView::pageAt(const QPointF& pixel) const {
  for (const Shown& shown : m_layout) {
    if (toView(shown.mm).contains(pixel)) return shown.id;
  }
  return 0;
}

void DocumentView::fitAll() {
  m_port->ZoomToExtents();
  m_port->Invalidate(nullptr);
}

void DocumentView::fitPage(int id) {
  setCurrent(id);
  const QRectF mm = pageRect(id);
  if (!mm.isEmpty()) m_port->ZoomToRectangle({mm.left(), -mm.bottom(), mm.right(), -mm.top()});
}

double DocumentView::pixelScale() const {
  const Page* page = m_document->page(m_current);
  return page ? page->dpi() / quillbay::kMmPerInch / devicePixelRatioF() : 0;
}

double DocumentView::zoom() const { return pixelScale() > 0 ? m_port->Transform().scaleX / pixelScale() : 0; }

void DocumentView::scaleTo(double pixelsPerMm) {
  const auto commands = m_port.as<quillbay::ICmdProcess>();
  const auto centre = m_port->ToDocument(m_surface->width() / 2.0, m_surface->height() / 2.0);
  if (commands && pixelsPerMm > 0) commands->ZoomByFactor(pixelsPerMm / m_port->GetBaseTransform().scaleX, centre);
}

void DocumentView::actualPixels() { scaleTo(pixelScale()); }

void DocumentView::zoomBy(double factor) {
  if (!m_layout.empty()) scaleTo(m_port->Transform().scaleX * factor);
}

void DocumentView::pan(double dx, double dy) { m_port->ScrollByPixels(qRound(dx), qRound(dy)); }

void DocumentView::setCurrent(int id) {
  if (m_current == id || !m_document->page(id)) return;
  m_current = id;
  const QRectF page = toView(pageRect(id)), client = m_surface->rect();
  if (!page.intersects(client)) {
    const QPointF by = client.center() - page.center();
    pan(by.x(), by.y());
  }
  m_port->Invalidate(nullptr);
  emit zoomChanged();
}

void DocumentView::paintOver(QPainter& painter) const {
  painter.setBackgroundMode(Qt::TransparentMode);
  if (m_layout.empty()) {
    const QColor ground = m_surface->palette().color(QPalette::Window);
    painter.setPen(ground.lightness() > 110 ? Qt::black : Qt::white);
    painter.drawText(m_surface->rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("No pages yet. Scan one (F5), or drop image files here."));
    return;
  }
  painter.setBrush(Qt::NoBrush);
  for (const Shown& shown : m_layout) {
    const bool chosen = shown.id == m_current && m_layout.size() > 1;
    painter.setPen(QPen(palette().color(chosen ? QPalette::Highlight : QPalette::Shadow), chosen ? 2 : 1));
    painter.drawRect(toView(shown.mm) & QRectF(m_surface->rect()).adjusted(-4, -4, 4, 4));
  }
}

void DocumentView::setGround() {
  QPalette colours;  // only the ground differs from what the application says
  colours.setColor(QPalette::Window, palette().color(QPalette::Dark).darker(110));
  m_surface->setPalette(colours);
}

void DocumentView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(palette().color(m_surface->hasFocus() ? QPalette::Highlight : QPalette::Mid));
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void DocumentView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) setGround();
  QWidget::changeEvent(event);
}

}  // namespace desktop
