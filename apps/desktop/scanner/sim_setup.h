#pragma once
#include <QWidget>
#include <functional>
#include <vector>

#include "scanner/sim_device.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace desktop {

/// The set-up of the simulated scanner as a form, in three parts: the paper, the drawings, and what is rarely
/// wanted. It holds the device string: a field that is changed changes its own key in it, and nothing else.
class SimSetup : public QWidget {
  Q_OBJECT
 public:
  explicit SimSetup(QWidget* parent = nullptr);

  /// Shows a device string; what a field cannot hold is shown as the nearest that it can.
  void setDevice(const QString& device);
  [[nodiscard]] QString device() const { return m_device.text(); }
  /// The part that is in front, from 0.
  void showPart(int part);

 signals:
  /// A field was changed by the user.
  void changed();

 private:
  /// A field: its key, the value that needs no key, and how it shows a value and what it holds.
  struct Field {
    QString key, standard;
    std::function<void(const QString&)> show;
    std::function<QString()> value;
  };
  /// A part of the form: two fields in a row.
  struct Part {
    QGridLayout* grid;
    int row = 0, column = 0;
  };
  Part addPart(const QString& title);
  void add(Part& part, const QString& label, QWidget* widget, const QString& tip);
  void addWide(Part& part, QWidget* widget, const QString& tip);
  QDoubleSpinBox* addNumber(Part& part, const QString& label, const QString& key, double standard, double least,
                            double most, int decimals, const QString& suffix, const QString& tip);
  QComboBox* addChoice(Part& part, const QString& label, const QString& key, const QString& standard,
                       const std::vector<std::pair<QString, QString>>& choices, const QString& tip);
  QCheckBox* addSwitch(Part& part, const QString& text, const QString& key, bool standard, const QString& tip);
  QDoubleSpinBox* newNumber(double least, double most, int decimals, const QString& suffix);
  void bind(Field field);

  void makePaper();
  void makeSize(Part& part);
  void makePlace(Part& part);
  void makeDrawings();
  void makePictures(Part& part);
  void makeAdvanced();
  void choosePictures();
  void take(const QString& key);
  void showPaper();
  void showPictures();
  void updateEnabled();

  SimDevice m_device{QString()};
  std::vector<Field> m_fields;
  bool m_showing = false;  // the form follows the string
  QStringList m_pictures;
  QTabWidget* m_parts;
  QComboBox *m_paper = nullptr, *m_drawing = nullptr;
  QDoubleSpinBox *m_width = nullptr, *m_length = nullptr, *m_left = nullptr, *m_top = nullptr, *m_seed = nullptr,
                 *m_dpi = nullptr;
  QCheckBox* m_centred = nullptr;
  QLineEdit* m_files = nullptr;
  QPushButton* m_noFiles = nullptr;
};

}  // namespace desktop
