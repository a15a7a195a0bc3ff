#pragma once
#include <QImage>
#include <QScrollBar>
#include <QTimer>
#include <QWidget>
#include <atomic>
#include <functional>
#include <optional>
#include <vector>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/ruler.h"
#include "preview/cursor_reactors.h"
#include "preview/dash_clock.h"
#include "preview/frame_painter.h"
#include "preview/frame_rules.h"
#include "preview/preview_places.h"
#include "preview/sheet_painter.h"

namespace quillbay {

/// The preview control: the scanner's area with the picture of the prescan and two frames, which the user draws,
/// moves and resizes with the mouse or the keys. Until there is a prescan it shows an empty, crossed-out area and
/// takes neither. Paints in paint events only. User-interface thread.
class CPVStatic final : public QWidget {
  Q_OBJECT
 public:
  using CSetCursorRector = quillbay::CSetCursorRector;

  /// `controller` must outlive the control.
  CPVStatic(KxPtr<CSharedScanParams> params, IPanelController& controller, QWidget* parent);
  ~CPVStatic() override;

  /// The preview store's picture covers `area`, in millimetres, and has changed.
  void rasterPlaced(const tagRRECT& area);
  [[nodiscard]] const tagRRECT& rasterPlace() const noexcept { return m_placed; }
  /// Fits the area into the control, and shows what the preview store holds now. An area that fits as before stays
  /// scrolled as it is.
  void fit();

  [[nodiscard]] bool drawsArea() const noexcept { return m_mode == Mode::Area; }
  [[nodiscard]] bool drawsFragment() const noexcept { return m_mode == Mode::Fragment; }
  [[nodiscard]] bool showsFragment() const noexcept { return m_showsFragment; }
  void toggleNewArea();
  void toggleNewFragment();

  /// Rulers along the upper and left edges; shown at first.
  void setRulersShown(bool shown);
  [[nodiscard]] ISetReactor* cursorReactors() noexcept { return &m_reactors; }
  /// Whether dashes run along the frames: not while they are unseen, nor on a desktop without animation.
  [[nodiscard]] bool isAnimated() const;
  /// Document millimetres to pixels of the control.
  [[nodiscard]] const CRTfm& transform() const noexcept { return m_view; }

  std::function<void()> onChanged;                     ///< a mode or the fragment came or went
  std::function<void(const tagRRECT* frame)> onFrame;  ///< a frame is being changed; null: no more

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void changeEvent(QEvent* event) override;
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
    Qt::MouseButton button = Qt::NoButton;
    int zone = kNoZone;  ///< of an edited frame; none: a frame is drawn
    bool isFragment = false;
    bool hasMoved = false;
    tagRPOINT start;
    tagRRECT frame;
    std::optional<Sheet> sheet, grabbed;  ///< of the document: as it is now, and as it was when it was taken
  };

  void makeBar(QScrollBar& bar);
  void paramChanged(const char* key);
  void renewRulers();
  void setState(Mode mode, bool showsFragment);
  void store(const tagRRECT& frame, ActiveFrame target);
  void storeSheet(const Sheet& sheet);
  [[nodiscard]] Sheet ownSheet() const;
  [[nodiscard]] bool hasSheet() const noexcept;
  [[nodiscard]] ActiveFrame activeFrame() const noexcept;
  [[nodiscard]] std::optional<PaintedSheet> paintedSheet() const;
  void tellFrame(const tagRRECT* frame);
  [[nodiscard]] bool takesInput() const noexcept;

  [[nodiscard]] KxRect baseClient() const;
  void fitView();
  void layOut();
  void updateBars();
  void scrolled(QScrollBar& bar, int position);
  void scrollBy(int dx, int dy);
  void viewMoved();

  [[nodiscard]] int hitTest(const QPoint& at) const;
  void showCursor(const QPoint& at);
  void press(const QPointF& at, Qt::MouseButton button);
  void endDrag(bool stores);
  [[nodiscard]] bool wantsKey(const QKeyEvent& event) const;
  [[nodiscard]] bool keyMovesFrame(const QKeyEvent& event);
  [[nodiscard]] bool keyTurnsSheet(const QKeyEvent& event);
  [[nodiscard]] bool keyEndsMode(int key);

  void runClock();
  void stepDashes(int phase);
  [[nodiscard]] std::vector<PaintedFrame> frames() const;
  void updateFrames();
  void pictureChanged();
  void drawPicture();
  void drawRaster();
  void compose(const QRegion& region);
  [[nodiscard]] QRegion deviceRegion(const QRegion& region) const;

  KxPtr<CSharedScanParams> m_params;
  IPanelController& m_controller;
  CIChangeParams m_changes{this};
  CRTfm m_view{1, 1, 0, 0, 0};
  tagRPOINT m_fitted;  // the corner of the area that was fitted
  KxRect m_client;     // without rulers and scroll bars
  tagRRECT m_placed{};
  Mode m_mode = Mode::None;
  bool m_showsFragment = false;
  ActiveFrame m_active = ActiveFrame::Preview;
  std::optional<Drag> m_drag;
  QTimer m_numbers;  // how long those of a frame stay after a key

  QScrollBar m_across, m_down;
  CSetCursorRector m_reactors;
  KxPtr<IKxRuler> m_ruler;

  QImage m_picture, m_composed;  // of the client, in device pixels; what is seen has the frames
  bool m_pictureIsOld = true;
  int m_phase = 1;
  bool m_isSeen = false;
  bool m_clockRuns = false;
  std::atomic<bool> m_stepIsOut{false};
  DashClock m_clock;  // last: its thread ends before what it uses
};

}  // namespace quillbay
