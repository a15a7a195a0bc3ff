#include "view/choose.h"

#include <QPainter>
#include <QWidget>
#include <cmath>

#include "platform/pens.h"
#include "quillbay/param.h"
#include "view/band_places.h"
#include "view/default_pen.h"
#include "view/pen_dc.h"
#include "view/view_transform.h"

namespace quillbay {
namespace {

constexpr std::size_t kMostStatusCharacters = 256;
constexpr int kTransparent = 1;
/// So far a stroke may reach beyond its geometry, and more.
constexpr double kMarginPixels = 8;

/// The first characters of a text in UTF-8.
std::string shortened(std::string text, std::size_t most) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool begins = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
    if (begins && characters++ == most) return text.substr(0, i);
  }
  return text;
}

/// The unit that the host's settings name; none: millimetres.
KxPtr<ILinearUnit> currentUnit(IApp* app) {
  const auto profile = query<IProfile>(app);
  const auto styles = query<IStyleManager>(app);
  if (!profile || !styles) return {};
  const auto section = KxPtr<IParam>::adopt(profile->GetSection("View", 0));
  const std::string name = section ? paramString(section.get(), "Unit") : std::string();
  return KxPtr<ILinearUnit>::adopt(styles->GetLinearUnit(name.empty() ? "mm" : name.c_str()));
}

}  // namespace

bool CChooseBase::open(const ChooseOrder& order) {
  m_app = order.app;
  m_view = order.view;
  m_name = order.name;
  m_value = order.value;
  m_rubberSink = query<IToolCtxRubberSink>(order.sink);
  m_cursorSink = query<IToolCtxCursorSink>(order.sink);
  m_statusSink = query<IToolCtxStatusBarSink>(order.sink);
  const auto mouse = m_view.as<IConnectionPoint<IKxViewMouseReactor>>();
  const auto keys = m_view.as<IConnectionPoint<IKxViewKeySink>>();
  if (!mouse || !keys || !m_view.as<IConnectionPoint<IKxViewPaintReactor>>()) return false;
  m_mouse.Subscribe(mouse.get());
  m_keys.Subscribe(keys.get());
  // The keys come here, and the pointer counts before it clicks.
  m_view->SetActive(1);
  band().start();
  showCursor();
  return true;
}

void CChooseBase::drop() {
  m_isClosed = true;
  m_rubberSink = nullptr;
  band().attach(nullptr);
  if (!m_view) return;
  if (band().state() == RubberState::Running) {
    redraw(band().drawing(pixel()), {});
    setPolarOrigin(nullptr);
  }
  restoreCursor();
}

int CChooseBase::GetPoint(int index, CRPoint* out) { return out && band().point(index, out) ? 1 : 0; }
int CChooseBase::GetLine(int index, CRLine* out) { return out && band().line(index, out) ? 1 : 0; }
int CChooseBase::GetRect(int index, CRRect* out) { return out && band().rect(index, out) ? 1 : 0; }
int CChooseBase::GetCircle(int index, CRCircle* out) { return out && band().circle(index, out) ? 1 : 0; }

int CChooseBase::Command(int command) {
  const auto self = held();
  if (m_isClosed || (command == kChooseRestart && !m_view->GetWindow())) return 0;
  return band().command(command) ? 1 : 0;
}

int CChooseBase::Close() {
  if (m_isClosed) return 0;
  const auto self = held();
  m_isClosed = true;
  const RubberState state = band().state();
  if (state == RubberState::Running || state == RubberState::Commanded) band().end(RubberState::Cancelled);
  m_mouse.Unsubscribe();
  m_keys.Unsubscribe();
  m_rubberSink = nullptr;
  m_cursorSink = nullptr;
  return 1;
}

int CChooseBase::MoveTo(const CRPoint& at) {
  const auto self = held();
  return band().move(at) ? 1 : 0;
}

int CChooseBase::FixPoint(const CRPoint& at) {
  const auto self = held();
  return band().fix(at) ? 1 : 0;
}

int CChooseBase::TakeBack() {
  const auto self = held();
  return band().takeBack() ? 1 : 0;
}

int CChooseBase::Finish() {
  const auto self = held();
  return band().finish() ? 1 : 0;
}

int CChooseBase::GetStatusText(int part, std::string* out) {
  if (!out || part < 0 || part > 1) return 0;
  const auto self = held();
  std::string callers;
  if (!m_statusSink || !m_statusSink->GetText(this, part, &callers)) callers.clear();
  callers = shortened(std::move(callers), kMostStatusCharacters);
  if (part == 0) {
    *out = callers.empty() ? band().hint() : callers;
    return 1;
  }
  const std::string own = band().measures(currentUnit(m_app.get()).get());
  *out = callers.empty() || own.empty() ? callers + own : callers + ' ' + own;
  return 1;
}

void CChooseBase::setPainted(bool painted) {
  if (!painted) {
    m_paint.Unsubscribe();
    restoreCursor();
  } else if (!m_paint.isSubscribed()) {
    m_paint.Subscribe(m_view.as<IConnectionPoint<IKxViewPaintReactor>>().get());
  }
}

void CChooseBase::redraw(const CRPolyVector& before, const CRPolyVector& now) {
  m_places.clear();
  placesOfDifference(before, now, withMargin(m_view->GetVisibleArea()), pixel(), &m_places);
  // A stroke lies up to half a pixel beside its geometry and is a pixel wide, and where client and device pixels do
  // not meet it may lie another half aside.
  const double mm = pixel();
  for (const CRRect& p : m_places) {
    const CRRect place{p.left - mm, p.top - mm, p.right + mm, p.bottom + mm};
    m_view->Invalidate(&place);
  }
}

CRRect CChooseBase::withMargin(const CRRect& area) const {
  const double margin = kMarginPixels * pixel();
  return {area.left - margin, area.top - margin, area.right + margin, area.bottom + margin};
}

double CChooseBase::pixel() const {
  const double scale = m_view->Transform().scaleX;
  return scale > 0 ? 1 / scale : 1;
}

void CChooseBase::setPolarOrigin(const CRPoint* at) {
  const auto polar = m_view.as<IPolarPoint>();
  if (!polar) return;
  if (at) {
    polar->SetOrigin(*at);
  } else {
    polar->ResetOrigin();
  }
}

void CChooseBase::pointMoved(int index, const CRPoint& at) {
  if (const auto sink = m_rubberSink) sink->PointMoved(this, index, at);
}

void CChooseBase::pointFixed(int index, const CRPoint& at) {
  if (const auto sink = m_rubberSink) sink->PointFixed(this, index, at);
}

void CChooseBase::pointTakenBack(int index) {
  if (const auto sink = m_rubberSink) sink->PointTakenBack(this, index);
}

void CChooseBase::ended(RubberState state) {
  if (state != RubberState::Finished && state != RubberState::Cancelled) return;
  if (const auto sink = m_rubberSink) {
    if (state == RubberState::Finished) {
      sink->Finished(this);
    } else {
      sink->Cancelled(this);
    }
  }
  Close();
}

/// The caller's cursor, or a cross.
void CChooseBase::showCursor() {
  if (GetState() != RubberState::Running) return;
  const int asked = m_cursorSink ? m_cursorSink->GetCursor(this, 0) : -1;
  const int cursor = asked < 0 ? static_cast<int>(Qt::CrossCursor) : asked;
  if (m_cursorBefore && cursor == m_cursor) return;
  QWidget* window = m_view->GetWindow();
  if (!m_cursorBefore) m_cursorBefore = window ? static_cast<int>(window->cursor().shape()) : Qt::ArrowCursor;
  m_view->SetCursorShape(cursor);
  m_cursor = cursor;
}

void CChooseBase::restoreCursor() {
  if (!m_cursorBefore) return;
  m_view->SetCursorShape(*m_cursorBefore);
  m_cursorBefore.reset();
}

void CChooseBase::paint(IKxViewDC& dc) {
  QPainter* painter = dc.GetPainter();
  if (!painter) return;
  const double ratio = painter->device()->devicePixelRatioF();
  const auto surface = KxPtr<CPenDC>::adopt(new CPenDC(painter, dc.GetClientClip(), ratio));
  surface->SetBackgroundMode(kTransparent);
  surface->SetDrawingMode(kDrawXor);
  selectDefaultPen(surface.get(), 0);
  const auto pen = KxPtr<IPen>::adopt(surface->GetPen());
  elementsIn(band().drawing(pixel()), withMargin(dc.GetClip()), &m_inClip);
  pen->DrawPolyVector(surface.get(), view::onDevice(dc.GetTransform(), ratio), m_inClip);
  surface->Flush();
}

int CChooseBase::PaintReactor::QueryInterface(const std::type_info& wanted, void** out) {
  return wanted == typeid(IKxViewOverlay) ? m_mark.QueryInterface(wanted, out) : Sink::QueryInterface(wanted, out);
}

int CChooseBase::PaintReactor::Paint(IKxViewPort*, IKxViewDC* dc, int) {
  owner()->paint(*dc);
  return 1;
}

int CChooseBase::MouseReactor::MouseMove(int flags, const tagRPOINT& at) {
  owner()->showCursor();
  RubberBand& band = owner()->band();
  if ((flags & kMouseLeft) != 0) {
    band.drag(at);
  } else {
    band.move(at);
  }
  return 1;
}

int CChooseBase::MouseReactor::LeftDown(int, const tagRPOINT& at) {
  owner()->band().press(at);
  return 1;
}

int CChooseBase::MouseReactor::LeftUp(int, const tagRPOINT& at) {
  owner()->band().release(at);
  return 1;
}

int CChooseBase::MouseReactor::LeftDoubleClick(int, const tagRPOINT& at) {
  owner()->band().doubleClick(at);
  return 1;
}

int CChooseBase::MouseReactor::RightDown(int, const tagRPOINT&) {
  owner()->band().finish();
  return 1;
}

}  // namespace quillbay
