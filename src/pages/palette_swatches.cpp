#include "pages/palette_swatches.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr int kFewColors = 64, kFewColumns = 16, kManyColumns = 32;
constexpr int kLeastSide = 7, kUsualSide = 11, kMostSide = 22;  // logical pixels
constexpr int kFrame = 1;

}  // namespace

PaletteSwatches::PaletteSwatches(QWidget* parent) : QWidget(parent) {
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void PaletteSwatches::setColors(std::vector<KXRGBQUAD> colors) {
  if (colors == m_colors) return;
  m_colors = std::move(colors);
  setAccessibleName(QString::fromStdString(
      formatText(Supp_Translate("Palette of %d colours"), {std::to_string(m_colors.size())})));
  updateGeometry();
  update();
}

int PaletteSwatches::columns() const noexcept {
  return static_cast<int>(m_colors.size()) <= kFewColors ? kFewColumns : kManyColumns;
}

int PaletteSwatches::rows() const noexcept {
  return (static_cast<int>(m_colors.size()) + columns() - 1) / columns();
}

int PaletteSwatches::sideIn(int width) const noexcept {
  return std::clamp((width - kFrame) / columns(), kLeastSide, kMostSide);
}

QSize PaletteSwatches::sizeHint() const {
  const int width = kManyColumns * kUsualSide + kFrame;
  return {width, heightForWidth(width)};
}

QSize PaletteSwatches::minimumSizeHint() const {
  return {kManyColumns * kLeastSide + kFrame, rows() == 0 ? 0 : rows() * kLeastSide + kFrame};
}

int PaletteSwatches::heightForWidth(int width) const { return rows() == 0 ? 0 : rows() * sideIn(width) + kFrame; }

/// The rows fill the width as long as the squares are not too large.
QRect PaletteSwatches::squareOf(int index) const noexcept {
  const int used = std::clamp(width() - kFrame, columns() * kLeastSide, columns() * kMostSide);
  const auto edge = [&](int column) { return column * used / columns(); };
  const int column = index % columns(), side = sideIn(width());
  return {QPoint(edge(column), index / columns() * side),
          QSize(edge(column + 1) - edge(column) + kFrame, side + kFrame)};
}

void PaletteSwatches::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor frame = palette().color(QPalette::Mid);
  for (int i = 0; i < static_cast<int>(m_colors.size()); ++i) {
    const KXRGBQUAD& c = m_colors[static_cast<std::size_t>(i)];
    const QRect square = squareOf(i);
    painter.fillRect(square, frame);
    painter.fillRect(square.adjusted(kFrame, kFrame, -kFrame, -kFrame), QColor(c.red, c.green, c.blue));
  }
}

int PaletteSwatches::colorAt(const QPoint& place) const noexcept {
  for (int i = 0; i < static_cast<int>(m_colors.size()); ++i)
    if (squareOf(i).contains(place)) return i;
  return -1;
}

bool PaletteSwatches::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  const int index = colorAt(help->pos());
  if (index < 0) {
    QToolTip::hideText();
    return true;
  }
  const KXRGBQUAD& c = m_colors[static_cast<std::size_t>(index)];
  const auto number = [](int value) { return std::to_string(value); };
  QToolTip::showText(
      help->globalPos(),
      QString::fromStdString(formatText(Supp_Translate("Colour %d: red %d, green %d, blue %d"),
                                        {number(index), number(c.red), number(c.green), number(c.blue)})),
      this);
  return true;
}

}  // namespace quillbay
