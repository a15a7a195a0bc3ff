#pragma once
#include <QObject>
#include <functional>
#include <vector>

#include "widgets/tool_icons.h"

class QAction;
class QToolBar;
class QWidget;

namespace quillbay {

/// What the commands of a panel depend on.
struct PanelState {
  bool busy = false;
  bool stopsAfterPage = false;  ///< that was asked for already
  bool small = false;           ///< the small layout
  bool direct = false;          ///< the scanner scans with its own settings
  bool hasPages = true;
  bool hasPreview = false;  ///< there is a preview page
  bool hasView = false;     ///< the host has a view, whose part can be previewed
  bool prints = false;      ///< the destination is Scan To Print
};
/// Whether a command of the panel can be given now.
[[nodiscard]] bool isCommandEnabled(int command, const PanelState& state) noexcept;
/// Whether it has a button then.
[[nodiscard]] bool isCommandShown(int command, const PanelState& state) noexcept;

/// The buttons of a panel's commands.
class PanelToolbar {
 public:
  /// `give` gets the number of a command whose button was pressed; `panel` is where the keys count.
  PanelToolbar(QToolBar* toolbar, QWidget* panel, bool hasManual, const std::function<void(int)>& give);
  void show(const PanelState& state) const;
  /// In the colours of the panel's palette.
  void drawIcons() const;

 private:
  struct Button {
    int id;
    ToolIcon icon;
    QAction* action;
  };
  QWidget* m_panel;
  std::vector<Button> m_buttons;
};

}  // namespace quillbay
