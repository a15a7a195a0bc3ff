#pragma once
#include <QPointF>
#include <QTimer>
#include <QWidget>

#include "document.h"
#include "page_image.h"

namespace desktop {

/// Shows the document's pages beside each other at their true sizes, in millimetres. The wheel zooms about the
/// pointer, the middle and the left button pan, arrows scroll. What is shown is drawn by the rasters themselves on
/// another thread; until it is there, the small picture of the page stands in.
class DocumentView : public QWidget {
  Q_OBJECT
 public:
  explicit DocumentView(Document* document, QWidget* parent = nullptr);

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
  /// Whether the picture of what is shown now is complete.
  [[nodiscard]] bool isSharp() const { return m_frameNumber == m_wanted; }

 signals:
  void zoomChanged();
  /// `inside` is false when the pointer left the view. Millimetres from the page's top left corner.
  void pointerMoved(const QPointF& mm, bool inside);
  void pageChosen(int id);
  void filesDropped(const QStringList& files);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  /// View pixels = millimetres * scale + offset.
  struct Place {
    double scale = 1;
    QPointF offset;
    bool operator==(const Place&) const = default;
  };
  void relayout();
  void place(const Place& place);
  void zoomAbout(double factor, const QPointF& pivot);
  void fit(const QRectF& mm);
  void pan(const QPointF& pixels);
  void requestFrame();
  void takeFrame(int number, const QImage& image);
  void paintFrame(QPainter& painter) const;
  [[nodiscard]] QRectF toView(const QRectF& mm) const;
  [[nodiscard]] QRectF pageRect(int id) const;
  [[nodiscard]] int pageAt(const QPointF& pixel) const;
  [[nodiscard]] double pixelScale() const;

  Document* m_document;
  PageImages m_images;
  std::vector<std::pair<int, QRectF>> m_layout;  // page and its place in millimetres
  Place m_place, m_framePlace;
  QImage m_frame;
  int m_wanted = 0, m_frameNumber = -1;
  QTimer m_settle;  // draws once the view rests
  int m_current = 0;
  bool m_fitted = true;  // stays fitted when the window or the document changes
  QPointF m_press, m_last;
  bool m_panning = false, m_moved = false;
};

}  // namespace desktop
