#include "scanner/scanner_offer.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "scanner/sim_device.h"

namespace desktop {

namespace {
constexpr int kLinesShown = 6;
}

ScannerOffer::ScannerOffer(quillbay::IScanManager* manager, QWidget* parent)
    : QWidget(parent),
      m_search(manager),
      m_state(new QLabel),
      m_list(new QListWidget),
      m_use(new QPushButton(tr("&Use this scanner"))),
      m_again(new QPushButton(tr("Search a&gain"))),
      m_other(new QPushButton(tr("&Other scanner..."))),
      m_simulated(new QPushButton(tr("Try the s&imulated scanner"))) {
  auto* column = new QVBoxLayout(this);
  m_state->setTextFormat(Qt::PlainText);
  m_state->setWordWrap(true);
  m_state->setTextInteractionFlags(Qt::TextSelectableByMouse);
  m_list->setAccessibleName(tr("Scanners"));
  m_list->setToolTip(tr("The scanners that were found"));
  m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_list->setWordWrap(true);
  m_list->setFixedHeight(m_list->fontMetrics().lineSpacing() * kLinesShown + 2 * m_list->frameWidth() + 4);
  m_use->setToolTip(tr("Opens the chosen scanner and remembers it"));
  m_again->setToolTip(tr("Searches for scanners again"));
  m_other->setToolTip(tr("Opens a scanner by its name"));
  m_simulated->setToolTip(tr("Scans generated drawings, without a device"));
  column->addWidget(m_state);
  column->addWidget(m_list);
  for (QPushButton* button : {m_use, m_again, m_other, m_simulated}) {
    button->setAutoDefault(true);  // Return presses it
    column->addWidget(button);
  }
  setFocusProxy(m_other);
  column->addStretch();
  connect(m_use, &QPushButton::clicked, this, &ScannerOffer::useChosen);
  connect(m_list, &QListWidget::itemActivated, this, &ScannerOffer::useChosen);
  connect(m_list, &QListWidget::itemSelectionChanged, this,
          [this] { m_use->setEnabled(!m_list->selectedItems().isEmpty()); });
  connect(m_again, &QPushButton::clicked, this, &ScannerOffer::search);
  connect(m_other, &QPushButton::clicked, this, &ScannerOffer::otherAsked);
  connect(m_simulated, &QPushButton::clicked, this, [this] {
    pause();  // nobody else may use the manager while it searches
    emit simulatedAsked();
  });
  connect(&m_search, &DeviceSearch::finished, this, &ScannerOffer::showFound);
  search();
}

void ScannerOffer::search() {
  m_state->setText(tr("No scanner is chosen yet.") + "\n\n" +
                   tr("Searching for scanners (at most %1 seconds)...").arg(quillbay::kListLimitSeconds));
  m_devices.clear();
  m_list->clear();
  m_list->hide();
  m_use->hide();
  m_again->setEnabled(false);
  m_search.start();
}

void ScannerOffer::showFound() {
  for (const auto& entry : m_search.entries()) {
    const QString device = QString::fromStdString(entry.device);
    if (SimDevice::isOne(device)) continue;
    m_devices += device;
    const QString name = QString::fromStdString(entry.vendor + " " + entry.model).trimmed();
    m_list->addItem(name.isEmpty() ? device : name + "\n" + device);
    m_list->item(m_list->count() - 1)->setToolTip(QString::fromStdString(entry.type));
  }
  const bool hasFound = !m_devices.isEmpty();
  QString text = tr("No scanner was found. Connect one and switch it on, then search again.");
  if (hasFound) {
    text =
        m_devices.size() == 1 ? tr("This scanner was found:") : tr("Choose one of the scanners that were found:");
  }
  if (!m_search.trouble().isEmpty()) text += "\n\n" + m_search.trouble();
  m_state->setText(text);
  m_again->setEnabled(true);
  m_list->setVisible(hasFound);
  m_use->setVisible(hasFound);
  if (!hasFound) return;
  // The only one is what Return takes; of several the user chooses one. Unless the user is busy elsewhere.
  const bool isOnly = m_devices.size() == 1;
  m_list->setCurrentRow(isOnly ? 0 : -1);
  m_use->setEnabled(isOnly);
  const QWidget* focus = window()->focusWidget();
  if (!focus || isAncestorOf(focus)) (isOnly ? static_cast<QWidget*>(m_use) : m_list)->setFocus();
}

void ScannerOffer::useChosen() {
  // A list with the focus has a current row also when nothing is selected.
  const int row = m_list->selectedItems().isEmpty() ? -1 : m_list->currentRow();
  if (row >= 0 && row < m_devices.size()) emit chosen(m_devices[row]);
}

}  // namespace desktop
