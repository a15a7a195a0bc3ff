#include "recovery/recovery_dialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cmath>
#include <exception>

#include "document/page_image.h"
#include "quillbay/formats.h"

namespace desktop {

namespace {

constexpr int kPicturePixels = 48;
constexpr qint64 kSmallBytes = qint64{256} << 20;  // larger pages take too long to read for a picture
constexpr int kMostTroubles = 8;                   // the window must fit on the screen
enum Column { ColumnName, ColumnSize, ColumnTime, ColumnWhere, ColumnCount };

QString sizeText(const Leftover& item) {
  QString bytes = QLocale().formattedDataSize(item.bytes);
  if (item.pixels.isEmpty()) return bytes;
  return RecoveryDialog::tr("%1 x %2 pixels, %3").arg(item.pixels.width()).arg(item.pixels.height()).arg(bytes);
}

/// Names the folder of a file: several may have the same name.
QString whereText(const Leftover& item) {
  const QString folder = QDir::toNativeSeparators(QFileInfo(item.file).absolutePath());
  switch (item.kind) {
    case Leftover::Kind::Page: return RecoveryDialog::tr("not saved yet");
    case Leftover::Kind::Part: return RecoveryDialog::tr("unfinished in %1, pages: %2").arg(folder).arg(item.pages);
    case Leftover::Kind::File: break;
  }
  return RecoveryDialog::tr("saved in %1, pages: %2").arg(folder).arg(item.pages);
}

/// The page in little; null when it cannot be read.
QImage pictureOf(const QString& file, const CancelFlag& cancel) {
  try {
    const auto raster = quillbay::LoadRasterFile(file.toStdString(), 0, nullptr);
    if (!raster || *cancel) return {};
    const auto size = raster->GetSize();
    if (size.width <= 0 || size.height <= 0) return {};
    const double scale = std::min(1.0, double(kPicturePixels) / std::max(size.width, size.height));
    QImage image(std::max(1, int(std::ceil(size.width * scale))), std::max(1, int(std::ceil(size.height * scale))),
                 QImage::Format_RGB32);
    image.fill(Qt::white);
    const quillbay::CRDirectTfm tfm{double(image.width()) / size.width, double(image.height()) / size.height, 0, 0};
    return drawRaster(raster.get(), image, image.rect(), tfm, cancel) ? image : QImage();
  } catch (const std::exception&) {
    return {};  // opening it tells why
  }
}

}  // namespace

RecoveryDialog::RecoveryDialog(const std::vector<Leftover>& items, const QStringList& troubles, QWidget* parent)
    : QDialog(parent), m_list(new QTreeWidget) {
  setWindowTitle(tr("Pages of the last run"));
  m_thread.setMaxThreadCount(1);
  m_list->setColumnCount(ColumnCount);
  m_list->setHeaderLabels({tr("Page"), tr("Size"), tr("Time"), tr("Where")});
  m_list->setRootIsDecorated(false);
  m_list->setIconSize({kPicturePixels, kPicturePixels});
  m_list->viewport()->setBackgroundRole(QPalette::Window);  // empty check boxes are seen on it in dark palettes too
  m_list->setAccessibleName(tr("Pages of the last run"));
  m_list->setMinimumSize(QSize(760, 240).boundedTo(screen()->availableSize() * 0.8));
  auto* label = new QLabel(tr("Quillbay was not closed as usual. These &pages were finished:"));
  label->setBuddy(m_list);
  QStringList told = troubles.mid(0, kMostTroubles);
  if (told.size() < troubles.size()) told += tr("See the log for more: %1").arg(troubles.size() - told.size());
  auto* note = new QLabel(told.join('\n'));
  note->setTextFormat(Qt::PlainText);
  note->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  note->setWordWrap(true);
  note->setVisible(!troubles.isEmpty());
  auto* buttons = new QDialogButtonBox;
  m_open = buttons->addButton(tr("&Open"), QDialogButtonBox::AcceptRole);
  m_open->setToolTip(tr("Adds the checked pages to the document"));
  m_discard = buttons->addButton(tr("&Discard..."), QDialogButtonBox::ActionRole);
  m_discard->setToolTip(tr("Deletes the checked pages that are in no complete file; asks first"));
  auto* later = buttons->addButton(tr("Decide &later"), QDialogButtonBox::RejectRole);
  later->setToolTip(tr("Keeps everything. The program asks again at its next start; see also the menu File"));
  m_open->setDefault(true);

  auto* column = new QVBoxLayout(this);
  column->addWidget(label);
  column->addWidget(m_list);
  column->addWidget(note);
  column->addWidget(buttons);
  fill(items);
  connect(m_list, &QTreeWidget::itemChanged, this, &RecoveryDialog::updateButtons);
  connect(m_open, &QPushButton::clicked, this, [this] {
    m_act = RecoveryAnswer::Act::Open;
    accept();
  });
  connect(m_discard, &QPushButton::clicked, this, &RecoveryDialog::discard);
  connect(later, &QPushButton::clicked, this, &QDialog::reject);
  updateButtons();
}

RecoveryDialog::~RecoveryDialog() {
  *m_closed = true;
  m_thread.waitForDone();
}

void RecoveryDialog::fill(const std::vector<Leftover>& items) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Leftover& item = items[i];
    auto* row = new QTreeWidgetItem(m_list);  // the list owns it
    row->setText(ColumnName, item.name);
    row->setText(ColumnSize, sizeText(item));
    row->setText(ColumnTime, QLocale().toString(item.time.toLocalTime(), QLocale::ShortFormat));
    row->setText(ColumnWhere, whereText(item));
    const QString tip =
        item.kind == Leftover::Kind::Part ? tr("%1: gets its final name when opened").arg(item.file) : item.file;
    for (const Column column : {ColumnName, ColumnWhere}) row->setToolTip(column, tip);
    row->setData(ColumnName, Qt::UserRole, item.kind != Leftover::Kind::File);
    row->setCheckState(ColumnName, item.kind == Leftover::Kind::File ? Qt::Unchecked : Qt::Checked);
    if (item.kind == Leftover::Kind::Page && item.bytes <= kSmallBytes) showPicture(int(i), item.file);
  }
  for (int column = 0; column < ColumnCount; ++column) m_list->resizeColumnToContents(column);
}

void RecoveryDialog::showPicture(int row, const QString& file) {
  m_thread.start([this, row, file, closed = m_closed] {
    const QImage image = *closed ? QImage() : pictureOf(file, closed);
    if (image.isNull()) return;
    QMetaObject::invokeMethod(this, [this, row, image] {
      const QSignalBlocker quietly(m_list);
      m_list->topLevelItem(row)->setIcon(ColumnName, QPixmap::fromImage(image));
      m_list->resizeColumnToContents(ColumnName);
    });
  });
}

std::vector<std::size_t> RecoveryDialog::chosen(bool deletable) const {
  std::vector<std::size_t> rows;
  for (int i = 0; i < m_list->topLevelItemCount(); ++i) {
    const QTreeWidgetItem* row = m_list->topLevelItem(i);
    if (row->checkState(ColumnName) != Qt::Checked) continue;
    if (!deletable || row->data(ColumnName, Qt::UserRole).toBool()) rows.push_back(std::size_t(i));
  }
  return rows;
}

void RecoveryDialog::updateButtons() { m_discard->setEnabled(!chosen(true).empty()); }

void RecoveryDialog::discard() {
  const auto question = tr("The checked pages (%1) are in no complete file. Delete them permanently?");
  if (QMessageBox::question(this, windowTitle(), question.arg(chosen(true).size()),
                            QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes) {
    return;
  }
  m_act = RecoveryAnswer::Act::Discard;
  accept();
}

RecoveryAnswer RecoveryDialog::answer() const { return {m_act, chosen(m_act == RecoveryAnswer::Act::Discard)}; }

}  // namespace desktop
