#include "scanner/preview_menu.h"

#include <QAction>
#include <QMenu>

#include "scanner/panel_dock.h"

namespace desktop {

using quillbay::PreviewCommand;

PreviewMenu::PreviewMenu(PanelDock* dock, QObject* parent) : QObject(parent), m_dock(dock) {}

QMenu* PreviewMenu::fill(QMenu* parent) {
  QMenu* menu = parent->addMenu(tr("Pre&view"));
  add(menu, PreviewCommand::Prescan, tr("&Preview the document"), "F6",
      tr("Scans the whole area coarsely, into the panel's preview"));
  add(menu, PreviewCommand::AreaPrescan, tr("Preview the &visible part"), "Shift+F6",
      tr("Scans what the preview frame holds, into the view"));
  add(menu, PreviewCommand::Show, tr("&Show the preview"), "F7", tr("Brings the preview to the front"));
  menu->addSeparator();
  add(menu, PreviewCommand::NewArea, tr("&New preview area"), "Shift+F7", tr("Draws the part that the view shows"),
      true);
  add(menu, PreviewCommand::NewFragment, tr("New &fragment"), "F8", tr("Draws a part of the document to scan"),
      true);
  add(menu, PreviewCommand::ScanFragment, tr("S&can fragment"), "F9",
      tr("Scans the fragment; without one, what the preview frame holds"));
  add(menu, PreviewCommand::AreaFromFragment, tr("Set scan &rectangle by fragment rectangle"), {},
      tr("Makes the fragment the scan area, and previews it"));
  menu->addSeparator();
  add(menu, PreviewCommand::DisableUpdating, tr("&Disable preview updating"), {},
      tr("Changes of the frame and the settings scan nothing any more"), true);
  m_floats = menu->addAction(tr("In a &window of its own"));
  m_floats->setCheckable(true);
  m_floats->setStatusTip(tr("Takes the preview out of the panel, and puts it back"));
  connect(m_floats, &QAction::triggered, this,
          [this](bool floats) { give(floats ? PreviewCommand::Float : PreviewCommand::Dock); });
  connect(menu, &QMenu::aboutToShow, this, &PreviewMenu::update);
  connect(menu, &QMenu::aboutToHide, this, &PreviewMenu::enableKeys, Qt::QueuedConnection);
  return menu;
}

void PreviewMenu::add(QMenu* menu, PreviewCommand command, const QString& text, const QString& key,
                      const QString& tip, bool toggles) {
  QAction* action = menu->addAction(text);
  action->setShortcut(QKeySequence(key));
  action->setStatusTip(tip);
  action->setCheckable(toggles);
  connect(action, &QAction::triggered, this, [this, command] { give(command); });
  m_entries.push_back({command, action});
}

void PreviewMenu::give(PreviewCommand command) {
  if (command == PreviewCommand::Show) m_dock->show();
  const auto preview = m_dock->preview();
  if (!preview || !preview->PreviewCommand(command)) emit refused(whyNot(command));
  update();
  enableKeys();
}

QString PreviewMenu::whyNot(PreviewCommand command) const {
  if (m_dock->isBusy()) return tr("The preview cannot do this while a scan runs");
  const auto preview = m_dock->preview();
  const bool hasPicture = preview && preview->IsPreviewCommandEnabled(PreviewCommand::NewFragment);
  switch (command) {
    case PreviewCommand::NewArea:
    case PreviewCommand::NewFragment:
    case PreviewCommand::ScanFragment: return tr("Preview the document first (F6)");
    case PreviewCommand::AreaFromFragment:
      return hasPicture ? tr("Draw a fragment first (F8)") : tr("Preview the document first (F6)");
    default: return tr("The preview cannot do this now");
  }
}

void PreviewMenu::update() {
  const auto preview = m_dock->preview();
  for (const Entry& entry : m_entries) {
    entry.action->setEnabled(preview && preview->IsPreviewCommandEnabled(entry.command));
    if (entry.action->isCheckable()) {
      entry.action->setChecked(preview && preview->IsPreviewCommandChecked(entry.command));
    }
  }
  const bool floats = preview && preview->IsPreviewCommandEnabled(PreviewCommand::Dock);
  m_floats->setEnabled(floats || (preview && preview->IsPreviewCommandEnabled(PreviewCommand::Float)));
  m_floats->setChecked(floats);
}

void PreviewMenu::enableKeys() {
  for (const Entry& entry : m_entries) entry.action->setEnabled(true);
}

}  // namespace desktop
