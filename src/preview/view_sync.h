#pragma once
#include <functional>
#include <optional>

#include "params/shared_scan_params.h"
#include "preview/info_panel.h"
#include "preview/stor_painter.h"
#include "quillbay/view.h"

namespace quillbay {

/// Keeps the host's view and the panel together: the view shows the preview frame, paints the page that is being
/// scanned and the preview of the frame, and an information panel while there is neither. Each `Paint` finds out
/// what there is.
///
/// A view in which anybody else shows something belongs to that one: nothing is painted over it, and neither its
/// zoom nor its extents change. Where several panels share a view, the first one paints.
///
/// Life: the controller makes it, attaches it to the host's view and detaches it. A view whose window closes is let
/// go of. User-interface thread only; the store that is painted may get stripes meanwhile.
class CViewSync final : public CKxUnknownImpl<IKxUnknown> {
 public:
  /// What `Enable` answers without a view.
  static constexpr int kNoView = 32;

  /// @param isScanning  whether a page is being scanned now (no preview)
  CViewSync(CSharedScanParams* params, std::function<bool()> isScanning);

  // What the view's sinks pass on.
  int Paint(IKxViewPort* view, IKxViewDC* dc, int flags);
  /// What the view is to show. Returns 1, or 0 when it shows something of others.
  int GetArea(tagRRECT* out);
  void BeforePaint() {}
  int ZoomAsked() { return 1; }
  void Zoomed() {}
  void Resized() {}

  /// `view` may be null. `value` is the owner's.
  void Attach(int value, IKxView* view);
  void Detach();
  /// 0: the view is left alone.
  void SetDisplay(int display);
  /// A new scan area begins: places the preview frame at its top. Does nothing without a view.
  void SetArea(const tagRRECT& area, int flag);

  /// What a host says: subscribes to the view or leaves it. Returns 1, or `kNoView`.
  int Enable(int enable);
  /// Subscribes to the view or leaves it, as it was said last.
  void Subscribe();
  [[nodiscard]] bool hasView() const noexcept { return static_cast<bool>(m_view); }
  /// Asks the host's view for a repaint of everything.
  void invalidate();
  /// The preview frame has changed: a view that shows nothing else goes to it.
  void frameChanged();
  /// The part of the document that the view shows, on the bed; none without a view.
  [[nodiscard]] std::optional<tagRRECT> visibleArea() const;
  /// Whether the user sees what is painted.
  [[nodiscard]] bool isSeen() const;

  /// The area that is scanned, or will be, and its resolution: where its raster lies until it is painted.
  void setScanned(const tagRRECT& area, std::uint32_t dpi) noexcept;
  /// From pixels of the scan to document millimetres: as its raster was painted last.
  [[nodiscard]] CRDirectTfm transform() const;

 private:
  class CZoomSink final : public TSinkImpl<IKxViewZoomSink, CViewSync> {
   public:
    using TSinkImpl::TSinkImpl;
    int TransformChanging(IKxViewPort*, const CRTfm&) override { return owner()->ZoomAsked(); }
    int TransformChanged(IKxViewPort*, const CRTfm&, const CRTfm&) override { return owner()->Zoomed(), 1; }
    int Resized(IKxViewPort*, const KxSize&) override { return owner()->Resized(), 1; }
  };
  class CPaintReactor final : public TSinkImpl<IKxViewPaintReactor, CViewSync> {
   public:
    using TSinkImpl::TSinkImpl;
    int ActiveChanged(IKxViewPort* view, int active) override;
    int Paint(IKxViewPort* view, IKxViewDC* dc, int flags) override;
    int Painted(IKxViewPort* view) override;
    int Closing(IKxViewPort* view) override;
    int GetArea(IKxViewPort* view, tagRRECT* out) override;
  };

  ~CViewSync() override;
  void unsubscribe();
  void viewCloses();
  void remember(IKxViewPort* port) { m_port = KxPtr<IKxViewPort>::share(port); }
  [[nodiscard]] bool isOurs(IKxViewPort* port) const;
  [[nodiscard]] InfoPanel panel() const;
  void paintOutline(IKxViewDC& dc, const tagRRECT& frame) const;
  void paintSheetEdges(IKxViewDC& dc, const tagRRECT& frame) const;

  KxPtr<CSharedScanParams> m_params;
  std::function<bool()> m_isScanning;
  KxPtr<IKxView> m_view;
  int m_value = 0;
  KxPtr<IKxViewPort> m_port;  // of the last call
  tagRRECT m_area{};
  int m_flag = 0;
  int m_display = 1;
  CZoomSink m_zoomSink{this};
  CPaintReactor m_paintReactor{this};
  bool m_subscribed = false;
  StorPainter m_stores;
  InfoPanelPainter m_panel;
  CRDirectTfm m_scanned{kMmPerInch / 100, kMmPerInch / 100, 0, 0};
  std::optional<CRDirectTfm> m_painted;  // the last painted raster
  double m_paintedWidth = 0;             // of its picture, in pixels
};

}  // namespace quillbay
