#include "widgets/unit_spin.h"

#include <QLineEdit>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/base_services.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
constexpr double kSame = 1e-6;  // what adding and subtracting positions leaves of a length
constexpr int kQuoted = 40;     // characters of a text that a message quotes

QString message(const std::string& english, const std::vector<std::string>& parts) {
  return QString::fromStdString(formatText(Supp_Translate(english), parts));
}

std::string quoted(const QString& text) {
  return (text.size() > kQuoted ? text.left(kQuoted) + QStringLiteral("…") : text).trimmed().toStdString();
}
}  // namespace

UnitSpin::UnitSpin(QWidget* parent) : QAbstractSpinBox(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setAlignment(Qt::AlignRight);
  connect(lineEdit(), &QLineEdit::textEdited, this, &UnitSpin::typed);
  connect(this, &QAbstractSpinBox::editingFinished, this, &UnitSpin::finishEdit);
}

void UnitSpin::setLimits(double least, double greatest) {
  m_least = least;
  m_greatest = std::max(least, greatest);
}

double UnitSpin::held(double value) const noexcept { return std::clamp(value, m_least, m_greatest); }

void UnitSpin::setValue(double value) {
  assertUserInterfaceThread();
  const bool same = std::abs(value - m_value) < kSame;
  m_value = value;
  // Nothing is put into the field under the fingers of a user who types in it.
  if (same && (lineEdit()->hasFocus() || m_editing)) return;
  if (!same) {
    m_editing = false;
    m_problem.clear();
    note({});
  }
  redisplay();
}

void UnitSpin::redisplay() { lineEdit()->setText(QString::fromStdString(textOf(m_value))); }

void UnitSpin::stepBy(int steps) {
  const double next = held(m_value + steps * stepWidth());
  m_editing = false;
  m_problem.clear();
  note({});
  const bool changed = std::exchange(m_value, next) != next;
  redisplay();
  if (changed) Q_EMIT edited();
}

QValidator::State UnitSpin::validate(QString& text, int&) const {
  return read(text.toStdString()).kind == LengthReading::Kind::Length ? QValidator::Acceptable
                                                                      : QValidator::Intermediate;
}

QAbstractSpinBox::StepEnabled UnitSpin::stepEnabled() const {
  StepEnabled can = StepNone;
  if (isReadOnly()) return can;
  if (m_value > m_least) can |= StepDownEnabled;
  if (m_value < m_greatest) can |= StepUpEnabled;
  return can;
}

QSize UnitSpin::sizeHint() const {
  QSize hint = QAbstractSpinBox::minimumSizeHint();
  hint.setWidth(fontMetrics().horizontalAdvance(QStringLiteral("00000.0")) + 28);
  return hint;
}

void UnitSpin::typed(const QString& text) {
  if (!std::exchange(m_editing, true)) m_before = held(m_value);
  note({});
  const LengthReading reading = read(text.toStdString());
  const bool counts = reading.kind == LengthReading::Kind::Length;
  // What has been typed so far may be the beginning of something else: the old value stands until it can be read.
  const double next = counts ? held(reading.value) : m_before;
  m_problem = counts ? QString() : reasonAgainst(reading, text);
  const bool changed = std::exchange(m_value, next) != next;
  if (counts || changed) Q_EMIT edited();
}

void UnitSpin::finishEdit() {
  if (!std::exchange(m_editing, false)) return;
  const QString text = lineEdit()->text();
  const LengthReading reading = read(text.toStdString());
  QString why = std::exchange(m_problem, {});
  if (reading.kind == LengthReading::Kind::Length && std::abs(held(reading.value) - reading.value) > kSame)
    why = rangeNote(text);
  redisplay();
  note(why);
}

QString UnitSpin::reasonAgainst(const LengthReading& reading, const QString& text) const {
  const std::string kept = textOf(m_before) + unitSuffix();
  if (reading.kind == LengthReading::Kind::Ambiguous)
    return message("\"%s\" can mean %s or %s. Type one of the two; %s is kept.",
                   {quoted(text), reading.first, reading.second, kept});
  return message(refusalPattern(), {quoted(text), kept});
}

QString UnitSpin::rangeNote(const QString& text) const {
  const std::string suffix = unitSuffix();
  return message("\"%s\" is outside the range from %s to %s. %s is used.",
                 {quoted(text), textOf(m_least) + suffix, textOf(m_greatest) + suffix, textOf(m_value) + suffix});
}

void UnitSpin::note(const QString& why) {
  if (std::exchange(m_note, why) != why) Q_EMIT noted(why);
}

}  // namespace quillbay
