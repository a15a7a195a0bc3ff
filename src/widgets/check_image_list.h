#pragma once
#include <QIcon>
#include <QListWidget>
#include <vector>

namespace quillbay {

/// A list of entries with a check box and a picture. Space checks or clears every selected entry, a double click
/// the one under it; `CDialog` raises a command for each entry whose check changed. User-interface thread.
class CCheckImageList final : public QListWidget {
  Q_OBJECT
 public:
  explicit CCheckImageList(QWidget* parent = nullptr);
  /// Answers the entry's row. Raises nothing.
  int addEntry(const QIcon& picture, const QString& text, bool checked);
  [[nodiscard]] bool isChecked(int row) const;
  /// Raises nothing.
  void setChecked(int row, bool checked);
  [[nodiscard]] std::vector<int> checkedRows() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void toggle(const QList<QListWidgetItem*>& entries);
};

}  // namespace quillbay
