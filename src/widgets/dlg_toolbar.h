#pragma once
#include <QToolBar>
#include <string>
#include <unordered_map>

#include "widgets/tool_icons.h"

namespace quillbay {

/// A toolbar on a dialog. Each button carries the number of its command in the property "controlId":
/// `CDialog::attachControls`, called after the buttons are added, turns their clicks into commands, and
/// `CDialog::tool` finds them. All buttons are reached by Tab and the arrow keys. The icons follow the palette.
/// User-interface thread.
class CDlgToolbar final : public QToolBar {
  Q_OBJECT
 public:
  explicit CDlgToolbar(QWidget* parent = nullptr);

  /// Adds the button of a command: `label` is its name, translated, with "&" before its key; "prompt\ntip" is the
  /// string table's text of the number (`loadString`).
  QAction* addTool(int id, ToolIcon icon, const std::string& label);
  /// The same with its text, translated; for buttons whose texts are not in the table.
  QAction* addTool(int id, ToolIcon icon, const std::string& label, const std::string& promptAndTip);
  /// A button that stays pressed until it is clicked again.
  QAction* addToggle(int id, ToolIcon icon, const std::string& label);

  /// The button's action of a number, or null.
  [[nodiscard]] QAction* tool(int id) const;
  /// What a button's tooltip shows; empty: it has none.
  [[nodiscard]] QString tipOf(int id) const;

 protected:
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Tool {
    QAction* action = nullptr;
    ToolIcon icon = ToolIcon::Scan;
  };
  void drawIcons();
  /// Moves the keyboard focus from a button to the next one that can take it.
  bool moveFocus(const QWidget& from, int step);

  std::unordered_map<int, Tool> m_tools;
};

}  // namespace quillbay
