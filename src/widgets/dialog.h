#pragma once
#include <QWidget>
#include <cstdint>
#include <unordered_map>

class QAction;
class QComboBox;
class QDoubleSpinBox;
class QListWidget;
class QPlainTextEdit;
class QSpinBox;
class QTabBar;
class QToolBar;

namespace quillbay {

/// Notification codes of commands.
enum CommandCode : int {
  kCodeClicked = 0,       ///< a button, a tool, a group's check or a list entry's check
  kCodeSelected = 1,      ///< another entry was chosen in a list or a tab; also the code of posted commands
  kCodeComboEdited = 5,   ///< the text of a combo box was typed
  kCodeAccepted = 9,      ///< an entry was chosen in a combo box, possibly the one that stood there
  kCodeScrolled = 0x114,  ///< a slider was moved
  kCodeEdited = 0x300,    ///< the text or value of a field was edited
};

/// Numbers of the buttons that end a modal dialog.
enum DialogAnswer : int { kAnswerOk = 1, kAnswerCancel = 2 };

/// A form with numbered controls. `attachControls`, called after the form's `setupUi`, takes every child that
/// carries the dynamic property "controlId", and every action of a toolbar that does, and turns what the user does
/// with it into commands. It leaves the controls of a dialog inside this one to that dialog.
/// A program that changes a control raises none: combo boxes, edit fields, buttons and sliders keep quiet by
/// themselves, the others are changed with the functions below.
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
  /// The tool of a number on one of the dialog's toolbars, or null.
  [[nodiscard]] QAction* tool(int id) const;

  /// A command of a control, or one that was posted (`PostCommand`). `value` is the checked state, the chosen index
  /// or what was posted; of a list entry's check, its row. Returns whether it was handled.
  virtual bool OnCommand(int id, int code, std::int64_t value);

  /// Shows the dialog as a window in front of its parent's, and returns when it has ended: with what `EndDialog`
  /// was given, or with `kAnswerCancel` when it was closed or destroyed, alone or with its parent. Buttons 1 and 2
  /// end it unless `OnCommand` handles them; Return presses the default button, Esc is button 2. The caller may
  /// have been destroyed meanwhile: it uses nothing of its own before it has asked.
  int DoModal();
  void EndDialog(int answer);

  /// Whether `attachControls` knows what to do with a control like this one.
  [[nodiscard]] static bool knows(const QWidget& control);

  // Changes that raise no command.
  static void setSpinValue(QSpinBox* spin, int value);
  static void setSpinValue(QDoubleSpinBox* spin, double value);
  static void setListRow(QListWidget* list, int row);
  static void setListCheck(QListWidget* list, int row, bool checked);
  static void setTab(QTabBar* tabs, int index);
  static void setText(QPlainTextEdit* edit, const QString& text);

 protected:
  void attachControls();
  /// Every event, painting as well, passes here on the user-interface thread.
  bool event(QEvent* event) override;
  void customEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  /// Keeps the wheel from changing a control that is merely under the pointer.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Modal;
  void attachBelow(const QWidget& parent);
  void attachTools(const QToolBar& bar);
  void attach(QWidget* control, int id);
  void connectCombo(QComboBox* combo, int id);
  void entryChosen(int id, int index);
  void connectList(QListWidget* list, int id);
  void guardFromWheel(QWidget* control);
  /// A command of a control; one that ends a modal dialog does so unless it was handled.
  void command(int id, int code, std::int64_t value);

  std::unordered_map<int, QWidget*> m_controls;
  std::unordered_map<int, QAction*> m_tools;
  Modal* m_modal = nullptr;  // while it runs
};

}  // namespace quillbay
