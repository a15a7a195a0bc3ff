#pragma once
#include <QPointF>
#include <QWidget>
#include <memory>

#include "document.h"
#include "page_image.h"
#include "quillbay/view.h"

class QMouseEvent;

namespace desktop {

class PaintLink;
class ZoomLink;

/// Shows the document's pages beside each other at their true sizes in a view port of the library. Beside what that
/// does (the wheel zooms about the pointer, the middle button pans, Alt with arrows scrolls), the left button pans,
/// a click chooses a page, a double click shows it in full, arrows scroll and files can be dropped.
class DocumentView : public QWidget {
  Q_OBJECT
 public:
  DocumentView(quillbay::IApp* app, Document* document, QWidget* parent = nullptr);
  ~DocumentView() override;

  /// The page that zooming to 1:1 and the frame are about.
  void setCurrent(int id);
  [[nodiscard]] int current() const { return m_current; }
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

 signals:
  void zoomChanged();
  /// `inside` is false when the pointer left the view. Millimetres from the page's top left corner.
  void pointerMoved(const QPointF& mm, bool inside);
  void pageChosen(int id);
  void filesDropped(const QStringList& files);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  friend class PaintLink;
  void add(int id);
  void relayout();
  void setGround();
  void paintOver(QPainter& painter) const;
  void move(const QMouseEvent& event);
  bool key(int key);
  void scaleTo(double pixelsPerMm);
  void pan(double dx, double dy);
  /// The page's place in client pixels.
  [[nodiscard]] QRectF toView(const QRectF& mm) const;
  [[nodiscard]] QRectF pageRect(int id) const;
  [[nodiscard]] int pageAt(const QPointF& pixel) const;
  [[nodiscard]] double pixelScale() const;

  Document* m_document;
  PageImages m_images;
  quillbay::KxPtr<quillbay::IKxViewPort> m_port;
  quillbay::KxPtr<quillbay::IKxView> m_kxView;
  quillbay::KxPtr<quillbay::IKxRasterPainter> m_rasters;
  QWidget* m_surface;
  std::unique_ptr<PaintLink> m_paintLink;
  std::unique_ptr<ZoomLink> m_zoomLink;
  // What is shown: the page, its place in millimetres (y downwards), its raster.
  struct Shown {
    int id;
    QRectF mm;
    quillbay::KxPtr<quillbay::IRStor> raster;
  };
  std::vector<Shown> m_layout;
  int m_current = 0;
  QPointF m_press, m_last;
  bool m_moved = false;
};

}  // namespace desktop
