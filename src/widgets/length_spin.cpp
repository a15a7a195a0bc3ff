#include "widgets/length_spin.h"

#include <QLineEdit>
#include <algorithm>
#include <array>
#include <cmath>

#include "quillbay/geometry.h"

namespace quillbay {

namespace {
constexpr double kSameMm = 1e-6;  // what adding and subtracting positions leaves of a length
}

std::string lengthFieldText(CScanUnits& units, double mm) {
  ILinearUnit* unit = units.current();
  if (!unit) return {};
  std::array<char, 128> text{};
  unit->FormatValue(units.index() ? mm * kInchPerMm : mm, text.data(), static_cast<int>(text.size()));
  return text.data();
}

bool parseLengthField(CScanUnits& units, const std::string& text, double* mm) {
  return units.ParseLength(text.c_str(), mm, 1) != 0;
}

LengthSpin::LengthSpin(QWidget* parent) : QAbstractSpinBox(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setAlignment(Qt::AlignRight);
  connect(lineEdit(), &QLineEdit::textEdited, this, &LengthSpin::typed);
  // What cannot be read as a length gives way to the value that stands.
  connect(this, &QAbstractSpinBox::editingFinished, this, &LengthSpin::redisplay);
}

void LengthSpin::setUnits(CScanUnits* units) {
  m_units = units;
  redisplay();
}

void LengthSpin::setLimits(double least, double greatest) {
  m_least = least;
  m_greatest = greatest;
}

void LengthSpin::setMillimetres(double value) {
  const bool same = std::abs(value - m_value) < kSameMm;
  m_value = value;
  // Nothing is put into the field under the fingers of somebody who types in it.
  if (same && lineEdit()->hasFocus()) return;
  redisplay();
}

void LengthSpin::redisplay() {
  if (m_units) lineEdit()->setText(QString::fromStdString(lengthFieldText(*m_units, m_value)));
}

double LengthSpin::stepWidth() const {
  ILinearUnit* unit = m_units ? m_units->current() : nullptr;
  const double step = unit ? unit->GetStep() : 0;
  return (step > 0 ? step : 1.0) * (m_units && m_units->index() ? kMmPerInch : 1.0);
}

void LengthSpin::stepBy(int steps) {
  const double next = std::clamp(m_value + steps * stepWidth(), m_least, std::max(m_least, m_greatest));
  if (next == m_value) return;
  m_value = next;
  redisplay();
  Q_EMIT edited();
}

QValidator::State LengthSpin::validate(QString& text, int&) const {
  double ignored = 0;
  if (m_units && parseLengthField(*m_units, text.toStdString(), &ignored)) return QValidator::Acceptable;
  return QValidator::Intermediate;
}

QAbstractSpinBox::StepEnabled LengthSpin::stepEnabled() const {
  StepEnabled can = StepNone;
  if (isReadOnly()) return can;
  if (m_value > m_least) can |= StepDownEnabled;
  if (m_value < m_greatest) can |= StepUpEnabled;
  return can;
}

QSize LengthSpin::sizeHint() const {
  QSize hint = QAbstractSpinBox::minimumSizeHint();
  hint.setWidth(fontMetrics().horizontalAdvance(QStringLiteral("000000.0")) + 28);
  return hint;
}

void LengthSpin::typed(const QString& text) {
  double value = 0;
  if (!m_units || !parseLengthField(*m_units, text.toStdString(), &value)) return;
  m_value = std::clamp(value, m_least, std::max(m_least, m_greatest));
  Q_EMIT edited();
}

}  // namespace quillbay
