#include "scanner/option_field.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <cmath>

#include "window/wheel_guard.h"

namespace desktop {

using quillbay::UnitOption;
using quillbay::UnitOptionType;

namespace {

constexpr int kMostDecimals = 4;
constexpr int kChoiceColumns = 16;

QString shown(const std::string& text) { return QString::fromStdString(text); }

/// Without a range: whatever the device's numbers can be.
constexpr double kAnyNumber = 2147483647.0;

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

/// The names of units that devices have, as a user reads them.
QString suffixOf(const UnitOption& option) {
  if (option.unit.empty()) return {};
  return " " + (option.unit == "us" ? QString::fromUtf8("\xC2\xB5s") : shown(option.unit));
}

}  // namespace

OptionField::Kind OptionField::kindOf(const UnitOption& option) {
  if (option.type == UnitOptionType::Button) return Kind::Button;
  if (option.type == UnitOptionType::Switch) return Kind::Switch;
  if (!option.choices.empty()) return Kind::Choice;
  const bool isNumber = option.type == UnitOptionType::Number || option.type == UnitOptionType::WholeNumber;
  return isNumber && option.count == 1 ? Kind::Number : Kind::Text;
}

OptionField::OptionField(const UnitOption& option) : m_option(option), m_kind(kindOf(option)) {
  make();
  setParent(m_control);
  if (m_kind == Kind::Choice || m_kind == Kind::Number) new WheelGuard(m_control);
  m_control->setAccessibleName(shown(option.title));
  fill();
}

QString OptionField::label() const {
  if (m_kind == Kind::Switch || m_kind == Kind::Button) return {};
  QString text = shown(m_option.title).replace('&', "&&");
  if (m_kind == Kind::Choice && !m_option.unit.empty()) text += " (" + suffixOf(m_option).trimmed() + ")";
  return text;
}

QString OptionField::tip() const {
  QStringList lines;
  if (!m_option.description.empty()) lines += shown(m_option.description);
  if (!m_option.range.empty()) lines += tr("Range: %1").arg(shown(m_option.range) + suffixOf(m_option));
  if (!m_option.active) lines += tr("Not available with the current settings");
  return "<qt>" + lines.join('\n').toHtmlEscaped().replace('\n', "<br>") + "</qt>";
}

void OptionField::make() {
  const QString title = shown(m_option.title).replace('&', "&&");
  switch (m_kind) {
    case Kind::Choice: {
      auto* box = new QComboBox;
      box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
      box->setMinimumContentsLength(kChoiceColumns);
      connect(box, &QComboBox::activated, this, [this, box] { emit changed(box->currentData().toString()); });
      m_control = box;
      break;
    }
    case Kind::Switch: {
      auto* box = new QCheckBox(title);
      connect(box, &QCheckBox::clicked, this, [this](bool on) { emit changed(on ? "yes" : "no"); });
      m_control = box;
      break;
    }
    case Kind::Number: makeNumber(); break;
    case Kind::Text: {
      auto* line = new QLineEdit;
      connect(line, &QLineEdit::editingFinished, this, [this, line] {
        if (line->text() != shown(m_option.value)) emit changed(line->text());
      });
      m_control = line;
      break;
    }
    case Kind::Button: {
      auto* button = new QPushButton(title);
      button->setAutoDefault(false);
      connect(button, &QPushButton::clicked, this, [this] { emit changed({}); });
      m_control = button;
      break;
    }
  }
}

void OptionField::makeNumber() {
  auto* spin = new QDoubleSpinBox;
  spin->setKeyboardTracking(false);  // the device is asked once per number, not once per digit
  connect(spin, &QDoubleSpinBox::valueChanged, this, [this, spin](double value) {
    if (!m_isShowing) emit changed(QString::number(value, 'f', spin->decimals()));
  });
  m_control = spin;
}

void OptionField::show(const UnitOption& option) {
  m_option = option;
  fill();
}

void OptionField::fill() {
  m_isShowing = true;
  const QString value = shown(m_option.value);
  if (auto* box = qobject_cast<QComboBox*>(m_control)) {
    box->clear();
    for (const std::string& choice : m_option.choices) box->addItem(shown(choice), shown(choice));
    box->setCurrentIndex(box->findData(value));
  } else if (auto* check = qobject_cast<QCheckBox*>(m_control)) {
    check->setChecked(m_option.value == "yes");
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
  m_control->setToolTip(tip());
  m_control->setEnabled(m_option.active);
  m_isShowing = false;
}

}  // namespace desktop
