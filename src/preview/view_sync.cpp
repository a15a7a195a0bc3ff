#include "preview/view_sync.h"

#include <QApplication>
#include <QPaintEngine>
#include <QPainter>
#include <QPolygonF>
#include <QWidget>
#include <algorithm>
#include <utility>
#include <vector>

#include "analysis/sheet_outline.h"
#include "platform/base_services.h"
#include "preview/first_frame.h"
#include "preview/sheet_painter.h"
#include "preview/store_picture.h"
#include "preview/view_places.h"
#include "stores/preview_stor.h"
#include "view/view_transform.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {

/// All of the process, the oldest first. User-interface thread.
std::vector<CViewSync*>& all() {
  static std::vector<CViewSync*> list;
  return list;
}

/// While others are asked what they show, no object of this class answers.
int s_askingOthers = 0;

bool othersShow(IKxViewPort& port) {
  ++s_askingOthers;
  tagRRECT area;
  const bool show = port.GetExtents(&area) != 0;
  --s_askingOthers;
  return show;
}

/// "Scan To File" and so on, by the destination's number.
std::string destinationName(std::int32_t mode) {
  switch (mode) {
    case 0: return Supp_Translate("Scan To File");
    case 1: return Supp_Translate("Scan To Print");
    case 2: return Supp_Translate("Scan To Net");
    default: return Supp_Translate("Scan To View");
  }
}

}  // namespace

CViewSync::CViewSync(CSharedScanParams* params, std::function<bool()> isScanning)
    : m_params(KxPtr<CSharedScanParams>::share(params)), m_isScanning(std::move(isScanning)) {
  all().push_back(this);
}

CViewSync::~CViewSync() { std::erase(all(), this); }

// --- the view

void CViewSync::Attach(int value, IKxView* view) {
  if (m_view.get() != view) Detach();
  m_view = KxPtr<IKxView>::share(view);
  m_value = value;
}

void CViewSync::Detach() {
  const bool showed = m_subscribed;
  unsubscribe();
  if (showed) m_view->Invalidate();
  m_view = nullptr;
}

/// The view's window is being destroyed.
void CViewSync::viewCloses() {
  unsubscribe();
  m_view = nullptr;
}

void CViewSync::unsubscribe() {
  m_zoomSink.Unsubscribe();
  m_paintReactor.Unsubscribe();
  m_subscribed = false;
  m_port = nullptr;
}

void CViewSync::SetDisplay(int display) { m_display = display; }

void CViewSync::Subscribe() {
  if (!m_view) return;
  if (m_display == 0) return unsubscribe();
  if (m_subscribed) return;
  m_zoomSink.Subscribe(m_view.as<IConnectionPoint<IKxViewZoomSink>>().get());
  m_subscribed = m_paintReactor.Subscribe(m_view.as<IConnectionPoint<IKxViewPaintReactor>>().get()) != 0;
  // A view that is its own port need not call first.
  if (m_subscribed) m_port = m_view.as<IKxViewPort>();
}

int CViewSync::Enable(int enable) {
  if (!m_view) return kNoView;
  SetDisplay(enable != 0 ? 1 : 0);
  Subscribe();
  frameChanged();
  m_view->Invalidate();
  return 1;
}

void CViewSync::invalidate() {
  assertUserInterfaceThread();
  if (m_view && m_display != 0) m_view->Invalidate();
}

/// Whether the port shows nothing of others, and no panel before this one has it.
bool CViewSync::isOurs(IKxViewPort* port) const {
  if (!port || m_display == 0) return false;
  for (const CViewSync* other : all()) {
    if (other == this) break;
    if (other->m_subscribed && other->m_port.get() == port) return false;
  }
  return !othersShow(*port);
}

bool CViewSync::isSeen() const {
  if (!m_subscribed || !m_port) return m_subscribed;
  const QWidget* window = m_port->GetWindow();
  return isOurs(m_port.get()) && window && window->isVisible();
}

// --- areas

int CViewSync::GetArea(tagRRECT* out) {
  if (!out || s_askingOthers > 0 || (m_port && !isOurs(m_port.get()))) return 0;
  *out = m_isScanning() && m_port ? m_port->GetVisibleArea() : m_params->values().rcPreview;
  return 1;
}

std::optional<tagRRECT> CViewSync::visibleArea() const {
  if (!m_view) return std::nullopt;
  return places::onBed(m_params->values().rcPreview, m_params->values().bedWidth);
}

void CViewSync::SetArea(const tagRRECT& area, int flag) {
  if (!m_view) return;
  if (!m_port) Subscribe();
  m_area = area;
  m_flag = flag;
  const ScanValues& v = m_params->values();
  const double aspect = m_port ? places::aspectOf(m_port->GetVisibleArea()) : kFirstFrameAspect;
  m_params->set(scan_key::RcPreview, firstFrame(area, aspect, v.minWidth, v.minHeight));
  frameChanged();
}

void CViewSync::frameChanged() {
  assertUserInterfaceThread();
  if (!m_port || m_display == 0) return;
  const KxSize client = m_port->GetClientSize();
  if (!m_isScanning() && client.width > 0 && client.height > 0 && isOurs(m_port.get())) {
    const CRTfm wanted = view::zoomedToExtents(m_port->Transform(), m_params->values().rcPreview, client);
    if (m_port->Transform() != wanted) m_port->SetTransform(wanted, 0);
  }
  m_port->Invalidate(nullptr);
}

void CViewSync::setScanned(const tagRRECT& area, std::uint32_t dpi) noexcept {
  const double mmPerPixel = kMmPerInch / (dpi > 0 ? dpi : 1);
  m_scanned = {mmPerPixel, mmPerPixel, area.left, area.top};
  m_painted.reset();
}

CRDirectTfm CViewSync::transform() const {
  if (!m_painted) return m_scanned;
  CRDirectTfm t = *m_painted;
  KxPtr<IRStor> raster;
  m_params->viewStore->Finish(raster.put(), 0, 0);
  if (!raster || raster->GetWidth() <= 0) return t;
  const double shrink = m_paintedWidth / raster->GetWidth();  // the picture may be a reduced one
  t.scaleX *= shrink;
  t.scaleY *= shrink;
  return t;
}

// --- painting

int CViewSync::Paint(IKxViewPort* view, IKxViewDC* dc, int /*flags*/) {
  assertUserInterfaceThread();
  if (!view || !dc || !dc->GetPainter() || !isOurs(view)) return 0;
  const KxPtr<ISStripStor> store = m_params->viewStore;  // a scan may put another one there
  const tagRRECT extent = store ? extentOf(*store) : tagRRECT{};
  if (!(extent.width() > 0 && extent.height() > 0)) {
    const KxSize client = view->GetClientSize();
    m_panel.paint(*dc->GetPainter(), {client.width, client.height}, panel());
    return 1;
  }
  const bool scanning = m_isScanning();
  const tagRRECT place = scanning ? view->GetVisibleArea() : m_params->values().rcPreview;
  if (!(place.width() > 0)) return 0;
  const int before = dc->GetStretchMode();
  if (!scanning) dc->SetStretchMode(kHalfTones);
  const CRTfm tfm = places::across(extent, place);
  m_stores.paint(*dc, *store, extent, tfm);
  m_painted = CRDirectTfm{tfm.scaleX, tfm.scaleY, tfm.offsetX, tfm.offsetY};
  m_paintedWidth = extent.width();
  dc->SetStretchMode(before);
  if (!scanning) paintOutline(*dc, place);
  if (!scanning && isFound(m_params->values())) paintSheetEdges(*dc, place);
  return 1;
}

void CViewSync::paintOutline(IKxViewDC& dc, const tagRRECT& frame) const {
  QPainter& painter = *dc.GetPainter();
  const KxRect r = places::outline(dc.GetTransform(), frame);
  QColor color = QApplication::palette().color(QPalette::Base);
  color.setRed(255 - color.red());
  const bool hasXor = painter.paintEngine()->hasFeature(QPaintEngine::RasterOpModes);
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setCompositionMode(hasXor ? QPainter::RasterOp_SourceXorDestination
                                    : QPainter::CompositionMode_Difference);
  painter.setBrush(Qt::NoBrush);
  QPen pen(color, 1);
  pen.setJoinStyle(Qt::MiterJoin);
  painter.setPen(pen);
  painter.drawRect(r.left, r.top, r.right - r.left - 1, r.bottom - r.top - 1);
}

/// The found document, as far as the frame shows it. The picture stands upright in the frame while the document's
/// lengths grow downwards.
void CViewSync::paintSheetEdges(IKxViewDC& dc, const tagRRECT& frame) const {
  QPolygonF edges;
  for (const tagRPOINT& corner : scannedSheet(m_params->values()).corners()) {
    const tagRPOINT at =
        view::toClient(dc.GetTransform(), tagRPOINT{corner.x, frame.top + frame.bottom - corner.y});
    edges << QPointF(at.x, at.y);
  }
  QPainter& painter = *dc.GetPainter();
  const tagRRECT inside = view::toClient(dc.GetTransform(), frame);
  painter.setClipRect(QRectF(inside.left, inside.top, inside.width(), inside.height()), Qt::IntersectClip);
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(kSheetGreen), 2));
  painter.drawPolygon(edges);
}

InfoPanel CViewSync::panel() const {
  const ScanValues& v = m_params->values();
  const ColorClass kind = pictureClassOf(v.currMode);
  return {destinationName(v.mode), v.summary, m_params->pictures[static_cast<std::size_t>(kind)], kind};
}

// --- the sinks

int CViewSync::CPaintReactor::ActiveChanged(IKxViewPort* view, int) {
  owner()->remember(view);
  owner()->BeforePaint();
  return 1;
}

int CViewSync::CPaintReactor::Paint(IKxViewPort* view, IKxViewDC* dc, int flags) {
  owner()->remember(view);
  return owner()->Paint(view, dc, flags);
}

int CViewSync::CPaintReactor::Painted(IKxViewPort* view) {
  owner()->remember(view);
  return 1;
}

int CViewSync::CPaintReactor::Closing(IKxViewPort*) {
  owner()->viewCloses();
  return 1;
}

int CViewSync::CPaintReactor::GetArea(IKxViewPort* view, tagRRECT* out) {
  // Asked while another one looks for what else is shown: this view is none of ours then.
  if (s_askingOthers > 0) return 0;
  owner()->remember(view);
  return owner()->GetArea(out);
}

}  // namespace quillbay
