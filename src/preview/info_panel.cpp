#include "preview/info_panel.h"

#include <QApplication>
#include <QFontInfo>
#include <QLinearGradient>
#include <QPainter>
#include <algorithm>

#include "preview/info_drawing.h"
#include "preview/info_text.h"
#include "preview/view_places.h"

namespace quillbay {

namespace {

constexpr QRgb kDeep = qRgb(0, 0, 50), kBlue = qRgb(54, 106, 179), kFrame = qRgb(104, 156, 229);
constexpr double kMargin = 5;
constexpr double kFramePen = 2;
constexpr double kCorner = 40;    // of the triangle, at most a quarter of a picture's side
constexpr double kBarHeight = 3;  // between title and summary
constexpr double kBelowBar = 20;
constexpr double kTextShift = 5;
constexpr double kTitleScale = 1.2, kBodyScale = 2;  // of the menus' height

QFont menuFont(double scale) {
  QFont font = QApplication::font("QMenu");
  font.setPixelSize(std::max(1, qRound(QFontInfo(font).pixelSize() * scale)));
  font.setWeight(QFont::Bold);
  return font;
}

void paintGround(QPainter& painter, const QRectF& area) {
  QLinearGradient ground(area.topLeft(), area.topRight());
  ground.setColorAt(0, QColor::fromRgb(kDeep));
  ground.setColorAt(1, QColor::fromRgb(kBlue));
  painter.fillRect(area, ground);
}

void paintBar(QPainter& painter, const QRectF& bar) {
  QLinearGradient colors(bar.topLeft(), bar.topRight());
  colors.setColorAt(0, Qt::white);
  colors.setColorAt(1, QColor::fromRgb(kBlue));
  painter.fillRect(bar, colors);
}

}  // namespace

void InfoPanelPainter::paint(QPainter& painter, const QSize& size, const InfoPanel& panel) {
  const QRectF whole(QPointF(0, 0), QSizeF(size));
  painter.setBackgroundMode(Qt::TransparentMode);
  painter.setRenderHint(QPainter::Antialiasing);
  paintGround(painter, whole);
  QRectF room = whole.adjusted(kMargin, kMargin, 0, 0);
  if (room.width() <= 0 || room.height() <= 0) return;
  const QRectF picture = paintPicture(painter, room, panel);
  room.setLeft(room.left() + picture.width() + kMargin);
  painter.setPen(Qt::white);
  QFont font = menuFont(kBodyScale * kTitleScale);
  font.setItalic(true);
  const double title = paintTitle(painter, room.adjusted(0, 0, -kMargin, 0), font, panel.title);
  room.setTop(room.top() + title);
  paintBar(painter, {room.left(), room.top(), room.width(), kBarHeight});
  // A low view has no room for air.
  room.setTop(room.top() + std::min(kBelowBar, kBarHeight + kMargin + room.height() / 20));
  paintSummary(painter, room.adjusted(kMargin + kTextShift, 0, -kMargin, -kMargin), menuFont(kBodyScale),
               panel.summary);
}

QRectF InfoPanelPainter::paintPicture(QPainter& painter, const QRectF& area, const InfoPanel& panel) {
  const bool isScan = panel.picture && panel.picture->width > 0 && panel.picture->height > 0;
  const QSizeF own = isScan ? QSizeF(panel.picture->width, panel.picture->height) : infoDrawingSize();
  const tagRRECT r =
      places::picturePlace({area.left(), area.top(), area.right(), area.bottom()}, {own.width(), own.height()});
  const QRectF place(QPointF(r.left, r.top), QPointF(r.right, r.bottom));
  if (place.width() < 1 || place.height() < 1) return {};
  const double ratio = painter.device()->devicePixelRatioF();
  if (isScan) {
    painter.drawImage(place, shrunk(panel.picture, (place.size() * ratio).toSize().expandedTo({1, 1})));
  } else {
    painter.save();
    painter.setClipRect(place, Qt::IntersectClip);
    painter.translate(place.topLeft());
    painter.scale(place.width() / own.width(), place.height() / own.height());
    paintInfoDrawing(painter, panel.colors);
    painter.restore();
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor::fromRgb(kFrame));
  const double corner = std::min({kCorner, place.width() / 4, place.height() / 4});
  const QPointF at = place.topLeft();
  painter.drawPolygon(QPolygonF({at + QPointF(corner, 0), at + QPointF(corner, corner), at + QPointF(0, corner)}));
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor::fromRgb(kFrame), kFramePen, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
  painter.drawRect(place);
  return place;
}

/// The picture at `size` device pixels, averaged once for many paints.
const QImage& InfoPanelPainter::shrunk(const std::shared_ptr<const Picture>& picture, const QSize& size) {
  if (m_picture != picture || m_shrunk.size() != size) {
    const QImage whole(picture->bytes.data(), picture->width, picture->height,
                       static_cast<qsizetype>(picture->stride), QImage::Format_RGB32);
    m_shrunk = whole.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    m_picture = picture;
  }
  return m_shrunk;
}

}  // namespace quillbay
