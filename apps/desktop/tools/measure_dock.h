#pragma once
#include <QDockWidget>
#include <functional>

#include "tools/measures.h"

class QTableView;

namespace desktop {

/// The list of what was measured.
class MeasureDock : public QDockWidget {
  Q_OBJECT
 public:
  explicit MeasureDock(QWidget* parent);

  /// Adds a measure and brings it into sight.
  void add(const Measure& measure);
  [[nodiscard]] MeasureList& list() { return *m_list; }
  [[nodiscard]] QTableView* table() const { return m_table; }

  /// The chosen measures, or all when none is chosen, as text on the clipboard.
  void copy();
  void saveCsv();
  /// Takes off the chosen ones.
  void removeChosen();

  /// Asks for a file's name, agreed to when it exists; empty: given up.
  std::function<QString(const QString& suggested)> tableName;

 signals:
  void saved(const QString& file);
  void failed(const QString& why);

 private:
  QAction* add(QLayout* row, const QString& text, const QString& tip, void (MeasureDock::*step)());
  void clear();
  [[nodiscard]] std::vector<int> chosen() const;
  void updateActions();

  MeasureList* m_list;
  QTableView* m_table;
  QAction *m_copy = nullptr, *m_save = nullptr, *m_remove = nullptr, *m_clear = nullptr;
};

}  // namespace desktop
