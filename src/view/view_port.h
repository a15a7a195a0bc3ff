#pragma once
#include <QImage>
#include <QRegion>
#include <optional>

#include "quillbay/choosers.h"
#include "view/view_dc.h"
#include "view/view_settings.h"
#include "view/view_window.h"
#include "view/zoom_history.h"

namespace quillbay {

/// The view port of `new_ViewPort`: transform, sinks and painting; its window turns events into calls.
class CViewPort final
    : public CKxUnknownImpl<IKxViewPort, ICmdProcess, IViewCtx, IKxView, IToolCtxSource, IPolarPoint> {
 public:
  explicit CViewPort(IApp* app);
  int QueryInterface(const std::type_info& wanted, void** out) override;

  int Invalidate(const tagRRECT* area) override;
  int Invalidate() override { return Invalidate(nullptr); }
  int Update() override;
  tagRPOINT ToDocument(double x, double y) override;
  tagRPOINT ToClient(const tagRPOINT& at) override;
  int GetExtents(tagRRECT* out) override;
  int SetCursorShape(int shape) override;
  KxSize GetClientSize() override;
  tagRRECT GetVisibleArea() override;
  IKxViewDC* PrepareDrawing() override;
  const CRTfm& Transform() override { return m_tfm; }
  int GetTransform(CRTfm* out) override;
  int SetTransform(const CRTfm& proposed, int testOnly) override;
  CRTfm GetBaseTransform() override;
  int ActualSize() override;
  int ZoomIn() override;
  int ZoomOut() override;
  int ZoomToRectangle(const tagRRECT& area) override;
  int ZoomToExtents() override;
  int CanZoomIn() override;
  int CanZoomOut() override;
  int RememberView() override;
  int Back() override;
  int HasBack() override { return m_history.back() ? 1 : 0; }
  int Forward() override;
  int HasForward() override { return m_history.forward() ? 1 : 0; }
  int IsActive() override { return m_active ? 1 : 0; }
  int SetActive(int active) override;
  int ReadSettings(int refresh) override;
  int ScrollByPixels(int dx, int dy) override;
  int Capture() override;
  int ReleaseCapture() override;
  int HasCapture() override;
  int IsVisible(const tagRPOINT& at) override;
  QWidget* GetWindow() override { return m_window; }

  int ZoomByFactor(double factor, const tagRPOINT& at) override;
  int AddReactor(IKxUnknown* reactor) override;
  int RemoveReactor(IKxUnknown* reactor) override;
  IToolCtx* CreateToolCtx() override;
  int SetOrigin(const CRPoint& at) override;
  int ResetOrigin() override;
  int GetOrigin(CRPoint* out) override;
  CRPoint Hold(const CRPoint& at) override;

  // What the window hands on.
  void setWindow(CViewWindow* window) { m_window = window; }
  void windowCloses();
  void paint(const QRegion& region);
  void resized(bool normal);
  void wheel(int delta, const tagRPOINT& at);
  /// Offers a key that went down to the key sinks. Answers whether one handled it.
  bool offerKey(int key, std::uint32_t flags);
  /// Scrolls by a key. Answers whether it is one that scrolls.
  bool scrollBy(int key, std::uint32_t flags);
  bool keyUp(int key, std::uint32_t flags);
  /// Whether the view scrolls by this key, so that no menu may have it first.
  [[nodiscard]] bool scrollsBy(int key, std::uint32_t flags);
  using MouseCall = int (IKxViewMouseReactor::*)(int flags, const tagRPOINT& at);
  void mouse(MouseCall call, int flags, const tagRPOINT& client);
  void mouseLeaves();

 private:
  template <class I>
  using Point = KxPtr<TConnectionPointImpl<I>>;
  template <class I>
  [[nodiscard]] static Point<I> newPoint() {
    return Point<I>::adopt(new TConnectionPointImpl<I>);
  }
  int zoomTo(const CRTfm& proposed);
  int zoomToExtents(bool remember);
  /// Those that draw over the others, or the others.
  void paintReactors(QPainter& painter, CViewDC& dc, bool overlays);

  KxPtr<IApp> m_app;
  CViewWindow* m_window = nullptr;  // until it closes
  Point<IKxViewZoomSink> m_zoomSinks = newPoint<IKxViewZoomSink>();
  Point<IKxViewPaintReactor> m_paintReactors = newPoint<IKxViewPaintReactor>();
  Point<IKxViewMouseReactor> m_mouseReactors = newPoint<IKxViewMouseReactor>();
  Point<IKxViewKeySink> m_keySinks = newPoint<IKxViewKeySink>();
  CRTfm m_tfm;
  ZoomHistory m_history;
  ViewSettings m_settings;
  std::optional<CRPoint> m_polarOrigin;
  bool m_active = false;
  bool m_mouseInside = false;
  int m_wheelRest = 0;           // of a step, from wheels that tell smaller parts
  CViewDC* m_paintDC = nullptr;  // while a paint runs
  QImage m_overlay;              // what was drawn outside a paint and not shown yet
};

}  // namespace quillbay
