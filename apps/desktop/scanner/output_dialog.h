#pragma once
#include <QDialog>

#include "scanner/output_settings.h"

class QCheckBox;
class QComboBox;
class QSpinBox;

namespace desktop {

/// Lets the user choose the format of files, one file for all pages, the counter, and whether messages wait for a
/// user.
class OutputDialog : public QDialog {
  Q_OBJECT
 public:
  OutputDialog(const OutputSettings& output, QWidget* parent);
  [[nodiscard]] OutputSettings output() const;

 private:
  void makeFormats(const std::string& extension);
  void updateEnabled();

  QComboBox *m_format, *m_fate;
  QCheckBox *m_multiPage, *m_addsCounter;
  QSpinBox *m_counter, *m_digits;
};

}  // namespace desktop
