#include "pages/model_setup.h"

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
#include <map>

#include "pages/option_field.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {
constexpr double kMostOfScreen = 0.8;
constexpr int kMargin = 24;
constexpr int kMostNumbers = 8;  // a table of more is nothing to type for most users

QString setupText(const char* english) { return QString::fromStdString(Supp_Translate(english)); }
}  // namespace

ModelSetup::ModelSetup(KxPtr<IUnitOptions> unit, const QString& name, QWidget* parent)
    : QDialog(parent),
      m_options(std::move(unit)),
      m_scroll(new QScrollArea),
      m_advanced(new QCheckBox(setupText("Show &advanced settings"))),
      m_reason(new QLabel),
      m_buttons(new QDialogButtonBox) {
  setWindowTitle(QString::fromStdString(formatText(Supp_Translate("Settings of %s"), {name.toStdString()})));
  makeAround();
  showValues();
  showRows();
}

/// What is added first comes first when the user goes through with Tab.
void ModelSetup::makeAround() {
  auto* column = new QVBoxLayout(this);
  m_scroll->setWidgetResizable(true);
  m_scroll->setFrameShape(QFrame::NoFrame);
  m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_scroll->setFocusPolicy(Qt::NoFocus);
  auto* page = new QWidget;
  m_groups = new QVBoxLayout(page);
  m_groups->setContentsMargins(0, 0, 0, 0);
  m_scroll->setWidget(page);
  m_advanced->setToolTip(setupText("Also shows the settings that the driver marks as advanced"));
  m_reason->setWordWrap(true);
  m_reason->setTextFormat(Qt::PlainText);
  m_reason->hide();
  column->addWidget(m_scroll, 1);
  makeForm();
  column->addWidget(m_reason);
  column->addWidget(m_advanced);
  column->addWidget(m_buttons);
  connect(m_advanced, &QCheckBox::toggled, this, &ModelSetup::showRows);
  m_buttons->addButton(setupText("OK"), QDialogButtonBox::AcceptRole)->setDefault(true);
  m_buttons->addButton(setupText("Cancel"), QDialogButtonBox::RejectRole);
  QPushButton* apply = m_buttons->addButton(setupText("A&pply"), QDialogButtonBox::ApplyRole);
  apply->setToolTip(setupText("Keeps the changes so far: Cancel then puts back the later ones only"));
  connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(m_buttons, &QDialogButtonBox::rejected, this, &ModelSetup::reject);
  connect(apply, &QPushButton::clicked, this, [this] {
    m_options.keep();
    showValues();
  });
}

/// As large as what is shown, within the screen; a user's larger size stays.
void ModelSetup::fit() {
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

void ModelSetup::makeForm() {
  std::map<std::string, QGroupBox*> groups;
  for (const UnitOption& option : m_options.options()) {
    QGroupBox*& group = groups[option.group];
    if (!group) {
      group = new QGroupBox(option.group.empty() ? setupText("Settings") : QString::fromStdString(option.group));
      (new QFormLayout(group))->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
      m_groups->addWidget(group);
    }
    addRow(*static_cast<QFormLayout*>(group->layout()), group, option);
  }
  if (m_rows.empty()) m_groups->addWidget(new QLabel(setupText("This scanner has no settings.")));
  m_groups->addStretch(1);
}

void ModelSetup::addRow(QFormLayout& form, QGroupBox* group, const UnitOption& option) {
  auto* field = new OptionField(option);
  QLabel* label = nullptr;
  if (field->label().isEmpty()) {
    form.addRow(field->widget());
  } else {
    label = new QLabel(field->label());
    label->setBuddy(field->control());
    form.addRow(label, field->widget());
  }
  m_rows.push_back({field, label, group, option.advanced || option.count > kMostNumbers});
  connect(field, &OptionField::changed, this, [this, field](const QString& value) { set(*field, value); });
}

void ModelSetup::set(const OptionField& field, const QString& value) {
  std::string why;
  const bool isSet = m_options.set(field.name(), value.toStdString(), &why);
  m_reason->setText(isSet ? QString() : QString::fromStdString(why));
  m_reason->setVisible(!isSet);
  // Later: a field must not be refilled in the middle of its own signal.
  QTimer::singleShot(0, this, &ModelSetup::showValues);
}

/// Fields keep their places, so that the focus stays where the user is.
void ModelSetup::showValues() {
  for (const Row& row : m_rows) {
    const UnitOption* option = m_options.find(row.field->name());
    if (option)
      row.field->show(*option);
    else
      row.field->disable();
    if (!row.label) continue;
    row.label->setEnabled(option && option->active);
    row.label->setToolTip(row.field->control()->toolTip());
  }
  for (QAbstractButton* button : m_buttons->buttons()) {
    if (m_buttons->buttonRole(button) == QDialogButtonBox::ApplyRole) button->setEnabled(m_options.hasUnkept());
  }
}

void ModelSetup::showRows() {
  const bool showsAll = m_advanced->isChecked();
  bool hasAdvanced = false;
  for (const Row& row : m_rows) {
    hasAdvanced = hasAdvanced || row.isAdvanced;
    const bool isShown = showsAll || !row.isAdvanced;
    row.field->widget()->setVisible(isShown);
    if (row.label) row.label->setVisible(isShown);
  }
  for (const Row& row : m_rows) {
    const bool isShown = std::any_of(m_rows.begin(), m_rows.end(), [&](const Row& other) {
      return other.group == row.group && !other.field->widget()->isHidden();
    });
    row.group->setVisible(isShown);
  }
  m_advanced->setVisible(hasAdvanced);
  fit();
}

void ModelSetup::reject() {
  m_options.restore();
  QDialog::reject();
}

}  // namespace quillbay
