#pragma once
#include <QPointF>
#include <QPointer>
#include <QWidget>
#include <memory>
#include <optional>

#include "document/document.h"
#include "document/page_image.h"
#include "quillbay/shapes.h"
#include "quillbay/view.h"
#include "view/live_page.h"

class QMouseEvent;
class QScrollBar;

namespace desktop {

class PaintLink;
class ZoomLink;

/// Shows the document's pages beside each other at their true sizes in a view port of the library, many of them in
/// rows, and after them the page that is being scanned, as it grows. What the user chose to see stays when pages
/// come and go and when the window changes its size: everything, one page, or a place. Without pages the panel has
/// the view, and for as long as it shows there a part of the document that the user asked for, or a page that is
/// scanned and not kept. Beside what the view port does (the wheel zooms about the pointer, the middle button pans,
/// Alt with arrows scrolls), the left button and the scroll bars pan, a click chooses a page, a double click shows
/// it in full, arrows scroll and files can be dropped. While a tool runs the left button is the tool's.
class DocumentView : public QWidget {
  Q_OBJECT
 public:
  DocumentView(quillbay::IApp* app, Document* document, QWidget* parent = nullptr);
  ~DocumentView() override;

  /// Shows the page that is being scanned as well. From the start of a run on the view shows the arriving page in
  /// full, until the user zooms or pans.
  void setLive(LivePage* live);
  /// The page that zooming to 1:1 and the frame are about.
  void setCurrent(int id);
  /// Brings a page into view, at the zoom that is set; in full when one page is shown in full.
  void reveal(int id);
  [[nodiscard]] int current() const { return m_current; }
  /// The panel shows a preview of a part of the document here, until the user turns to the pages or one is scanned.
  void showPreview();
  void endPreview();
  void fitAll();
  void fitPage(int id);
  /// One pixel of the current page is one pixel of the screen.
  void actualPixels();
  void zoomBy(double factor);
  /// 1 is 1:1 of the current page; 0 without pages.
  [[nodiscard]] double zoom() const;
  /// The view as the panel knows it.
  [[nodiscard]] quillbay::IKxView* kxView() const { return m_kxView.get(); }
  /// The window that is painted on and that gets keys and mouse.
  [[nodiscard]] QWidget* surface() const { return m_surface; }
  /// What tools choose geometry on.
  [[nodiscard]] quillbay::IKxViewPort* port() const { return m_port.get(); }
  /// While a tool runs the left button is the tool's: it neither pans nor chooses pages.
  void setTool(bool runs) { m_hasTool = runs; }
  [[nodiscard]] bool hasTool() const { return m_hasTool; }
  /// The page (0: the one that is being scanned) at a place of the view's document, or the nearest one within
  /// `near` millimetres; nothing beside the pages.
  [[nodiscard]] std::optional<int> pageAt(const quillbay::CRPoint& at, double near) const;
  /// Where a page's top left corner is in the view's document; nothing for a page that is not shown.
  [[nodiscard]] std::optional<quillbay::CRPoint> cornerOf(int id) const;

 signals:
  void zoomChanged();
  /// `inside` is false when the pointer left the view. Millimetres from the page's top left corner.
  void pointerMoved(const QPointF& mm, bool inside);
  void pageChosen(int id);
  void filesDropped(const QStringList& files);
  /// Delete: the pages that are chosen.
  void closeAsked();
  /// A menu about page `id` is wanted at this place of the screen.
  void menuAsked(const QPoint& at, int id);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  friend class PaintLink;
  friend class ZoomLink;
  /// What stays in view.
  enum class Fit { Everything, Page, Place };
  /// What is shown: a page (0: the one that is being scanned) at its place in millimetres (y downwards).
  struct Shown {
    int id;
    QRectF mm;
    quillbay::KxPtr<quillbay::IRStor> raster;
    double dpi;
  };
  /// The raster of a page that is shown in place of the page's own until that one can be painted at once.
  struct StandIn {
    int id = 0;
    quillbay::KxPtr<quillbay::IRStor> raster;
  };
  /// What the view goes back to when a page that it followed vanishes.
  struct Sight {
    Fit fit = Fit::Everything;
    int page = 0;
    quillbay::CRTfm transform;
  };

  void add(int id);
  [[nodiscard]] bool isThePanels() const;
  void makeBars();
  void updateBars();
  void scrollTo(const QScrollBar* bar, int value);
  void relayout();
  void relayoutAround(const QRectF& before, int anchor);
  [[nodiscard]] int middlePage() const;
  [[nodiscard]] std::vector<Shown> newLayout();
  void paintRasters(std::vector<Shown> layout);
  void setGround();
  void paintOver(QPainter& painter) const;
  void move(const QMouseEvent& event);
  bool key(int key);
  void scaleTo(double pixelsPerMm);
  void pan(double dx, double dy);
  void show(const QRectF& mm);
  void setTransform(const quillbay::CRTfm& wanted);
  void showFitted();
  bool keepsSight();
  void transformChanged();
  void resized();
  [[nodiscard]] QRectF everything() const;
  /// The page's place in client pixels.
  [[nodiscard]] QRectF toView(const QRectF& mm) const;
  [[nodiscard]] QRectF pageRect(int id) const;
  [[nodiscard]] int pageAt(const QPointF& pixel) const;
  [[nodiscard]] double pixelScale() const;

  // The page that is being scanned.
  void liveBegan();
  void liveResized();
  void liveGrew();
  void liveBecame(int id, const quillbay::KxPtr<quillbay::IRStor>& raster);
  void liveVanished();
  void endStandIn(int id);
  void paintLive(QPainter& painter, const QRectF& mm) const;
  [[nodiscard]] bool showsLive() const;

  Document* m_document;
  QPointer<LivePage> m_live;
  PageImages m_images;
  quillbay::KxPtr<quillbay::IKxViewPort> m_port;
  quillbay::KxPtr<quillbay::IKxView> m_kxView;
  quillbay::KxPtr<quillbay::IKxRasterPainter> m_rasters;
  QWidget* m_surface;
  QScrollBar *m_across = nullptr, *m_down = nullptr;
  double m_barStep = 1;  // pixels of a bar's unit
  std::unique_ptr<PaintLink> m_paintLink;
  std::unique_ptr<ZoomLink> m_zoomLink;
  std::vector<Shown> m_layout;
  double m_rowWidth = 0;  // of the layout
  StandIn m_standIn;
  int m_current = 0;
  Fit m_fit = Fit::Everything;
  int m_fitted = 0;         // the page of Fit::Page
  bool m_follows = false;   // the arriving page, since its run began
  Sight m_before;           // of the arriving page
  bool m_previews = false;  // the panel has the view for a preview
  Sight m_beforePreview;
  double m_edgeMm = 0;      // where the arriving page's edge was painted
  bool m_ours = false;      // the view itself changes the transform
  bool m_resizing = false;  // the view port is about to show everything
  QSize m_clientSize;
  QPointF m_press, m_last;
  bool m_moved = false;
  bool m_hasTool = false;
};

}  // namespace desktop
