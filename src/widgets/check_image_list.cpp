#include "widgets/check_image_list.h"

#include <QKeyEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <algorithm>
#include <memory>

#include "widgets/user_interface_thread.h"

namespace quillbay {

CCheckImageList::CCheckImageList(QWidget* parent) : QListWidget(parent) {
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
  setIconSize({side, side});
  connect(this, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* entry) { toggle({entry}); });
}

int CCheckImageList::addEntry(const QIcon& picture, const QString& text, bool checked) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(this);
  auto entry = std::make_unique<QListWidgetItem>(picture, text);
  entry->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
  entry->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
  addItem(entry.release());
  return count() - 1;
}

bool CCheckImageList::isChecked(int row) const {
  const QListWidgetItem* entry = item(row);
  return entry && entry->checkState() == Qt::Checked;
}

void CCheckImageList::setChecked(int row, bool checked) {
  const QSignalBlocker quiet(this);
  if (QListWidgetItem* entry = item(row)) entry->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

std::vector<int> CCheckImageList::checkedRows() const {
  std::vector<int> rows;
  for (int row = 0; row < count(); ++row) {
    if (isChecked(row)) rows.push_back(row);
  }
  return rows;
}

void CCheckImageList::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space) return toggle(selectedItems());
  QListWidget::keyPressEvent(event);
}

/// All get one state: checked, unless all were.
void CCheckImageList::toggle(const QList<QListWidgetItem*>& entries) {
  const bool all = std::all_of(entries.begin(), entries.end(),
                               [](const QListWidgetItem* entry) { return entry->checkState() == Qt::Checked; });
  for (QListWidgetItem* entry : entries) entry->setCheckState(all ? Qt::Unchecked : Qt::Checked);
}

}  // namespace quillbay
