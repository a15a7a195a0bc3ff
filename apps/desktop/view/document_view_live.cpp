// The page that is being scanned, in the document's view.
#include <QPainter>
#include <algorithm>
#include <utility>

#include "view/document_view.h"

namespace desktop {

namespace {
constexpr double kEdgePixels = 2;
/// A page that ends earlier than the room it was given, which a page of unknown length may, is shown in full anew.
constexpr double kMuchShorter = 0.9;
/// What is still to come is lighter than the ground.
constexpr int kExpectedAlpha = 32, kOutlineAlpha = 150;
}  // namespace

void DocumentView::setLive(LivePage* live) {
  m_live = live;
  connect(live, &LivePage::began, this, &DocumentView::liveBegan);
  connect(live, &LivePage::resized, this, &DocumentView::liveResized);
  connect(live, &LivePage::grew, this, &DocumentView::liveGrew);
  connect(live, &LivePage::became, this, &DocumentView::liveBecame);
  connect(live, &LivePage::vanished, this, &DocumentView::liveVanished);
}

bool DocumentView::showsLive() const {
  return m_live && m_live->isRunning() && m_fit == Fit::Page && m_fitted == 0;
}

void DocumentView::liveBegan() {
  endPreview();
  m_edgeMm = 0;
  if (m_live->number() <= 1) m_follows = true;
  if (m_follows) {
    m_before = {m_fit, m_fitted, m_port->Transform()};
    m_port->RememberView();
    m_fit = Fit::Page;
    m_fitted = 0;
  }
  relayout();
  if (m_follows) showFitted();
}

void DocumentView::liveResized() {
  relayout();
  if (showsLive()) showFitted();
}

/// Asks for the new lines alone, and for the edge at its old and its new place.
void DocumentView::liveGrew() {
  m_rasters->Refresh();
  const QRectF page = pageRect(0);
  const double margin = (kEdgePixels + 1) / m_port->Transform().scaleX;
  const double edge = m_live->arrivedMm();
  for (const double y : {m_edgeMm, edge}) {
    const double top = page.top() + y - margin, bottom = page.top() + y + margin;
    const quillbay::tagRRECT strip{page.left() - margin, -bottom, page.right() + margin, -top};
    m_port->Invalidate(&strip);
  }
  m_edgeMm = edge;
}

void DocumentView::liveBecame(int id, const quillbay::KxPtr<quillbay::IRStor>& raster) {
  const int anchor = m_fit == Fit::Page ? m_fitted : middlePage();
  const QRectF before = pageRect(anchor);
  if (m_fit == Fit::Page && m_fitted == 0) m_fitted = id;
  const Page* page = m_document->page(id);
  if (page && raster && page->raster.get() != raster.get()) m_standIn = {id, raster};
  relayoutAround(before, anchor == 0 ? id : anchor);
  const bool isShown = m_fit == Fit::Page && m_fitted == id;
  if (isShown && pageRect(id).height() < kMuchShorter * before.height()) showFitted();
}

void DocumentView::liveVanished() {
  if (m_fit == Fit::Page && m_fitted == 0) {
    m_fit = m_before.fit;
    m_fitted = m_before.page;
    relayout();
    m_fit == Fit::Place ? setTransform(m_before.transform) : showFitted();
    return;
  }
  relayout();
}

/// The page's own raster can be painted at once now.
void DocumentView::endStandIn(int id) {
  if (m_standIn.id != id) return;
  m_standIn = {};
  relayout();
}

void DocumentView::paintLive(QPainter& painter, const QRectF& mm) const {
  const QRectF page = toView(mm) & QRectF(m_surface->rect()).adjusted(-4, -4, 4, 4);
  if (page.isEmpty()) return;
  const double edge = toView(QRectF(mm.left(), mm.top(), mm.width(), m_live->arrivedMm())).bottom();
  QRectF arrived = page, expected = page;
  arrived.setBottom(std::clamp(edge, page.top(), page.bottom()));
  expected.setTop(arrived.bottom());
  QColor light(Qt::white);  // on the ground of any palette
  light.setAlpha(kExpectedAlpha);
  painter.fillRect(expected, light);
  light.setAlpha(kOutlineAlpha);
  painter.setPen(QPen(light, 1, Qt::DashLine));
  painter.drawRect(expected);
  painter.setPen(QPen(palette().color(QPalette::Shadow), 1));
  painter.drawRect(arrived);
  if (edge < page.top() || edge > page.bottom()) return;
  painter.fillRect(QRectF(page.left(), edge, page.width(), kEdgePixels), palette().color(QPalette::Highlight));
}

}  // namespace desktop
