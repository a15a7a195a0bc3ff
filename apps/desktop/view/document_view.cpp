#include "view/document_view.h"

#include <QEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <algorithm>
#include <limits>
#include <map>

#include "view/document_view_layout.h"

namespace desktop {

namespace {
constexpr int kOverviewPixels = 400;
/// Around what is shown in full.
constexpr double kMarginPixels = 5;
/// A page of which less than this part can be seen, of itself or of the view, is brought into view.
constexpr double kSeenPart = 0.3;

quillbay::tagRRECT documentRect(const QRectF& mm) { return {mm.left(), -mm.bottom(), mm.right(), -mm.top()}; }
}  // namespace

/// Draws frames over the pages, and knows their bounds.
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
  int GetArea(quillbay::IKxViewPort*, quillbay::tagRRECT* out) override {
    const QRectF all = owner()->everything();
    if (all.isEmpty()) return 0;
    *out = documentRect(all);
    return 1;
  }
};

/// Tells of zooming, and keeps what the user looks at when the view's size changes.
class ZoomLink final : public quillbay::TSinkImpl<quillbay::IKxViewZoomSink, DocumentView> {
 public:
  using TSinkImpl::TSinkImpl;
  int TransformChanging(quillbay::IKxViewPort*, const quillbay::CRTfm&) override {
    return owner()->keepsSight() ? 0 : 1;
  }
  int TransformChanged(quillbay::IKxViewPort*, const quillbay::CRTfm&, const quillbay::CRTfm&) override {
    owner()->transformChanged();
    return 1;
  }
  int Resized(quillbay::IKxViewPort*, const quillbay::KxSize&) override {
    owner()->resized();
    return 1;
  }
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
  makeBars();
  setMinimumSize(160, 160);
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
  connect(&m_images, &PageImages::overviewReady, this, [this](int id, const QImage& image) {
    endStandIn(id);
    m_document->setOverview(id, image);
  });
  connect(m_document, &Document::added, this, &DocumentView::add);
  connect(m_document, &Document::replaced, this, [this](int id) {
    endStandIn(id);
    add(id);
  });
  connect(m_document, &Document::removed, this, &DocumentView::relayout);
  connect(m_document, &Document::reordered, this, &DocumentView::relayout);
}

DocumentView::~DocumentView() = default;

void DocumentView::add(int id) {
  endPreview();
  const Page* page = m_document->page(id);
  if (page->overview.isNull()) m_images.requestOverview(id, page->raster, kOverviewPixels);
  relayout();
}

/// The pages, and the arriving one after them, at their new places.
std::vector<DocumentView::Shown> DocumentView::newLayout() {
  std::vector<Shown> layout;
  if (isThePanels()) return layout;
  std::vector<QSizeF> sizes;
  for (const Page& page : m_document->pages()) {
    sizes.push_back(page.sizeMm());
    layout.push_back({page.id, {}, page.id == m_standIn.id ? m_standIn.raster : page.raster, page.dpi()});
  }
  if (m_live && m_live->isRunning() && (m_live->hasLines() || !sizes.empty())) {
    sizes.push_back(m_live->sizeMm());
    layout.push_back({0, {}, m_live->raster(), m_live->dpi()});
  }
  // Rows stay as they are under the eyes of a person who looks at a place.
  const bool mayWrap = m_fit != Fit::Place || !(m_rowWidth > 0);
  if (mayWrap) m_rowWidth = bestRowWidth(sizes, double(m_surface->width()) / std::max(1, m_surface->height()));
  const std::vector<QRectF> places = layInRows(sizes, m_rowWidth);
  for (std::size_t i = 0; i < layout.size(); ++i) layout[i].mm = places[i];
  return layout;
}

bool DocumentView::isThePanels() const {
  return m_previews || (m_follows && m_live && m_live->isRunning() && !m_live->hasLines());
}

void DocumentView::showPreview() {
  if (m_previews) return;
  m_beforePreview = {m_fit, m_fitted, m_port->Transform()};
  m_previews = true;
  relayout();
  showFitted();
}

void DocumentView::endPreview() {
  if (!std::exchange(m_previews, false)) return;
  m_fit = m_beforePreview.fit;
  m_fitted = m_beforePreview.page;
  relayout();
  m_fit == Fit::Place ? setTransform(m_beforePreview.transform) : showFitted();
}

/// What lies nearest to the middle of the view.
int DocumentView::middlePage() const {
  const QPointF middle = QRectF(m_surface->rect()).center();
  int nearest = 0;
  double least = std::numeric_limits<double>::infinity();
  for (const Shown& shown : m_layout) {
    const QRectF page = toView(shown.mm);
    const double dx = middle.x() - std::clamp(middle.x(), page.left(), page.right());
    const double dy = middle.y() - std::clamp(middle.y(), page.top(), page.bottom());
    if (dx * dx + dy * dy >= least) continue;
    least = dx * dx + dy * dy;
    nearest = shown.id;
  }
  return nearest;
}

void DocumentView::relayout() {
  // What stays at its place on the screen while pages move.
  const int anchor = m_fit == Fit::Page ? m_fitted : middlePage();
  relayoutAround(pageRect(anchor), anchor);
}

/// Page `anchor` comes to lie where `before` was on the screen.
void DocumentView::relayoutAround(const QRectF& before, int anchor) {
  if (m_standIn.id && !m_document->page(m_standIn.id)) m_standIn = {};
  paintRasters(newLayout());
  if (!m_document->page(m_current)) m_current = m_document->lastId();
  const QRectF now = pageRect(anchor);
  if (m_fit == Fit::Page && now.isEmpty() && !isThePanels()) m_fit = Fit::Everything;
  if (m_fit == Fit::Everything) {
    showFitted();
  } else if (!before.isEmpty() && !now.isEmpty() && before.topLeft() != now.topLeft()) {
    auto moved = m_port->Transform();
    moved.offsetX += (before.left() - now.left()) * moved.scaleX;
    moved.offsetY += (before.top() - now.top()) * moved.scaleX;
    setTransform(moved);
  }
  m_port->Invalidate(nullptr);
  updateBars();
  emit zoomChanged();
}

/// Takes a layout over: adds, moves and removes the painter's rasters by what differs.
void DocumentView::paintRasters(std::vector<Shown> layout) {
  std::map<quillbay::IRStor*, QRectF> wanted, known;
  for (const Shown& shown : layout) {
    if (shown.raster) wanted[shown.raster.get()] = shown.mm;
  }
  std::swap(m_layout, layout);
  for (Shown& old : layout) {
    if (!old.raster) continue;
    known[old.raster.get()] = old.mm;
    if (wanted.count(old.raster.get()) > 0) continue;
    m_rasters->Remove(old.raster.get());
    m_images.letGo(std::move(old.raster));
  }
  for (const Shown& shown : m_layout) {
    if (!shown.raster) continue;
    const QPointF corner = wanted[shown.raster.get()].topLeft();  // a page may stand twice for a moment
    const auto at = known.find(shown.raster.get());
    if (at == known.end()) {
      m_rasters->Add(shown.raster.get(), {corner.x(), -corner.y()}, shown.dpi);
    } else if (at->second.topLeft() != corner) {
      m_rasters->Move(shown.raster.get(), {corner.x(), -corner.y()});
    }
  }
}

QRectF DocumentView::everything() const {
  QRectF all;
  for (const Shown& shown : m_layout) all |= shown.mm;
  return all;
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
  endPreview();
  m_port->RememberView();
  m_fit = Fit::Everything;
  m_follows = false;
  relayout();  // the rows may have grown long meanwhile
}

void DocumentView::fitPage(int id) {
  endPreview();
  if (pageRect(id).isEmpty()) return;
  setCurrent(id);
  m_port->RememberView();
  m_fit = Fit::Page;
  m_fitted = id;
  m_follows = false;
  showFitted();
}

/// Sets the transform without a step for "back".
void DocumentView::setTransform(const quillbay::CRTfm& wanted) {
  const QScopedValueRollback ours(m_ours, true);
  m_port->SetTransform(wanted, 0);
  m_port->Invalidate(nullptr);
}

void DocumentView::show(const QRectF& mm) {
  const QRectF client =
      QRectF(m_surface->rect()).adjusted(kMarginPixels, kMarginPixels, -kMarginPixels, -kMarginPixels);
  if (mm.isEmpty() || client.isEmpty()) return;
  const double scale = std::min(client.width() / mm.width(), client.height() / mm.height());
  const QPointF offset = client.center() - mm.center() * scale;
  setTransform({scale, -scale, 0, offset.x(), offset.y()});
}

void DocumentView::showFitted() {
  quillbay::tagRRECT shown;
  if (m_layout.empty() && m_port->GetExtents(&shown)) {  // the panel's
    show(QRectF(QPointF(shown.left, -shown.bottom), QPointF(shown.right, -shown.top)));
    return;
  }
  if (m_fit != Fit::Place) show(m_fit == Fit::Everything ? everything() : pageRect(m_fitted));
}

/// Whether the change of the transform that was proposed shall not be: a view port shows everything when its size
/// has changed, this view what it showed.
bool DocumentView::keepsSight() {
  if (!std::exchange(m_resizing, false)) return false;
  const QSize grown = m_surface->size() - std::exchange(m_clientSize, m_surface->size());
  if (m_fit == Fit::Place) {
    auto kept = m_port->Transform();
    kept.offsetX += grown.width() / 2.0;
    kept.offsetY += grown.height() / 2.0;
    setTransform(kept);
  } else {
    showFitted();
  }
  return true;
}

void DocumentView::resized() {
  m_resizing = !m_layout.empty();
  if (!m_resizing) m_clientSize = m_surface->size();
}

void DocumentView::transformChanged() {
  if (!m_ours && !m_layout.empty()) {
    m_fit = Fit::Place;
    m_follows = false;
  }
  updateBars();
  emit zoomChanged();
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

void DocumentView::actualPixels() {
  endPreview();
  scaleTo(pixelScale());
}

void DocumentView::zoomBy(double factor) {
  if (!m_layout.empty()) scaleTo(m_port->Transform().scaleX * factor);
}

void DocumentView::pan(double dx, double dy) { m_port->ScrollByPixels(qRound(dx), qRound(dy)); }

void DocumentView::setCurrent(int id) {
  if (m_current == id || !m_document->page(id)) return;
  m_current = id;
  m_port->Invalidate(nullptr);
  emit zoomChanged();
}

void DocumentView::reveal(int id) {
  endPreview();
  const QRectF page = toView(pageRect(id)), client = m_surface->rect();
  if (page.isEmpty()) return;
  if (m_fit == Fit::Page && m_fitted != id) {
    fitPage(id);
    return;
  }
  const QRectF seen = page & client;
  const double most = std::min(page.width(), client.width()) * std::min(page.height(), client.height());
  if (seen.width() * seen.height() >= kSeenPart * most) return;
  const QPointF by = client.center() - page.center();
  pan(by.x(), by.y());
}

void DocumentView::paintOver(QPainter& painter) const {
  painter.setBackgroundMode(Qt::TransparentMode);
  if (m_layout.empty()) {
    const QColor ground = m_surface->palette().color(QPalette::Window);
    painter.setPen(ground.lightness() > 110 ? Qt::black : Qt::white);
    painter.drawText(m_surface->rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("No pages yet. Scan one (F5), or drop picture files here."));
    return;
  }
  painter.setBrush(Qt::NoBrush);
  for (const Shown& shown : m_layout) {
    if (shown.id == 0) {
      paintLive(painter, shown.mm);
      continue;
    }
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
