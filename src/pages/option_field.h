#pragma once
#include <QObject>
#include <QString>

#include "quillbay/scanner.h"

class QCheckBox;
class QWidget;

namespace quillbay {

/// One option of a device as a control: a list for choices, a switch, a number with its range and unit, a text, or
/// a button; beside it a switch for a value that the device chooses itself.
class OptionField : public QObject {
  Q_OBJECT
 public:
  explicit OptionField(const UnitOption& option);
  [[nodiscard]] const std::string& name() const { return m_option.name; }
  /// The label that belongs in front of it; empty where the control has its text itself.
  [[nodiscard]] QString label() const;
  /// What is put into a form: the control, and what stands beside it.
  [[nodiscard]] QWidget* widget() const { return m_row; }
  /// The control itself.
  [[nodiscard]] QWidget* control() const { return m_control; }
  /// The switch for the device's own choice; null where it has none.
  [[nodiscard]] QCheckBox* automatic() const { return m_automatic; }
  /// Shows the value, and the range or choices when they have changed.
  void show(const UnitOption& option);
  /// As after `show`, but not available.
  void disable();

 Q_SIGNALS:
  /// The user changed the value, or pressed the button.
  void changed(const QString& value);

 protected:
  /// Keeps the wheel from changing a control that is merely under the pointer.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  enum class Kind { Choice, Switch, Number, Text, Button };
  [[nodiscard]] static Kind kindOf(const UnitOption& option);
  [[nodiscard]] QString tip() const;
  void make();
  [[nodiscard]] QWidget* makeChoice();
  [[nodiscard]] QWidget* makeNumber();
  [[nodiscard]] QWidget* makeText();
  void makeAutomatic();
  void fill();
  void showValue(const QString& value);

  UnitOption m_option;
  Kind m_kind;
  QWidget *m_control = nullptr, *m_row = nullptr;
  QCheckBox* m_automatic = nullptr;
  bool m_isShowing = false;  // the control follows the device
};

}  // namespace quillbay
