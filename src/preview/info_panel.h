#pragma once
#include <QFont>
#include <QImage>
#include <QSize>
#include <memory>
#include <string>

#include "platform/picture.h"
#include "quillbay/scan_mode.h"

class QPainter;
class QRectF;

namespace quillbay {

/// What a view without a document shows about the next scan.
struct InfoPanel {
  std::string title;                       ///< the destination's name
  std::string summary;                     ///< lines that end in a carriage return; a tab parts name and value
  std::shared_ptr<const Picture> picture;  ///< of the last scan; null: a drawing for the colours
  ColorClass colors = kClassBitonal;
};

/// Paints the information panel: a gradient, the picture in its frame, the title over a bar, and the summary. Sizes
/// are device-independent pixels; texts become smaller where they do not fit, and end in dots where that does not
/// help. User-interface thread only.
class InfoPanelPainter {
 public:
  /// Fills `size` pixels from 0, 0 of the painter.
  void paint(QPainter& painter, const QSize& size, const InfoPanel& panel);

 private:
  /// Answers the picture's place.
  QRectF paintPicture(QPainter& painter, const QRectF& area, const InfoPanel& panel);
  [[nodiscard]] const QImage& shrunk(const std::shared_ptr<const Picture>& picture, const QSize& size);

  std::shared_ptr<const Picture> m_picture;  // of m_shrunk
  QImage m_shrunk;
};

}  // namespace quillbay
