#include "pages/option_field.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr int kMostDecimals = 4;
constexpr int kChoiceColumns = 16;
constexpr int kNumberColumns = 12;
/// Without a range: whatever the device's numbers can be.
constexpr double kAnyNumber = 2147483647.0;

QString ownText(const std::string& text) { return QString::fromStdString(text); }
QString translatedText(const char* english) { return QString::fromStdString(Supp_Translate(english)); }
QString plainTitle(const UnitOption& option) { return ownText(option.title).replace('&', "&&"); }

/// The decimals that show a step in full; two where any number is allowed.
int decimalsOf(const UnitOption& option) {
  if (option.type == UnitOptionType::WholeNumber) return 0;
  if (option.step <= 0) return 2;
  int decimals = 0;
  double scaled = option.step;
  while (decimals < kMostDecimals && std::abs(scaled - std::round(scaled)) > 1e-3) {
    scaled *= 10;
    ++decimals;
  }
  return decimals;
}

/// A switch has two choices, the second of which is on.
std::string switchValue(const UnitOption& option, bool on) {
  if (option.choices.size() == 2) return option.choices[on ? 1 : 0];
  return on ? "yes" : "no";
}

/// The names of units that devices have, as a user reads them.
QString suffixOf(const UnitOption& option) {
  if (option.unit.empty()) return {};
  return " " + (option.unit == "us" ? QString::fromUtf8("\xC2\xB5s") : ownText(option.unit));
}

}  // namespace

OptionField::Kind OptionField::kindOf(const UnitOption& option) {
  if (option.type == UnitOptionType::Button) return Kind::Button;
  if (option.type == UnitOptionType::Switch) return Kind::Switch;
  const bool isOne = option.count == 1;
  if (!option.choices.empty() && isOne) return Kind::Choice;
  const bool isNumber = option.type == UnitOptionType::Number || option.type == UnitOptionType::WholeNumber;
  return isNumber && isOne ? Kind::Number : Kind::Text;
}

OptionField::OptionField(const UnitOption& option) : m_option(option), m_kind(kindOf(option)) {
  make();
  m_control->setAccessibleName(ownText(option.title));
  m_row = m_control;
  if (option.canBeAutomatic) makeAutomatic();
  setParent(m_row);
  if (m_kind == Kind::Choice || m_kind == Kind::Number) {
    m_control->setFocusPolicy(Qt::StrongFocus);
    m_control->installEventFilter(this);
  }
  fill();
}

QString OptionField::label() const {
  if (m_kind == Kind::Switch || m_kind == Kind::Button) return {};
  QString text = plainTitle(m_option);
  if (m_kind != Kind::Number && !m_option.unit.empty()) text += " (" + suffixOf(m_option).trimmed() + ")";
  return text;
}

QString OptionField::tip() const {
  QStringList lines;
  if (!m_option.description.empty()) lines += ownText(m_option.description);
  const bool isNumber = m_option.range.find_first_of("-0123456789") == 0;
  if (!m_option.range.empty())
    lines += ownText(formatText(Supp_Translate("Range: %s"),
                                {m_option.range + (isNumber ? suffixOf(m_option).toStdString() : std::string())}));
  if (!m_option.active) lines += translatedText("Not available with the current settings");
  if (lines.isEmpty()) return {};
  return "<qt>" + lines.join('\n').toHtmlEscaped().replace('\n', "<br>") + "</qt>";
}

void OptionField::make() {
  switch (m_kind) {
    case Kind::Choice: m_control = makeChoice(); break;
    case Kind::Number: m_control = makeNumber(); break;
    case Kind::Text: m_control = makeText(); break;
    case Kind::Switch: {
      auto* box = new QCheckBox(plainTitle(m_option));
      connect(box, &QCheckBox::clicked, this,
              [this](bool on) { Q_EMIT changed(ownText(switchValue(m_option, on))); });
      m_control = box;
      break;
    }
    case Kind::Button: {
      auto* button = new QPushButton(plainTitle(m_option));
      button->setAutoDefault(false);
      connect(button, &QPushButton::clicked, this, [this] { Q_EMIT changed({}); });
      m_control = button;
      break;
    }
  }
}

QWidget* OptionField::makeChoice() {
  auto* box = new QComboBox;
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box->setMinimumContentsLength(kChoiceColumns);
  connect(box, &QComboBox::activated, this, [this, box] { Q_EMIT changed(box->currentData().toString()); });
  return box;
}

QWidget* OptionField::makeNumber() {
  auto* spin = new QDoubleSpinBox;
  spin->setKeyboardTracking(false);  // the device is asked once per number, not once per digit
  spin->setMinimumWidth(spin->fontMetrics().averageCharWidth() * kNumberColumns);
  connect(spin, &QDoubleSpinBox::valueChanged, this, [this, spin](double value) {
    if (!m_isShowing) Q_EMIT changed(QString::number(value, 'f', spin->decimals()));
  });
  return spin;
}

QWidget* OptionField::makeText() {
  auto* line = new QLineEdit;
  connect(line, &QLineEdit::editingFinished, this, [this, line] {
    if (line->text() != ownText(m_option.value)) Q_EMIT changed(line->text());
  });
  return line;
}

void OptionField::makeAutomatic() {
  m_row = new QWidget;
  auto* row = new QHBoxLayout(m_row);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(m_control, 1);
  m_automatic = new QCheckBox(translatedText("Automatic"));
  m_automatic->setToolTip(translatedText("The scanner chooses the value itself"));
  m_automatic->setAccessibleName(ownText(m_option.title) + ": " + m_automatic->text());
  row->addWidget(m_automatic);
  connect(m_automatic, &QCheckBox::clicked, this,
          [this](bool on) { Q_EMIT changed(on ? QString(kAutomaticValue) : ownText(m_option.value)); });
}

void OptionField::show(const UnitOption& option) {
  m_option = option;
  fill();
}

void OptionField::disable() {
  m_control->setEnabled(false);
  if (m_automatic) m_automatic->setEnabled(false);
}

void OptionField::fill() {
  const bool wasShowing = std::exchange(m_isShowing, true);
  showValue(ownText(m_option.value));
  m_control->setToolTip(tip());
  m_control->setAccessibleDescription(ownText(m_option.description));
  m_control->setEnabled(m_option.active && !m_option.isAutomatic);
  if (m_automatic) {
    m_automatic->setEnabled(m_option.active);
    m_automatic->setChecked(m_option.isAutomatic);
  }
  m_isShowing = wasShowing;
}

void OptionField::showValue(const QString& value) {
  if (auto* box = qobject_cast<QComboBox*>(m_control)) {
    box->clear();
    for (const std::string& choice : m_option.choices) box->addItem(ownText(choice), ownText(choice));
    box->setCurrentIndex(box->findData(value));
  } else if (auto* check = qobject_cast<QCheckBox*>(m_control)) {
    check->setChecked(m_option.value == switchValue(m_option, true));
  } else if (auto* spin = qobject_cast<QDoubleSpinBox*>(m_control)) {
    const bool hasRange = m_option.least < m_option.most;
    spin->setDecimals(decimalsOf(m_option));
    spin->setRange(hasRange ? m_option.least : -kAnyNumber, hasRange ? m_option.most : kAnyNumber);
    spin->setSingleStep(m_option.step > 0 ? m_option.step : 1);
    spin->setSuffix(suffixOf(m_option));
    spin->setValue(value.toDouble());
  } else if (auto* line = qobject_cast<QLineEdit*>(m_control)) {
    line->setText(value);
  }
}

bool OptionField::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::Wheel || m_control->hasFocus()) return QObject::eventFilter(watched, event);
  event->ignore();  // what is around it may scroll
  return true;
}

}  // namespace quillbay
