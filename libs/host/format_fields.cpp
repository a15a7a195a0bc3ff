#include "host/format_fields.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QSpinBox>
#include <QStyle>
#include <algorithm>
#include <vector>

#include "host/format_texts.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

bool isNumber(const QbOptionInfo& option) { return !option.choices && (option.least != 0 || option.most != 0); }

bool isSwitchChoice(const std::string& choice) { return sameKey(choice, "on") || sameKey(choice, "yes"); }

std::vector<std::string> choicesOf(const QbOptionInfo& option) {
  std::vector<std::string> list;
  for (const char* const* c = option.choices; c && *c; ++c) list.emplace_back(*c);
  return list;
}

/// The choice of a check box that is checked, or not.
std::string switchChoice(const QbOptionInfo& option, bool isOn) {
  for (const std::string& choice : choicesOf(option)) {
    if (isSwitchChoice(choice) == isOn) return choice;
  }
  return {};
}

QString fieldText(const std::string& text) { return QString::fromStdString(text); }

constexpr const char* kProfileKey = "Profile";
constexpr int kProfileLetters = 18;

/// A button in the field that chooses a colour profile's file.
void offerFiles(QWidget* control) {
  auto* combo = qobject_cast<QComboBox*>(control);
  auto* edit = combo ? combo->lineEdit() : qobject_cast<QLineEdit*>(control);
  if (!edit) return;
  QAction* open = edit->addAction(edit->style()->standardIcon(QStyle::SP_DirOpenIcon), QLineEdit::TrailingPosition);
  open->setToolTip(fieldText(Supp_Translate("Choose the file of a colour profile")));
  QObject::connect(open, &QAction::triggered, edit, [edit = QPointer<QLineEdit>(edit)] {
    const QString file =
        QFileDialog::getOpenFileName(edit, fieldText(Supp_Translate("Colour profile")), {},
                                     fieldText(Supp_Translate("Colour profiles (*.icc *.icm);;All files (*)")));
    if (edit && !file.isEmpty()) edit->setText(file);
  });
}

}  // namespace

FormatField::FormatField(const QbOptionInfo& option, QWidget* control, const Place& place)
    : m_option(option), m_control(control) {
  if (auto* combo = qobject_cast<QComboBox*>(control); combo && option.choices) fillChoices(combo, place);
  if (auto* spin = qobject_cast<QSpinBox*>(control)) spin->setRange(option.least, option.most);
  if (sameKey(option.key, kProfileKey)) offerFiles(control);
  if (auto* combo = qobject_cast<QComboBox*>(control)) {
    combo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    if (combo->isEditable()) combo->setMinimumContentsLength(kProfileLetters);
  }
  control->setFocusPolicy(Qt::StrongFocus);
  const QString help = fieldText(Supp_Translate(option.help ? option.help : ""));
  if (control->toolTip().isEmpty()) control->setToolTip(help);
  if (control->accessibleName().isEmpty())
    control->setAccessibleName(fieldText(formatOptionLabel(option.key)).remove('&'));
  if (control->accessibleDescription().isEmpty()) control->setAccessibleDescription(help);
}

bool FormatField::fits(const QbOptionInfo& option, const QWidget* control) {
  const auto* combo = qobject_cast<const QComboBox*>(control);
  if (qobject_cast<const QCheckBox*>(control)) {
    const auto choices = choicesOf(option);
    return choices.size() == 2 && isSwitchChoice(choices[0]) != isSwitchChoice(choices[1]);
  }
  if (option.choices) return combo != nullptr;
  if (isNumber(option)) return qobject_cast<const QSpinBox*>(control) != nullptr;
  return qobject_cast<const QLineEdit*>(control) || (combo && combo->isEditable());
}

QWidget* FormatField::newControl(const QbOptionInfo& option) {
  if (option.choices) return new QComboBox;
  if (isNumber(option)) return new QSpinBox;
  return new QLineEdit;
}

void FormatField::fillChoices(QComboBox* combo, const Place& place) const {
  combo->clear();
  const QStringList old = combo->property("oldChoices").toString().split('|');
  const auto isOld = [&](const std::string& choice) { return old.contains(fieldText(choice)); };
  const auto suits = [&](const std::string& choice) {
    return place.preferred == 0 || (formatChoiceColors(place.format, m_option.key, choice) & place.preferred) != 0;
  };
  auto choices = choicesOf(m_option);
  choices.erase(std::remove_if(choices.begin(), choices.end(), isOld), choices.end());
  const auto rest = std::stable_partition(choices.begin(), choices.end(), suits);
  for (auto choice = choices.begin(); choice != choices.end(); ++choice) {
    if (choice == rest) combo->insertSeparator(combo->count());
    combo->addItem(fieldText(formatChoiceText(*choice)), fieldText(*choice));
  }
}

std::string FormatField::otherwise() const {
  if (m_option.choices && *m_option.choices) return *m_option.choices;
  return m_option.otherwise ? m_option.otherwise : "";
}

std::string FormatField::value() const {
  if (const auto* box = qobject_cast<const QCheckBox*>(m_control)) return switchChoice(m_option, box->isChecked());
  if (const auto* spin = qobject_cast<const QSpinBox*>(m_control)) return toText(std::int64_t{spin->value()});
  if (const auto* edit = qobject_cast<const QLineEdit*>(m_control)) return edit->text().trimmed().toStdString();
  const auto* combo = qobject_cast<const QComboBox*>(m_control);
  if (!combo) return otherwise();
  return (combo->isEditable() ? combo->currentText().trimmed() : combo->currentData().toString()).toStdString();
}

void FormatField::setValue(const std::string& value) {
  if (auto* box = qobject_cast<QCheckBox*>(m_control)) return box->setChecked(isSwitchChoice(value));
  if (auto* edit = qobject_cast<QLineEdit*>(m_control)) return edit->setText(fieldText(value));
  if (auto* spin = qobject_cast<QSpinBox*>(m_control)) {
    std::int64_t number = 0;
    if (!parseNumber(value, &number) && !parseNumber(otherwise(), &number)) number = m_option.least;
    return spin->setValue(static_cast<int>(std::clamp<std::int64_t>(number, m_option.least, m_option.most)));
  }
  auto* combo = qobject_cast<QComboBox*>(m_control);
  if (!combo) return;
  if (combo->isEditable()) return combo->setEditText(fieldText(value));
  for (int i = 0; i < combo->count(); ++i) {
    if (sameKey(combo->itemData(i).toString().toStdString(), value)) return combo->setCurrentIndex(i);
  }
  for (const std::string& old : choicesOf(m_option)) {
    if (!sameKey(old, value)) continue;
    combo->addItem(fieldText(formatChoiceText(old)), fieldText(old));
    return combo->setCurrentIndex(combo->count() - 1);
  }
  combo->setCurrentIndex(combo->findData(fieldText(otherwise())));
}

void FormatField::listen(const std::function<void()>& changed) const {
  const auto call = [changed] { changed(); };
  if (auto* box = qobject_cast<QCheckBox*>(m_control)) {
    QObject::connect(box, &QCheckBox::toggled, box, call);
  } else if (auto* spin = qobject_cast<QSpinBox*>(m_control)) {
    QObject::connect(spin, &QSpinBox::valueChanged, spin, call);
  } else if (auto* edit = qobject_cast<QLineEdit*>(m_control)) {
    QObject::connect(edit, &QLineEdit::textChanged, edit, call);
  } else if (auto* combo = qobject_cast<QComboBox*>(m_control)) {
    QObject::connect(combo, &QComboBox::currentTextChanged, combo, call);
  }
}

}  // namespace quillbay
