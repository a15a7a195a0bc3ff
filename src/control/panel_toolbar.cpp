#include "control/panel_toolbar.h"

#include <QAction>
#include <QToolBar>

#include "control/command_ids.h"
#include "platform/base_services.h"

namespace quillbay {

bool isCommandEnabled(int id, const PanelState& state) noexcept {
  switch (id) {
    case command::kStop: return state.busy;
    case command::kStopAfterPage: return state.busy && !state.stopsAfterPage;
    case command::kPrescan: return !state.busy && !state.small;
    case command::kSwitchLayout: return state.hasPages;
    case command::kHelp: return true;
    default: return !state.busy;
  }
}

bool isCommandShown(int id, const PanelState& state) noexcept {
  const bool previews = id == command::kPrescan || id == command::kAreaPrescan;
  if (previews && !state.hasPreview) return false;  // nothing would show them
  if (id == command::kAreaPrescan && !state.hasView) return false;
  if (id == command::kPrescan && state.small) return false;
  const bool hiddenInDirect =
      previews || id == command::kStop || id == command::kEject || (id == command::kSwitchLayout && state.prints);
  return !(state.direct && hiddenInDirect);
}

PanelToolbar::PanelToolbar(QToolBar* toolbar, QWidget* panel, bool hasManual, const std::function<void(int)>& give)
    : m_panel(panel) {
  struct Description {
    int id;
    const char* text;
    const char* tip;
    ToolIcon icon;
  };
  static constexpr Description kButtons[] = {
      {command::kScan, "&Scan", "Scan one page", ToolIcon::Scan},
      {command::kBatch, "&Batch", "Scan page after page, until no document comes", ToolIcon::Batch},
      {command::kPrescan, "&Preview", "Preview the document", ToolIcon::Preview},
      {command::kAreaPrescan, "Preview &area", "Preview what the view shows", ToolIcon::PreviewArea},
      {command::kStop, "St&op", "Stop now; the page that is being scanned is dropped (Esc)", ToolIcon::Stop},
      {command::kStopAfterPage, "Stop after this pa&ge", "Finish the page that is being scanned, then stop",
       ToolIcon::StopAfterPage},
      {command::kEject, "&Eject", "Eject the document", ToolIcon::Eject},
      {command::kSwitchLayout, "Small &layout", "Show or hide the settings pages", ToolIcon::Layout},
      {command::kHelp, "&Help", "Open the manual at the settings that are shown (F1)", ToolIcon::Help},
  };
  for (const Description& b : kButtons) {
    if (b.id == command::kHelp && !hasManual) continue;
    auto* action = toolbar->addAction(QString::fromStdString(Supp_Translate(b.text)));
    action->setToolTip(QString::fromStdString(Supp_Translate(b.tip)));
    if (b.id == command::kStop) {
      // The panel's own: the host's window has uses of its own for this key.
      action->setShortcut(Qt::Key_Escape);
      action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
      panel->addAction(action);
    }
    QObject::connect(action, &QAction::triggered, panel, [give, id = b.id] { give(id); });
    toolbar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
    m_buttons.push_back({b.id, b.icon, action});
  }
  toolbar->setToolButtonStyle(Qt::ToolButtonIconOnly);
  drawIcons();
}

void PanelToolbar::show(const PanelState& state) const {
  for (const Button& b : m_buttons) {
    b.action->setEnabled(isCommandEnabled(b.id, state));
    b.action->setVisible(isCommandShown(b.id, state));
  }
}

void PanelToolbar::drawIcons() const {
  for (const Button& b : m_buttons) b.action->setIcon(toolIcon(b.icon, m_panel->palette()));
}

}  // namespace quillbay
