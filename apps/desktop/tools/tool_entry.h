#pragma once
#include <QWidget>

class QLabel;
class QLineEdit;

namespace desktop {

/// What a running tool shows in the status bar: what to do next, a field for typed places, the measures so far.
class ToolEntry : public QWidget {
  Q_OBJECT
 public:
  explicit ToolEntry(QWidget* parent);

  void showTexts(const QString& hint, const QString& measures);
  /// Why what was typed cannot be taken; it stays for mending, and the reason until the next change.
  void showError(const QString& why);
  /// Text that was typed over the view goes into the field, which gets the keyboard.
  void type(const QString& text);
  void clear();
  [[nodiscard]] QLineEdit* field() const { return m_field; }
  /// What is shown now.
  [[nodiscard]] QString hint() const;
  [[nodiscard]] QString measures() const;

 signals:
  /// Return, with what was typed.
  void entered(const QString& text);
  /// A key that means nothing to an empty field (arrows, Return, Backspace), or Esc.
  void keyLeft(int key, Qt::KeyboardModifiers held);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void showHint();

  QLabel *m_hint, *m_measures;
  QLineEdit* m_field;
  QString m_hintText, m_error;
};

}  // namespace desktop
