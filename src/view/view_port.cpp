#include "view/view_port.h"

#include <algorithm>
#include <memory>

#include "platform/shape_math.h"
#include "view/key_scroll.h"
#include "view/tool_ctx.h"
#include "view/view_transform.h"

namespace quillbay {
namespace {

/// Calls `call` for every sink, until it answers false.
template <class I, class Call>
void forEach(const KxPtr<TConnectionPointImpl<I>>& point, Call&& call) {
  const auto sinks = point->Enumerate();
  while (const KxPtr<I> sink = sinks->Next()) {
    if (!call(*sink)) return;
  }
}

template <class I>
int change(const KxPtr<TConnectionPointImpl<I>>& point, IKxUnknown* reactor, bool add) {
  const auto sink = query<I>(reactor);
  if (!sink) return 0;
  return add ? point->Subscribe(sink.get()) : point->Unsubscribe(sink.get());
}

}  // namespace

CViewPort::CViewPort(IApp* app)
    : m_app(KxPtr<IApp>::share(app)), m_tfm(view::baseTransform()), m_settings(readViewSettings(app)) {}

int CViewPort::QueryInterface(const std::type_info& wanted, void** out) {
  const auto give = [&](auto& point) {
    point->AddRef();
    *out = point.get();
    return 1;
  };
  if (wanted == typeid(IConnectionPoint<IKxViewZoomSink>)) return give(m_zoomSinks);
  if (wanted == typeid(IConnectionPoint<IKxViewPaintReactor>)) return give(m_paintReactors);
  if (wanted == typeid(IConnectionPoint<IKxViewMouseReactor>)) return give(m_mouseReactors);
  if (wanted == typeid(IConnectionPoint<IKxViewKeySink>)) return give(m_keySinks);
  if (wanted == typeid(ISetReactor)) {
    AddRef();
    *out = static_cast<ISetReactor*>(this);
    return 1;
  }
  return CKxUnknownImpl::QueryInterface(wanted, out);
}

int CViewPort::AddReactor(IKxUnknown* reactor) {
  return change(m_zoomSinks, reactor, true) + change(m_paintReactors, reactor, true) +
                     change(m_mouseReactors, reactor, true) + change(m_keySinks, reactor, true) >
                 0
             ? 1
             : 0;
}

int CViewPort::RemoveReactor(IKxUnknown* reactor) {
  return change(m_zoomSinks, reactor, false) + change(m_paintReactors, reactor, false) +
                     change(m_mouseReactors, reactor, false) + change(m_keySinks, reactor, false) >
                 0
             ? 1
             : 0;
}

IToolCtx* CViewPort::CreateToolCtx() { return m_window ? new CToolCtx(m_app.get(), this) : nullptr; }

int CViewPort::SetOrigin(const CRPoint& at) {
  m_polarOrigin = at;
  return 1;
}

int CViewPort::ResetOrigin() {
  m_polarOrigin.reset();
  return 1;
}

int CViewPort::GetOrigin(CRPoint* out) {
  if (!m_polarOrigin || !out) return 0;
  *out = *m_polarOrigin;
  return 1;
}

CRPoint CViewPort::Hold(const CRPoint& at) { return m_polarOrigin ? shape::heldTo45(*m_polarOrigin, at) : at; }

int CViewPort::Invalidate(const tagRRECT* area) {
  if (!m_window) return 0;
  if (!area) {
    m_window->update();
    return 1;
  }
  const KxRect r = view::pixelCover(view::toClient(m_tfm, *area), 1, GetClientSize());
  if (r.left < r.right && r.top < r.bottom) m_window->update(r.left, r.top, r.right - r.left, r.bottom - r.top);
  return 1;
}

int CViewPort::Update() {
  if (!m_window) return 0;
  m_window->paintPending();
  return 1;
}

tagRPOINT CViewPort::ToDocument(double x, double y) { return view::toDocument(m_tfm, tagRPOINT{x, y}); }

tagRPOINT CViewPort::ToClient(const tagRPOINT& at) { return view::toClient(m_tfm, at); }

int CViewPort::GetExtents(tagRRECT* out) {
  bool known = false;
  tagRRECT all;
  forEach(m_paintReactors, [&](IKxViewPaintReactor& reactor) {
    tagRRECT r;
    if (!reactor.GetArea(this, &r)) return true;
    all = known ? tagRRECT{std::min(all.left, r.left), std::min(all.top, r.top), std::max(all.right, r.right),
                           std::max(all.bottom, r.bottom)}
                : r;
    known = true;
    return true;
  });
  if (known && out) *out = all;
  return known ? 1 : 0;
}

int CViewPort::SetCursorShape(int shape) {
  if (!m_window || shape < 0 || shape > Qt::LastCursor) return 0;
  m_window->setCursor(static_cast<Qt::CursorShape>(shape));
  return 1;
}

KxSize CViewPort::GetClientSize() { return m_window ? KxSize{m_window->width(), m_window->height()} : KxSize{}; }

tagRRECT CViewPort::GetVisibleArea() {
  const KxSize size = GetClientSize();
  return view::toDocument(m_tfm, tagRRECT{0, 0, double(size.width), double(size.height)});
}

int CViewPort::IsVisible(const tagRPOINT& at) {
  const tagRRECT r = GetVisibleArea();
  return m_window && at.x >= r.left && at.x <= r.right && at.y >= r.top && at.y <= r.bottom ? 1 : 0;
}

int CViewPort::GetTransform(CRTfm* out) {
  if (!out) return 0;
  *out = m_tfm;
  return 1;
}

CRTfm CViewPort::GetBaseTransform() { return view::baseTransform(); }

int CViewPort::SetTransform(const CRTfm& proposed, int testOnly) {
  if (!m_window || !view::isAllowed(proposed, GetClientSize())) return 0;
  const CRTfm now = proposed;  // the caller's may be ours
  bool accepted = true;
  forEach(m_zoomSinks, [&](IKxViewZoomSink& sink) {
    accepted = sink.TransformChanging(this, now) != 0;
    return accepted;
  });
  if (!accepted || testOnly) return accepted ? 1 : 0;
  const CRTfm before = m_tfm;
  m_tfm = now;
  forEach(m_zoomSinks, [&](IKxViewZoomSink& sink) {
    sink.TransformChanged(this, before, now);
    return true;
  });
  return 1;
}

/// A zoom operation: can be gone back from.
int CViewPort::zoomTo(const CRTfm& proposed) {
  const CRTfm before = m_tfm;
  if (!SetTransform(proposed, 0)) return 0;
  if (m_tfm != before) m_history.remember(before);
  return Invalidate(nullptr);
}

int CViewPort::ActualSize() { return zoomTo(view::actualSize(m_tfm, GetClientSize())); }

int CViewPort::ZoomIn() { return zoomTo(view::zoomedAbout(m_tfm, 2, view::clientCentre(GetClientSize()))); }

int CViewPort::ZoomOut() {
  return CanZoomOut() ? zoomTo(view::zoomedAbout(m_tfm, 0.5, view::clientCentre(GetClientSize()))) : 0;
}

int CViewPort::ZoomToRectangle(const tagRRECT& area) {
  return zoomTo(view::zoomedToRectangle(m_tfm, area, GetClientSize()));
}

int CViewPort::ZoomByFactor(double factor, const tagRPOINT& at) {
  return zoomTo(view::zoomedTo(m_tfm, factor, at, GetClientSize()));
}

int CViewPort::ZoomToExtents() { return zoomToExtents(true); }

int CViewPort::zoomToExtents(bool remember) {
  tagRRECT extents;
  if (!m_window || !GetExtents(&extents)) return 0;
  const CRTfm proposed = view::zoomedToExtents(m_tfm, extents, GetClientSize());
  if (remember) return zoomTo(proposed);
  return SetTransform(proposed, 0) ? Invalidate(nullptr) : 0;
}

int CViewPort::CanZoomIn() {
  return SetTransform(view::zoomedAbout(m_tfm, 2, view::clientCentre(GetClientSize())), 1);
}

int CViewPort::CanZoomOut() {
  return SetTransform(view::zoomedAbout(m_tfm, 0.5, view::clientCentre(GetClientSize())), 1);
}

int CViewPort::RememberView() {
  m_history.remember(m_tfm);
  return 1;
}

int CViewPort::Back() {
  const auto target = m_history.back();
  const CRTfm from = m_tfm;
  if (!target || !SetTransform(*target, 0)) return 0;
  m_history.wentBack(from);
  return Invalidate(nullptr);
}

int CViewPort::Forward() {
  const auto target = m_history.forward();
  const CRTfm from = m_tfm;
  if (!target || !SetTransform(*target, 0)) return 0;
  m_history.wentForward(from);
  return Invalidate(nullptr);
}

int CViewPort::SetActive(int active) {
  if (!m_window) return 0;
  if (active) m_window->setFocus();
  const bool now = active != 0;
  if (now == m_active) return 1;
  if (!now) mouseLeaves();
  m_active = now;
  forEach(m_paintReactors, [&](IKxViewPaintReactor& reactor) {
    reactor.ActiveChanged(this, now ? 1 : 0);
    return true;
  });
  return 1;
}

int CViewPort::ReadSettings(int refresh) {
  m_settings = readViewSettings(m_app.get());
  return refresh ? Invalidate(nullptr) : 1;
}

int CViewPort::ScrollByPixels(int dx, int dy) {
  const CRTfm proposed = view::scrolled(m_tfm, dx, dy);
  if (!SetTransform(proposed, 0)) return 0;
  if (m_tfm != proposed) return Invalidate(nullptr);  // a sink went elsewhere when it was told
  if (m_window) m_window->scrollContents(dx, dy);
  return 1;
}

int CViewPort::Capture() {
  if (!m_window) return 0;
  m_window->grabMouse();
  return 1;
}

int CViewPort::ReleaseCapture() {
  if (!HasCapture()) return 0;
  m_window->releaseMouse();
  return 1;
}

int CViewPort::HasCapture() { return m_window && QWidget::mouseGrabber() == m_window ? 1 : 0; }

void CViewPort::resized(bool normal) {
  if (normal) {
    const KxSize size = GetClientSize();
    forEach(m_zoomSinks, [&](IKxViewZoomSink& sink) {
      sink.Resized(this, size);
      return true;
    });
  }
  zoomToExtents(false);
}

void CViewPort::wheel(int delta, const tagRPOINT& at) {
  constexpr int kStep = 120;
  if (delta == 0) return;  // across: it turns nothing here
  if ((m_wheelRest > 0) != (delta > 0)) m_wheelRest = 0;
  m_wheelRest += delta;
  if (m_wheelRest > -kStep && m_wheelRest < kStep) return;
  const bool forward = m_wheelRest > 0;
  m_wheelRest %= kStep;
  if (!SetTransform(view::wheeled(m_tfm, forward, m_settings.wheelScaleStep, at), 0)) return;
  Invalidate(nullptr);
  Update();
}

bool CViewPort::scrollsBy(int key, std::uint32_t flags) {
  return (flags & kKeyAlt) != 0 && view::keyScroll(key, GetClientSize(), m_settings.arrowsScrollStep).has_value();
}

bool CViewPort::offerKey(int key, std::uint32_t flags) {
  bool handled = false;
  forEach(m_keySinks, [&](IKxViewKeySink& sink) {
    handled = sink.KeyDown(key, flags) != 0;
    return !handled;
  });
  return handled;
}

bool CViewPort::scrollBy(int key, std::uint32_t flags) {
  if ((flags & kKeyAlt) == 0) return false;
  const auto by = view::keyScroll(key, GetClientSize(), m_settings.arrowsScrollStep);
  if (by) ScrollByPixels(by->x, by->y);
  return by.has_value();
}

bool CViewPort::keyUp(int key, std::uint32_t flags) {
  bool handled = false;
  forEach(m_keySinks, [&](IKxViewKeySink& sink) {
    handled = sink.KeyUp(key, flags) != 0;
    return !handled;
  });
  return handled;
}

void CViewPort::mouse(MouseCall call, int flags, const tagRPOINT& client) {
  m_mouseInside = true;
  if (!m_active) return;
  tagRPOINT at = view::toDocument(m_tfm, client);
  if ((flags & kMouseShift) != 0) at = Hold(at);
  forEach(m_mouseReactors, [&](IKxViewMouseReactor& reactor) {
    (reactor.*call)(flags, at);
    return true;
  });
}

void CViewPort::mouseLeaves() {
  const bool inside = std::exchange(m_mouseInside, false);
  if (!inside || !m_active) return;
  forEach(m_mouseReactors, [](IKxViewMouseReactor& reactor) {
    reactor.MouseLeave();
    return true;
  });
}

void CViewPort::windowCloses() {
  forEach(m_paintReactors, [&](IKxViewPaintReactor& reactor) {
    reactor.Closing(this);
    return true;
  });
  m_window = nullptr;
}

}  // namespace quillbay
