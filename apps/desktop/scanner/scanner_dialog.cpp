#include "scanner/scanner_dialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "quillbay/events.h"
#include "scanner/sim_setup.h"

namespace desktop {

using quillbay::query;

namespace {

constexpr int kListWidth = 520, kListHeight = 96;

}  // namespace

ScannerDialog::ScannerDialog(quillbay::IScanManager* manager, std::function<void(const std::string&)> help,
                             QWidget* parent)
    : QDialog(parent),
      m_manager(manager),
      m_search(manager),
      m_help(std::move(help)),
      m_list(new QListWidget),
      m_device(new QLineEdit),
      m_state(new QLabel),
      m_reason(new QLabel),
      m_reasonIcon(new QLabel),
      m_setup(new SimSetup),
      m_searchAgain(new QPushButton(tr("Search a&gain"))) {
  setWindowTitle(tr("Choose scanner"));
  auto* column = new QVBoxLayout(this);
  makeList();
  makeDevice();
  column->addWidget(m_setup);
  column->addWidget(makeButtons());
  m_setup->hide();
  connect(m_list, &QListWidget::currentRowChanged, this, &ScannerDialog::choose);
  connect(m_list, &QListWidget::itemClicked, this, [this] { choose(m_list->currentRow()); });
  connect(m_list, &QListWidget::itemActivated, m_ok, &QPushButton::click);
  connect(m_device, &QLineEdit::textChanged, this, &ScannerDialog::deviceChanged);
  connect(m_device, &QLineEdit::editingFinished, this,
          [this] { showSetup(SimDevice::isOne(m_device->text().trimmed())); });
  connect(m_setup, &SimSetup::changed, this, [this] { m_device->setText(m_setup->device()); });
  connect(m_searchAgain, &QPushButton::clicked, this, &ScannerDialog::search);
  connect(&m_search, &DeviceSearch::finished, this, &ScannerDialog::listed);
  if (const auto watch = query<quillbay::IScannerWatch>(m_manager)) {
    quillbay::ScannerEntry now;
    watch->GetWanted(&now);  // also answers what is simulated
    setDevice(QString::fromStdString(now.device));
  }
  deviceChanged();
  search();
}

void ScannerDialog::makeList() {
  auto* column = static_cast<QVBoxLayout*>(layout());
  auto* label = new QLabel(tr("&Scanners"));
  label->setBuddy(m_list);
  m_list->setAccessibleName(tr("Scanners"));
  m_list->setToolTip(tr("The scanners that were found"));
  m_list->setMinimumSize(kListWidth, kListHeight);
  m_state->setWordWrap(true);
  m_searchAgain->setAutoDefault(false);
  m_searchAgain->setToolTip(tr("Searches for scanners again"));
  column->addWidget(label);
  column->addWidget(m_list, 1);
  auto* row = new QHBoxLayout;
  row->addWidget(m_state, 1);
  row->addWidget(m_searchAgain);
  column->addLayout(row);
}

void ScannerDialog::makeDevice() {
  auto* column = static_cast<QVBoxLayout*>(layout());
  auto* label = new QLabel(tr("&Device"));
  label->setBuddy(m_device);
  m_device->setAccessibleName(tr("Device"));
  m_device->setToolTip(
      tr("The device name; type it if the scanner is not listed. The simulated scanner has its options here, "
         "for instance sim:width=900,size=841x594,drawing=map"));
  auto* row = new QHBoxLayout;
  row->addWidget(label);
  row->addWidget(m_device, 1);
  column->addLayout(row);
  const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
  m_reasonIcon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(side));
  m_reason->setWordWrap(true);
  m_reason->setTextFormat(Qt::PlainText);
  m_reason->setAccessibleName(tr("Fault of the device"));
  auto* reason = new QHBoxLayout;
  reason->addWidget(m_reasonIcon, 0, Qt::AlignTop);
  reason->addWidget(m_reason, 1);
  column->addLayout(reason);
}

QDialogButtonBox* ScannerDialog::makeButtons() {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help);
  m_ok = buttons->button(QDialogButtonBox::Ok);
  auto* help = buttons->button(QDialogButtonBox::Help);
  help->setText(tr("&Help"));
  help->setAutoDefault(false);
  help->setToolTip(tr("Opens the manual"));
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] {
    m_help(SimDevice::isOne(m_device->text().trimmed()) ? "QBHelp:IDH_simulated_scanner" : "QBHelp:IDH_first_scan");
  });
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  return buttons;
}

std::string ScannerDialog::device() const { return m_device->text().trimmed().toStdString(); }

void ScannerDialog::setDevice(const QString& device) {
  m_device->setText(device);
  m_device->setCursorPosition(0);
  showSetup(SimDevice::isOne(device));
}

void ScannerDialog::search() {
  m_searchAgain->setEnabled(false);
  m_state->setText(tr("Searching... (at most %1 seconds)").arg(quillbay::kListLimitSeconds));
  m_search.start();
}

void ScannerDialog::listed() {
  m_searchAgain->setEnabled(true);
  const auto& entries = m_search.entries();
  const QString trouble = m_search.trouble();
  m_state->setText(trouble.isEmpty() ? tr("Found: %1").arg(entries.size()) : trouble);
  {
    const QSignalBlocker quietly(m_list);
    m_list->clear();
    for (const auto& entry : entries) {
      m_list->addItem(scannerTitle(entry));
      m_list->item(m_list->count() - 1)->setToolTip(QString::fromStdString(entry.type));
    }
  }
  // Real scanners come first: a simulated one is never chosen by itself.
  const bool offersReal = !entries.empty() && !SimDevice::isOne(QString::fromStdString(entries.front().device));
  if (offersReal && m_device->text().isEmpty()) {
    m_list->setCurrentRow(0);
  } else {
    mark();
  }
}

/// Marks the list's entry that the device string opens; none when it is not listed.
void ScannerDialog::mark() {
  const QString device = m_device->text().trimmed();
  const auto is = [&](const quillbay::ScannerEntry& entry) {
    const QString listed = QString::fromStdString(entry.device);
    return listed == device || (SimDevice::isOne(device) && SimDevice::isOne(listed));
  };
  const auto& entries = m_search.entries();
  const auto found = m_search.isRunning() ? entries.end() : std::find_if(entries.begin(), entries.end(), is);
  const QSignalBlocker quietly(m_list);
  m_list->setCurrentRow(found == entries.end() ? -1 : static_cast<int>(found - entries.begin()));
}

void ScannerDialog::choose(int row) {
  if (row < 0 || row >= static_cast<int>(m_search.entries().size())) return;
  const QString device = QString::fromStdString(m_search.entries()[static_cast<std::size_t>(row)].device);
  // Clicking on the simulated scanner does not throw away its set-up.
  const bool keeps = SimDevice::isOne(device) && SimDevice::isOne(m_device->text().trimmed());
  if (!keeps) setDevice(device);
}

void ScannerDialog::deviceChanged() {
  const QString device = m_device->text().trimmed();
  const bool simulated = SimDevice::isOne(device);
  std::string why;
  const bool good =
      !device.isEmpty() && (!simulated || quillbay::CheckSimulatedDevice(device.toStdString(), &why) != 0);
  m_ok->setEnabled(good);
  m_reason->setText(QString::fromStdString(why));
  m_reason->setVisible(!why.empty());
  m_reasonIcon->setVisible(!why.empty());
  m_setup->setEnabled(simulated);
  if (simulated) {
    // What the form itself wrote comes back as it is, and must not be put into the field that is being typed in.
    if (m_setup->device() != device) m_setup->setDevice(device);
    showSetup(true);
  }
  mark();
}

/// The form keeps its place while a device's name is typed, and goes when another kind of scanner was chosen.
void ScannerDialog::showSetup(bool shown) {
  if (m_setup->isHidden() != shown) return;
  m_setup->setVisible(shown);
  if (!shown) layout()->activate();
  resize(width(), shown ? std::max(height(), sizeHint().height()) : sizeHint().height());
}

}  // namespace desktop
