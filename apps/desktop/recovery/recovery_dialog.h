#pragma once
#include <QDialog>
#include <QThreadPool>
#include <atomic>
#include <memory>
#include <vector>

#include "recovery/leftovers.h"

class QTreeWidget;
class QTreeWidgetItem;

namespace desktop {

/// Lists what a crash has left, with check boxes; "Discard..." asks again. Small pages are shown in little.
class RecoveryDialog : public QDialog {
  Q_OBJECT
 public:
  RecoveryDialog(const std::vector<Leftover>& items, const QStringList& troubles, QWidget* parent);
  ~RecoveryDialog() override;
  [[nodiscard]] RecoveryAnswer answer() const;

 private:
  void fill(const std::vector<Leftover>& items);
  void showPicture(int row, const QString& file);
  void discard();
  void updateButtons();
  /// The rows that are checked; with `deletable`, those of them that can be deleted.
  [[nodiscard]] std::vector<std::size_t> chosen(bool deletable) const;

  QTreeWidget* m_list;
  QPushButton* m_open;
  QPushButton* m_discard;
  RecoveryAnswer::Act m_act = RecoveryAnswer::Act::Later;
  const std::shared_ptr<std::atomic<bool>> m_closed = std::make_shared<std::atomic<bool>>(false);
  QThreadPool m_thread;
};

}  // namespace desktop
