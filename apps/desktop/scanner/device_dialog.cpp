#include "scanner/device_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>

#include "scanner/option_field.h"

namespace desktop {

using quillbay::UnitOption;

namespace {
constexpr double kMostOfScreen = 0.8;
constexpr int kMargin = 24;
constexpr int kMostNumbers = 8;  // a table of more is nothing to type for most users
}  // namespace

DeviceDialog::DeviceDialog(quillbay::KxPtr<quillbay::IUnitOptions> unit, const QString& name, QWidget* parent)
    : QDialog(parent),
      m_options(std::move(unit)),
      m_scroll(new QScrollArea),
      m_advanced(new QCheckBox(tr("Show &advanced settings"))),
      m_reason(new QLabel) {
  setWindowTitle(tr("Settings of %1").arg(name));
  auto* column = new QVBoxLayout(this);
  m_scroll->setWidgetResizable(true);
  m_scroll->setFrameShape(QFrame::NoFrame);
  m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_scroll->setFocusPolicy(Qt::NoFocus);
  auto* page = new QWidget;
  m_groups = new QVBoxLayout(page);
  m_groups->setContentsMargins(0, 0, 0, 0);
  makeForm();
  m_scroll->setWidget(page);
  m_advanced->setToolTip(tr("Also shows the settings that the driver marks as advanced"));
  m_reason->setWordWrap(true);
  m_reason->setTextFormat(Qt::PlainText);
  m_reason->hide();
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  column->addWidget(m_scroll, 1);
  column->addWidget(m_reason);
  column->addWidget(m_advanced);
  column->addWidget(buttons);
  connect(m_advanced, &QCheckBox::toggled, this, &DeviceDialog::showRows);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &DeviceDialog::reject);
  showRows();
}

/// As large as what is shown, within the screen; a user's larger size stays.
void DeviceDialog::fit() {
  QWidget* page = m_scroll->widget();
  page->layout()->activate();
  const int bar = m_scroll->verticalScrollBar()->sizeHint().width();
  m_scroll->setMinimumWidth(page->minimumSizeHint().width() + bar);
  layout()->activate();
  const int around = layout()->sizeHint().height() - m_scroll->sizeHint().height();
  const int most = static_cast<int>(screen()->availableSize().height() * kMostOfScreen);
  const QSize now = isVisible() ? size() : QSize();
  resize(now.expandedTo(
      {page->sizeHint().width() + bar + kMargin, std::min(most, page->sizeHint().height() + around)}));
}

void DeviceDialog::makeForm() {
  QGroupBox* group = nullptr;
  QFormLayout* form = nullptr;
  for (const UnitOption& option : m_options.options()) {
    const QString title = option.group.empty() ? tr("Settings") : QString::fromStdString(option.group);
    if (!group || group->title() != title) {
      group = new QGroupBox(title);
      form = new QFormLayout(group);
      form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
      m_groups->addWidget(group);
    }
    addRow(*form, group, option);
  }
  if (m_rows.empty()) m_groups->addWidget(new QLabel(tr("This scanner has no settings.")));
  m_groups->addStretch(1);
}

void DeviceDialog::addRow(QFormLayout& form, QGroupBox* group, const UnitOption& option) {
  auto* field = new OptionField(option);
  QLabel* label = nullptr;
  if (field->label().isEmpty()) {
    form.addRow(field->control());
  } else {
    label = new QLabel(field->label());
    label->setBuddy(field->control());
    label->setToolTip(field->control()->toolTip());
    form.addRow(label, field->control());
  }
  m_rows.push_back({field, label, group, option.advanced || option.count > kMostNumbers});
  connect(field, &OptionField::changed, this, [this, field](const QString& value) { set(*field, value); });
}

void DeviceDialog::set(const OptionField& field, const QString& value) {
  std::string why;
  const bool isSet = m_options.set(field.name(), value.toStdString(), &why);
  m_reason->setText(isSet ? QString() : QString::fromStdString(why));
  m_reason->setVisible(!isSet);
  // Later: a field must not be refilled, or go, in the middle of its own signal.
  QTimer::singleShot(0, this, &DeviceDialog::showValues);
}

void DeviceDialog::showValues() {
  const auto& options = m_options.options();
  for (const Row& row : m_rows) {
    const auto is = [&](const UnitOption& option) { return option.name == row.field->name(); };
    const auto option = std::find_if(options.begin(), options.end(), is);
    row.field->control()->setEnabled(option != options.end());
    if (option != options.end()) row.field->show(*option);
    if (row.label) row.label->setEnabled(row.field->control()->isEnabled());
  }
}

void DeviceDialog::showRows() {
  const bool showsAll = m_advanced->isChecked();
  bool hasAdvanced = false;
  for (const Row& row : m_rows) {
    hasAdvanced = hasAdvanced || row.isAdvanced;
    const bool isShown = showsAll || !row.isAdvanced;
    row.field->control()->setVisible(isShown);
    if (row.label) row.label->setVisible(isShown);
  }
  for (const Row& row : m_rows) {
    const bool isShown = std::any_of(m_rows.begin(), m_rows.end(), [&](const Row& other) {
      return other.group == row.group && !other.field->control()->isHidden();
    });
    row.group->setVisible(isShown);
  }
  m_advanced->setVisible(hasAdvanced);
  fit();
}

void DeviceDialog::reject() {
  m_options.restore();
  QDialog::reject();
}

}  // namespace desktop
