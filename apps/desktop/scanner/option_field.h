#pragma once
#include <QObject>
#include <QString>

#include "quillbay/scanner.h"

class QWidget;

namespace desktop {

/// One option of a device as a control: a list for choices, a switch, a number with its range and unit, a text, or
/// a button.
class OptionField : public QObject {
  Q_OBJECT
 public:
  explicit OptionField(const quillbay::UnitOption& option);
  [[nodiscard]] const std::string& name() const { return m_option.name; }
  /// The label that belongs in front of it; empty where the control has its text itself.
  [[nodiscard]] QString label() const;
  /// The control, to be put into a form.
  [[nodiscard]] QWidget* control() const { return m_control; }
  /// Shows the value, and the range or choices when they have changed.
  void show(const quillbay::UnitOption& option);

 signals:
  /// The user changed the value, or pressed the button.
  void changed(const QString& value);

 private:
  enum class Kind { Choice, Switch, Number, Text, Button };
  [[nodiscard]] static Kind kindOf(const quillbay::UnitOption& option);
  [[nodiscard]] QString tip() const;
  void make();
  void makeNumber();
  void fill();

  quillbay::UnitOption m_option;
  Kind m_kind;
  QWidget* m_control = nullptr;
  bool m_isShowing = false;  // the control follows the device
};

}  // namespace desktop
