#pragma once
#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "preview/frame_rules.h"

namespace quillbay {

/// The preview control: the scanner's area with the picture of the prescan and two frames, which the user draws,
/// moves and resizes with the mouse or the keys. Until there is a prescan it shows an empty, crossed-out area and
/// takes neither. Paints in paint events only. User-interface thread.
class CPVStatic final : public QWidget {
  Q_OBJECT
 public:
  /// `controller` must outlive the control.
  CPVStatic(KxPtr<CSharedScanParams> params, IPanelController& controller, QWidget* parent);
  ~CPVStatic() override;

  /// The preview store's picture covers `area`, in millimetres.
  void rasterPlaced(const tagRRECT& area);
  /// Fits the area into the control.
  void fit();

  [[nodiscard]] bool drawsArea() const noexcept { return m_mode == Mode::Area; }
  [[nodiscard]] bool drawsFragment() const noexcept { return m_mode == Mode::Fragment; }
  [[nodiscard]] bool showsFragment() const noexcept { return m_showsFragment; }
  void toggleNewArea();
  void toggleNewFragment();

  std::function<void()> onChanged;                     ///< a mode or the fragment came or went
  std::function<void(const tagRRECT* frame)> onFrame;  ///< a frame is being changed; null: no more

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  class CIChangeParams final : public TSinkImpl<IChangeParams, CPVStatic> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char* key) override { return owner()->paramChanged(key), 1; }
    int OnParamChanged(const char*) override { return 0; }
  };
  enum class Mode { None, Area, Fragment };
  struct Drag {
    bool edits = false;
    int zone = kNoZone;
    bool isFragment = false;
    tagRPOINT start;
    tagRRECT frame;
  };

  void paramChanged(const char* key);
  void setMode(Mode mode);
  void showFragment(bool shown);
  void moved();
  [[nodiscard]] tagRRECT area() const;
  [[nodiscard]] tagRPOINT toDocument(const QPointF& at) const;
  [[nodiscard]] QRectF toClient(const tagRRECT& r) const;
  [[nodiscard]] KxRect toPixels(const tagRRECT& r) const;
  [[nodiscard]] int hitTest(const QPoint& at) const;
  void showCursor(const QPoint& at);
  void press(const QPoint& at);
  void store(const tagRRECT& frame, bool isFragment);
  void paintPicture(QPainter& painter);
  void paintRulers(QPainter& painter) const;
  void paintFrame(QPainter& painter, const tagRRECT& frame, const QColor& colour) const;
  void animate();

  KxPtr<CSharedScanParams> m_params;
  IPanelController& m_controller;
  CIChangeParams m_changes{this};
  double m_scale = 1;  // pixels per millimetre
  QPointF m_origin;    // of the document
  tagRRECT m_placed{};
  Mode m_mode = Mode::None;
  bool m_showsFragment = false;
  bool m_keysFragment = false;  // the keys move the fragment
  std::optional<Drag> m_drag;
  QTimer m_dashes;
  int m_phase = 1;
  std::vector<std::uint32_t> m_pixels;
};

}  // namespace quillbay
