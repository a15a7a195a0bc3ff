#pragma once
#include <QWidget>

#include "quillbay/scanner.h"

class QComboBox;
class QLabel;
class QPushButton;

namespace desktop {

/// The row above the panel: where documents come from, and the buttons for files and for the scanner's own
/// settings.
class JobBar : public QWidget {
  Q_OBJECT
 public:
  explicit JobBar(QWidget* parent = nullptr);
  /// Shows what an open scanner offers; null: none is open, and the row is hidden.
  void showScanner(quillbay::IScan* scanner);
  /// Whether pages go to files: the button of their settings is shown.
  void showFiles(bool shown);
  [[nodiscard]] bool showsFiles() const { return m_showsFiles; }

 signals:
  void sourceChosen(quillbay::UnitSource source);
  void filesAsked();
  void deviceAsked();

 private:
  QLabel* m_sourceLabel;
  QComboBox* m_source;
  QPushButton *m_files, *m_device;
  bool m_showsFiles = true;
};

/// A source as users call it.
[[nodiscard]] QString sourceName(quillbay::UnitSource source);
/// The sources that a scanner offers; none for null or a scanner that cannot tell.
[[nodiscard]] std::vector<quillbay::UnitSource> sourcesOf(quillbay::IScan* scanner);

}  // namespace desktop
