#pragma once
#include <QDockWidget>

class QPlainTextEdit;

namespace desktop {

/// What happened, line by line, with the time; the oldest lines go.
class LogDock : public QDockWidget {
  Q_OBJECT
 public:
  explicit LogDock(QWidget* parent);
  /// Any thread.
  void note(const QString& text);
  [[nodiscard]] QString text() const;

 private:
  QPlainTextEdit* m_lines;
};

}  // namespace desktop
