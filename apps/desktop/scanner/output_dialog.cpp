#include "scanner/output_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>

#include "quillbay/formats.h"
#include "window/wheel_guard.h"

namespace desktop {

namespace {
constexpr int kPagedRole = Qt::UserRole + 1;
constexpr int kMostDigits = 8;

/// A row with a label, and the same text for screen readers and as a hint.
template <class W>
W* addField(QFormLayout& form, const QString& label, W* field, const QString& tip) {
  form.addRow(label, field);
  new WheelGuard(field);
  field->setAccessibleName(QString(label).remove('&'));
  field->setToolTip(tip);
  return field;
}
}  // namespace

OutputDialog::OutputDialog(const OutputSettings& output, QWidget* parent)
    : QDialog(parent),
      m_format(new QComboBox),
      m_fate(new QComboBox),
      m_multiPage(new QCheckBox(tr("&One file for all pages of a batch"))),
      m_addsCounter(new QCheckBox(tr("&Add the counter to the name"))),
      m_counter(new QSpinBox),
      m_digits(new QSpinBox) {
  setWindowTitle(tr("File settings"));
  auto* column = new QVBoxLayout(this);
  auto* files = new QGroupBox(tr("Files"));
  auto* fileForm = new QFormLayout(files);
  makeFormats(output.extension);
  addField(*fileForm, tr("&Format"), m_format, tr("The format of the files"));
  m_multiPage->setToolTip(tr("A batch writes one file with all pages, if the format supports it"));
  fileForm->addRow(m_multiPage);
  m_fate->addItem(tr("Count up to a free name"), quillbay::kFateIncrement);
  m_fate->addItem(tr("Ask"), quillbay::kFateAsk);
  m_fate->addItem(tr("Overwrite"), quillbay::kFateOverwrite);
  addField(*fileForm, tr("If the file &exists"), m_fate, tr("What to do if the file exists"));
  auto* counter = new QGroupBox(tr("Counter"));
  auto* counterForm = new QFormLayout(counter);
  m_addsCounter->setToolTip(tr("Off: the counter is only inserted at <COUNTER> in the mask").toHtmlEscaped());
  counterForm->addRow(m_addsCounter);
  m_counter->setRange(0, std::numeric_limits<int>::max());
  m_digits->setRange(1, kMostDigits);
  addField(*counterForm, tr("&Next number"), m_counter, tr("The number of the next file"));
  addField(*counterForm, tr("&Digits"), m_digits, tr("Numbers are padded with zeros to this many digits"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  column->addWidget(files);
  column->addWidget(counter);
  column->addStretch(1);
  column->addWidget(buttons);

  m_fate->setCurrentIndex(std::max(0, m_fate->findData(output.fate)));
  m_addsCounter->setChecked(output.addsCounter);
  m_counter->setValue(output.counter);
  m_digits->setValue(output.digits);
  m_multiPage->setChecked(output.isMultiPage);
  connect(m_format, &QComboBox::currentIndexChanged, this, &OutputDialog::updateEnabled);
  connect(m_multiPage, &QCheckBox::toggled, this, &OutputDialog::updateEnabled);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  updateEnabled();
}

void OutputDialog::makeFormats(const std::string& extension) {
  for (const auto& format : quillbay::ListFormats()) {
    if (format.extensions.empty()) continue;
    const QString usual = QString::fromStdString(format.extensions.front());
    m_format->addItem(QString::fromStdString(format.name) + " (" + usual + ")", usual);
    m_format->setItemData(m_format->count() - 1, format.paged, kPagedRole);
    for (const auto& each : format.extensions) {
      if (each == extension) m_format->setCurrentIndex(m_format->count() - 1);
    }
  }
}

void OutputDialog::updateEnabled() {
  const bool isPaged = m_format->currentData(kPagedRole).toBool();
  m_multiPage->setEnabled(isPaged);
  // One file for all pages neither counts nor asks.
  const bool isMultiPage = isPaged && m_multiPage->isChecked();
  for (QWidget* field : {static_cast<QWidget*>(m_fate), static_cast<QWidget*>(m_addsCounter)})
    field->setEnabled(!isMultiPage);
}

OutputSettings OutputDialog::output() const {
  OutputSettings output;
  output.extension = m_format->currentData().toString().toStdString();
  output.isMultiPage = m_multiPage->isEnabled() && m_multiPage->isChecked();
  output.addsCounter = m_addsCounter->isChecked();
  output.counter = m_counter->value();
  output.digits = m_digits->value();
  output.fate = m_fate->currentData().toInt();
  return output;
}

}  // namespace desktop
