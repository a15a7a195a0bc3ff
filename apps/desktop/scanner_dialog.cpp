#include "scanner_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

namespace desktop {

namespace {

QString titleOf(const quillbay::ScannerEntry& entry) {
  const QString name = QString::fromStdString(entry.vendor + " " + entry.model).trimmed();
  const QString device = QString::fromStdString(entry.device);
  return name.isEmpty() ? device : name + "  (" + device + ")";
}

}  // namespace

ScannerDialog::ScannerDialog(quillbay::IScanManager* manager, QWidget* parent)
    : QDialog(parent),
      m_manager(manager),
      m_list(new QListWidget),
      m_device(new QLineEdit),
      m_state(new QLabel),
      m_refresh(new QPushButton(tr("&Search again"))) {
  setWindowTitle(tr("Choose scanner"));
  m_list->setAccessibleName(tr("Scanners"));
  m_list->setMinimumSize(420, 140);
  m_device->setAccessibleName(tr("Device"));
  m_device->setToolTip(
      tr("What opens the scanner. The simulated one takes its set-up here, for instance "
         "sim:width=900,size=841x594,drawing=map"));
  m_state->setWordWrap(true);
  auto* listLabel = new QLabel(tr("S&canners"));
  listLabel->setBuddy(m_list);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->addButton(m_refresh, QDialogButtonBox::ActionRole);
  m_refresh->setAutoDefault(false);
  m_ok = buttons->button(QDialogButtonBox::Ok);
  m_ok->setEnabled(false);

  auto* column = new QVBoxLayout(this);
  column->addWidget(listLabel);
  column->addWidget(m_list);
  auto* form = new QFormLayout;
  form->addRow(tr("&Device"), m_device);
  column->addLayout(form);
  column->addWidget(m_state);
  column->addWidget(buttons);

  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(m_refresh, &QPushButton::clicked, this, &ScannerDialog::refresh);
  connect(m_list, &QListWidget::currentRowChanged, this, &ScannerDialog::choose);
  connect(m_list, &QListWidget::itemActivated, this, &QDialog::accept);
  connect(m_device, &QLineEdit::textChanged, this,
          [this](const QString& text) { m_ok->setEnabled(!text.trimmed().isEmpty()); });
  refresh();
}

ScannerDialog::~ScannerDialog() {
  if (m_thread) m_thread->wait();
}

std::string ScannerDialog::device() const { return m_device->text().trimmed().toStdString(); }

void ScannerDialog::refresh() {
  m_refresh->setEnabled(false);
  m_state->setText(tr("Searching for scanners..."));
  m_listing = std::make_shared<Listing>();
  m_thread.reset(QThread::create([manager = m_manager, listing = m_listing] {
    listing->complete = manager->List(&listing->entries, &listing->why) != 0;
  }));
  connect(m_thread.get(), &QThread::finished, this, &ScannerDialog::listed);
  m_thread->start();
}

void ScannerDialog::listed() {
  m_thread->wait();
  m_refresh->setEnabled(true);
  m_state->setText(m_listing->complete ? QString() : QString::fromStdString(m_listing->why));
  m_list->clear();
  for (const auto& entry : m_listing->entries) {
    m_list->addItem(titleOf(entry));
    m_list->item(m_list->count() - 1)->setToolTip(QString::fromStdString(entry.type));
  }
  if (m_list->count() > 0 && m_device->text().isEmpty()) m_list->setCurrentRow(0);
}

void ScannerDialog::choose(int row) {
  if (row < 0 || row >= static_cast<int>(m_listing->entries.size())) return;
  m_device->setText(QString::fromStdString(m_listing->entries[static_cast<std::size_t>(row)].device));
}

}  // namespace desktop
