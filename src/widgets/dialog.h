#pragma once
#include <QWidget>
#include <cstdint>
#include <unordered_map>

class QSpinBox;

namespace quillbay {

/// Notification codes of commands.
enum CommandCode : int {
  kCodeClicked = 0,
  kCodeSelected = 1,      ///< another entry was chosen in a list; also the code of posted commands
  kCodeComboEdited = 5,   ///< the text of a combo box was typed
  kCodeAccepted = 9,      ///< an entry was chosen in a list, possibly the one that stood there
  kCodeScrolled = 0x114,  ///< a slider was moved
  kCodeEdited = 0x300,    ///< the text or value of a field was edited
};

/// A form with numbered controls. `attachControls`, called after the form's `setupUi`, takes every child that
/// carries the dynamic property "controlId" and turns what the person does with it into commands. A program that
/// changes a control raises none: combo boxes, edit fields, buttons and sliders keep quiet by themselves, spin
/// boxes are changed with `setSpinValue`.
class CDialog : public QWidget {
 public:
  explicit CDialog(QWidget* parent = nullptr);
  ~CDialog() override;

  /// The control of a number, or null.
  [[nodiscard]] QWidget* GetDlgItem(int id) const;
  /// The control as a `T`, or null.
  template <class T>
  [[nodiscard]] T* control(int id) const {
    return qobject_cast<T*>(GetDlgItem(id));
  }

  /// A command of a control, or one that was posted (`PostCommand`). `value` is the checked state, the chosen index
  /// or what was posted. Answers whether it was handled.
  virtual bool OnCommand(int id, int code, std::int64_t value);

  /// Sets a spin box without raising a command.
  static void setSpinValue(QSpinBox* spin, int value);

 protected:
  void attachControls();
  void customEvent(QEvent* event) override;
  /// Keeps the wheel from changing a list or a spin box that is merely under the pointer.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void attach(QWidget* control, int id);

  std::unordered_map<int, QWidget*> m_controls;
};

}  // namespace quillbay
