#pragma once
#include <QDialog>
#include <vector>

#include "scanner/device_options.h"

class QCheckBox;
class QFormLayout;
class QGroupBox;
class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace desktop {

class OptionField;

/// A device's own options as a form: in the device's groups, with its units, ranges and texts; the ones that the
/// driver calls advanced are shown on demand. A change is set at once, since it may change others; Cancel puts
/// everything back.
class DeviceDialog : public QDialog {
  Q_OBJECT
 public:
  /// `unit` is not null, and is used by nobody else while the dialog is open. `name` is the scanner's.
  DeviceDialog(quillbay::KxPtr<quillbay::IUnitOptions> unit, const QString& name, QWidget* parent);
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
  void addRow(QFormLayout& form, QGroupBox* group, const quillbay::UnitOption& option);
  void set(const OptionField& field, const QString& value);
  void showValues();
  void showRows();
  void fit();

  DeviceOptions m_options;
  std::vector<Row> m_rows;
  QVBoxLayout* m_groups = nullptr;
  QScrollArea* m_scroll;
  QCheckBox* m_advanced;
  QLabel* m_reason;
};

}  // namespace desktop
