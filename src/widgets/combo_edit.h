#pragma once
#include <QComboBox>

namespace quillbay {

/// A list with a field for values that are not in it. What is typed adds no entry. `CDialog` raises 5 for typing
/// and 9 and 1 for a chosen entry, as for every combo box; `finished` follows when the text is settled: Return,
/// another control, or a chosen entry. Esc puts back the last settled text. User-interface thread.
class CComboEdit final : public QComboBox {
  Q_OBJECT
 public:
  explicit CComboEdit(QWidget* parent = nullptr);
  /// Raises nothing; selects the entry of that text, if there is one.
  void setText(const QString& text);
  [[nodiscard]] QString text() const { return currentText(); }

 Q_SIGNALS:
  /// The text was settled and differs from the one before.
  void finished(const QString& text);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void settle();
  QString m_settled;
};

}  // namespace quillbay
