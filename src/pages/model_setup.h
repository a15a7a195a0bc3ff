#pragma once
#include <QDialog>
#include <vector>

#include "pages/unit_option_list.h"

class QCheckBox;
class QDialogButtonBox;
class QFormLayout;
class QGroupBox;
class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace quillbay {

class OptionField;

/// A unit's own options as a form: in the unit's groups, with its units, ranges and texts; the ones that the driver
/// calls advanced are shown on demand. A change is set at once, since it may change others; Cancel puts back what
/// was changed since the start or since Apply.
class ModelSetup : public QDialog {
  Q_OBJECT
 public:
  /// `unit` is not null, and is used by nobody else while the dialog is open. `name` is the scanner's.
  ModelSetup(KxPtr<IUnitOptions> unit, const QString& name, QWidget* parent);
  /// Whether settings were changed, and not put back.
  [[nodiscard]] bool isChanged() const { return m_options.isChanged(); }
  void reject() override;

 private:
  struct Row {
    OptionField* field;
    QWidget* label;  // null where the field has its text itself
    QGroupBox* group;
    bool isAdvanced;
  };
  void makeForm();
  void makeAround();
  void addRow(QFormLayout& form, QGroupBox* group, const UnitOption& option);
  void set(const OptionField& field, const QString& value);
  void showValues();
  void showRows();
  void fit();

  UnitOptionList m_options;
  std::vector<Row> m_rows;
  QVBoxLayout* m_groups = nullptr;
  QScrollArea* m_scroll;
  QCheckBox* m_advanced;
  QLabel* m_reason;
  QDialogButtonBox* m_buttons;
};

}  // namespace quillbay
