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

void PaletteSwatches::paintEvent(QPaintEvent*) {
  const int side = sideIn(width()), inner = side - kFrame;
  QPainter painter(this);
  const QColor frame = palette().color(QPalette::Mid);
  for (int i = 0; i < static_cast<int>(m_colors.size()); ++i) {
    const KXRGBQUAD& c = m_colors[static_cast<std::size_t>(i)];
    const QPoint corner(i % columns() * side, i / columns() * side);
    painter.fillRect(QRect(corner, QSize(side + kFrame, side + kFrame)), frame);
    painter.fillRect(QRect(corner + QPoint(kFrame, kFrame), QSize(inner, inner)), QColor(c.red, c.green, c.blue));
  }
}

int PaletteSwatches::colorAt(const QPoint& place) const noexcept {
  const int side = sideIn(width()), column = place.x() / side;
  if (place.x() < 0 || place.y() < 0 || column >= columns()) return -1;
  const int index = place.y() / side * columns() + column;
  return index < static_cast<int>(m_colors.size()) ? index : -1;
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
