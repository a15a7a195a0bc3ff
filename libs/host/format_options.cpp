#include "host/format_options.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "host/format_fields.h"
#include "host/format_forms.h"
#include "host/format_texts.h"
#include "platform/base_services.h"
#include "quillbay/format_settings.h"

namespace quillbay {

namespace {

constexpr int kWidestHelp = 320;
constexpr std::uint32_t kEveryColor = 3 | 8 | 16 | 256 | 512;

QString optionText(const std::string& english) { return QString::fromStdString(Supp_Translate(english)); }

/// The control of an option in a form, or null.
QWidget* controlOf(const QWidget* form, const char* key) {
  if (!form) return nullptr;
  for (QWidget* child : form->findChildren<QWidget*>()) {
    const QVariant own = child->property("optionKey");
    if (own.isValid() && sameKey(own.toString().toStdString(), key)) return child;
  }
  return nullptr;
}

/// A row of a table-made form: label, control, and what the module says about it.
void addOptionRow(QFormLayout* rows, const QbOptionInfo& option, QWidget* control) {
  auto* label = new QLabel(QString::fromStdString(formatOptionLabel(option.key)));
  label->setBuddy(control);
  rows->addRow(label, control);
  auto* help = new QLabel(optionText(option.help ? option.help : ""));
  help->setWordWrap(true);
  help->setTextFormat(Qt::PlainText);
  help->setMinimumWidth(kWidestHelp);
  QFont small = help->font();
  small.setPointSizeF(small.pointSizeF() * 0.9);
  help->setFont(small);
  if (!help->text().isEmpty()) rows->addRow(help);
}

}  // namespace

FormatOptionsDialog::FormatOptionsDialog(const QbFormat& format, IParam* options, QWidget* parent)
    : QDialog(parent),
      m_format(format.name),
      m_options(options),
      m_preferred(static_cast<std::uint32_t>(paramInt(options, format_key::PreferredPage))),
      m_note(new QLabel) {
  setWindowTitle(QString::fromStdString(formatText(Supp_Translate("Options of %s"), {format.name})));
  auto* column = new QVBoxLayout(this);
  column->addWidget(makePage(format));
  m_note->setWordWrap(true);
  m_note->setTextFormat(Qt::PlainText);
  column->addWidget(m_note);
  column->addStretch(1);
  auto* buttons = new QDialogButtonBox;
  buttons->addButton(optionText("OK"), QDialogButtonBox::AcceptRole)->setDefault(true);
  buttons->addButton(optionText("Cancel"), QDialogButtonBox::RejectRole);
  QPushButton* defaults = buttons->addButton(optionText("&Defaults"), QDialogButtonBox::ResetRole);
  defaults->setEnabled(!m_fields.empty());
  column->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &FormatOptionsDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(defaults, &QPushButton::clicked, this, [this] { reset(); });
  showDependent();
  focusPreferred();
}

FormatOptionsDialog::~FormatOptionsDialog() = default;

QWidget* FormatOptionsDialog::makePage(const QbFormat& format) {
  auto* page = new QWidget;
  auto* column = new QVBoxLayout(page);
  column->setContentsMargins(0, 0, 0, 0);
  QWidget* form = newFormatForm(format.name);
  if (form) column->addWidget(form);
  QFormLayout* rows = nullptr;
  for (const QbOptionInfo* option = format.options; option && option->key; ++option) {
    QWidget* control = controlOf(form, option->key);
    if (!control || !FormatField::fits(*option, control)) {
      if (!rows) {
        auto* group = new QGroupBox(form ? optionText("More") : optionText("Options"));
        rows = new QFormLayout(group);
        rows->setRowWrapPolicy(QFormLayout::WrapLongRows);
        column->addWidget(group);
      }
      control = FormatField::newControl(*option);
      addOptionRow(rows, *option, control);
    }
    addField(*option, control);
  }
  if (form) hideUnused(*form);
  if (m_fields.empty()) column->addWidget(new QLabel(optionText("This format has no options.")));
  return page;
}

/// Formats of one family share a form: what this one does not have is not shown.
void FormatOptionsDialog::hideUnused(const QWidget& form) const {
  const auto isUsed = [this](const QWidget* control) {
    return std::any_of(m_fields.begin(), m_fields.end(), [&](const auto& f) { return f->control() == control; });
  };
  for (QGroupBox* group : form.findChildren<QGroupBox*>()) {
    bool isEmpty = true;
    for (QWidget* control : group->findChildren<QWidget*>()) {
      if (!control->property("optionKey").isValid()) continue;
      isEmpty = isEmpty && !isUsed(control);
      if (isUsed(control)) continue;
      control->hide();
      for (QLabel* label : group->findChildren<QLabel*>()) {
        if (label->buddy() == control) label->hide();
      }
    }
    group->setVisible(!isEmpty);
  }
}

void FormatOptionsDialog::addField(const QbOptionInfo& option, QWidget* control) {
  auto field = std::make_unique<FormatField>(option, control, FormatField::Place{m_format, m_preferred});
  CKxVariant kept;
  std::string value = field->otherwise();
  if (m_options->GetValue(option.key, &kept)) {
    if (const auto* text = kept.get<std::string>())
      value = *text;
    else if (kept.get<std::int32_t>())
      value = toText(std::int64_t{kept.toInt()});
  }
  field->setValue(value);
  field->listen([this] { showDependent(); });
  m_fields.push_back(std::move(field));
}

std::string FormatOptionsDialog::valueOf(std::string_view key) const {
  for (const auto& field : m_fields) {
    if (sameKey(field->key(), key)) return field->value();
  }
  return {};
}

/// Whether one of several options is one of several things: "Compression=LZW|Deflate;BlackWhite=LZW".
bool FormatOptionsDialog::holds(const QString& rules) const {
  const QStringList all = rules.split(';');
  return std::any_of(all.begin(), all.end(), [this](const QString& rule) {
    const QString value = QString::fromStdString(valueOf(rule.section('=', 0, 0).toStdString()));
    return rule.section('=', 1).split('|').contains(value, Qt::CaseInsensitive);
  });
}

/// A number may have a lower end with some choices.
void FormatOptionsDialog::limit(const FormatField& field) const {
  auto* spin = qobject_cast<QSpinBox*>(field.control());
  const QString rule = field.control()->property("mostWhen").toString();
  if (!spin || rule.isEmpty()) return;
  const bool isLimited = holds(rule.section(':', 0, 0));
  spin->setMaximum(isLimited ? rule.section(':', 1).toInt() : field.most());
}

/// Enables what counts with the other choices, and says what a choice does not take.
void FormatOptionsDialog::showDependent() {
  QStringList notes;
  for (const auto& field : m_fields) {
    const std::uint32_t colors = formatChoiceColors(m_format, field->key(), field->value());
    if ((colors & kEveryColor) != kEveryColor) {
      notes += QString::fromStdString(formatText(
          Supp_Translate(
              "%s is for black-and-white pages only: with it grey and colour pages are refused. Automatic "
              "takes what fits each page."),
          {formatChoiceText(field->value())}));
    }
    limit(*field);
    const QString rule = field->control()->property("enabledWhen").toString();
    if (rule.isEmpty()) continue;
    const bool counts = holds(rule);
    field->control()->setEnabled(counts);
    for (QLabel* label : findChildren<QLabel*>()) {
      if (label->buddy() == field->control()) label->setEnabled(counts);
    }
  }
  m_note->setText(notes.join('\n'));
  m_note->setVisible(!notes.isEmpty());
}

/// Where a form has options for some kinds of pages each: that of the page for which it is shown.
void FormatOptionsDialog::focusPreferred() const {
  for (const auto& field : m_fields) {
    const QVariant colors = field->control()->property("forColors");
    if (!colors.isValid() || (colors.toUInt() & m_preferred) == 0) continue;
    return field->control()->setFocus();
  }
}

void FormatOptionsDialog::reset() {
  for (const auto& field : m_fields) field->setValue(field->otherwise());
}

void FormatOptionsDialog::accept() {
  for (const auto& field : m_fields) {
    const std::string value = field->value();
    // One without an effect could be refused by the module.
    const bool counts = field->control()->isEnabledTo(this);
    if (!counts || value.empty() || value == field->otherwise())
      m_options->Remove(field->key());
    else
      m_options->SetValue(field->key(), value);
  }
  QDialog::accept();
}

bool ShowFormatOptions(const QbFormat& format, IParam* options, QWidget* parent) {
  const auto held = KxPtr<IParam>::share(options);
  const QPointer<FormatOptionsDialog> dialog(new FormatOptionsDialog(format, options, parent));
  const int answer = dialog->exec();
  if (dialog) delete dialog.data();
  return answer == QDialog::Accepted;
}

}  // namespace quillbay
