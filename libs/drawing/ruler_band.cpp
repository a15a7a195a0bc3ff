#include "drawing/ruler_band.h"

#include <QMouseEvent>
#include <QPainter>
#include <array>
#include <cmath>

namespace quillbay {

namespace {

constexpr double kFontScale = 0.85;
constexpr int kAcross = 8;  // more than the height of a number
constexpr int kNumberGap = 3;
constexpr double kLeastMark = 5;

QFont numberFont(const QFont& font) {
  QFont smaller = font;
  if (font.pointSizeF() > 0) {
    smaller.setPointSizeF(font.pointSizeF() * kFontScale);
  } else {
    smaller.setPixelSize(std::max(1, static_cast<int>(font.pixelSize() * kFontScale)));
  }
  return smaller;
}

}  // namespace

RulerBand::RulerBand(Qt::Orientation along, QWidget* parent) : QWidget(parent), m_along(along) {
  setObjectName(isUpright() ? "rulerLeft" : "rulerTop");
  setFocusPolicy(Qt::NoFocus);
  setCursor(Qt::ArrowCursor);
  setAttribute(Qt::WA_OpaquePaintEvent);
  hide();
}

void RulerBand::setUnit(KxPtr<ILinearUnit> unit) {
  m_unit = std::move(unit);
  update();
}

void RulerBand::setScale(const RulerScale& scale) {
  m_scale = scale;
  update();
}

void RulerBand::markPointer(std::optional<double> at) {
  if (at == m_pointer) return;
  update(pointerPlace());
  m_pointer = at;
  update(pointerPlace());
}

int RulerBand::thickness() const {
  return QFontMetrics(numberFont(parentWidget() ? parentWidget()->font() : font())).height() + kAcross;
}

QRect RulerBand::pointerPlace() const {
  if (!m_pointer) return {};
  const int at = static_cast<int>(std::floor(*m_pointer)) - start();
  return isUpright() ? QRect(0, at, width(), 1) : QRect(at, 0, 1, height());
}

void RulerBand::mousePressEvent(QMouseEvent* event) { event->accept(); }

QString RulerBand::numberText(double value, int decimals) const {
  if (!m_unit) return {};
  const std::string pattern = decimals > 0 ? "0." + std::string(static_cast<std::size_t>(decimals), '0') : "0";
  std::array<char, 64> text{};
  m_unit->FormatPattern(value, pattern.c_str(), text.data(), static_cast<int>(text.size()));
  return QString::fromUtf8(text.data());
}

void RulerBand::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Window));
  painter.setPen(palette().color(QPalette::Mid));
  if (isUpright()) {
    painter.drawLine(width() - 1, 0, width() - 1, height());
  } else {
    painter.drawLine(0, height() - 1, width(), height() - 1);
  }
  painter.setFont(numberFont(font()));
  painter.setPen(palette().color(QPalette::WindowText));
  const double leastNumber = painter.fontMetrics().horizontalAdvance("00000") + 4 * kNumberGap;
  const RulerSteps steps = rulerSteps(m_scale.pixelsPerUnit, leastNumber, kLeastMark);
  const int length = isUpright() ? height() : width();
  // Also the number of a mark before the edge.
  for (const RulerMark& mark : rulerMarks(m_scale, steps, start() - leastNumber, start() + length)) {
    paintMark(painter, mark, steps.decimals);
  }
  if (m_pointer) painter.fillRect(pointerPlace(), palette().color(QPalette::Highlight));
}

void RulerBand::paintMark(QPainter& painter, const RulerMark& mark, int decimals) const {
  const bool hasNumber = mark.kind == RulerMark::Kind::Number;
  const int across = isUpright() ? width() : height();
  const int size = hasNumber ? across - 1 : mark.kind == RulerMark::Kind::Half ? across / 3 + 1 : across / 5 + 1;
  const int at = static_cast<int>(std::floor(mark.pixel)) - start();
  if (isUpright()) {
    painter.drawLine(across - 1 - size, at, across - 2, at);
  } else {
    painter.drawLine(at, across - 1 - size, at, across - 2);
  }
  if (!hasNumber) return;
  const QString text = numberText(mark.value, decimals);
  const QFontMetrics metrics = painter.fontMetrics();
  if (!isUpright()) return painter.drawText(at + kNumberGap, 1 + metrics.ascent(), text);
  painter.save();
  painter.translate(1 + metrics.ascent(), at + kNumberGap + metrics.horizontalAdvance(text));
  painter.rotate(-90);
  painter.drawText(0, 0, text);
  painter.restore();
}

}  // namespace quillbay
