#include "widgets/dlg_toolbar.h"

#include <QAction>
#include <QEvent>
#include <QKeyEvent>
#include <QToolButton>

#include "widgets/button_text.h"
#include "widgets/string_table.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
QString withoutMark(const std::string& label) {
  QString plain = QString::fromStdString(label);
  return plain.remove(QLatin1Char('&'));
}
}  // namespace

CDlgToolbar::CDlgToolbar(QWidget* parent) : QToolBar(parent) {
  setToolButtonStyle(Qt::ToolButtonIconOnly);
  setMovable(false);
}

QAction* CDlgToolbar::addTool(int id, ToolIcon icon, const std::string& label) {
  return addTool(id, icon, label, loadString(id));
}

QAction* CDlgToolbar::addToggle(int id, ToolIcon icon, const std::string& label) {
  QAction* action = addTool(id, icon, label);
  action->setCheckable(true);
  return action;
}

QAction* CDlgToolbar::addTool(int id, ToolIcon icon, const std::string& label, const std::string& promptAndTip) {
  assertUserInterfaceThread();
  const ButtonText texts = splitButtonText(promptAndTip);
  QAction* action = addAction(QString::fromStdString(label));
  action->setProperty("controlId", id);
  action->setProperty("hasTip", !texts.tip.empty());
  action->setToolTip(QString::fromStdString(texts.tip));
  action->setStatusTip(QString::fromStdString(texts.prompt));
  action->setIcon(toolIcon(icon, palette()));
  m_tools[id] = {action, icon};
  QWidget* button = widgetForAction(action);
  button->setFocusPolicy(Qt::TabFocus);
  button->setAccessibleName(withoutMark(label));
  button->setAccessibleDescription(QString::fromStdString(texts.tip.empty() ? texts.prompt : texts.tip));
  button->installEventFilter(this);
  return action;
}

QAction* CDlgToolbar::tool(int id) const {
  const auto found = m_tools.find(id);
  return found == m_tools.end() ? nullptr : found->second.action;
}

QString CDlgToolbar::tipOf(int id) const {
  const QAction* action = tool(id);
  // An action without a tip answers its name in place of one.
  return action && action->property("hasTip").toBool() ? action->toolTip() : QString();
}

void CDlgToolbar::changeEvent(QEvent* event) {
  QToolBar::changeEvent(event);
  if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) drawIcons();
}

void CDlgToolbar::drawIcons() {
  for (const auto& [id, tool] : m_tools) tool.action->setIcon(toolIcon(tool.icon, palette()));
}

bool CDlgToolbar::eventFilter(QObject* watched, QEvent* event) {
  auto* button = qobject_cast<QToolButton*>(watched);
  if (!button) return QToolBar::eventFilter(watched, event);
  if (event->type() == QEvent::ToolTip) {
    const QAction* action = button->defaultAction();
    return action && !action->property("hasTip").toBool();
  }
  if (event->type() != QEvent::KeyPress) return QToolBar::eventFilter(watched, event);
  const bool mirrored = isRightToLeft();
  switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Left: return moveFocus(*button, mirrored ? 1 : -1);
    case Qt::Key_Right: return moveFocus(*button, mirrored ? -1 : 1);
    default: return QToolBar::eventFilter(watched, event);
  }
}

bool CDlgToolbar::moveFocus(const QWidget& from, int step) {
  const QList<QAction*> all = actions();
  qsizetype at = 0;
  while (at < all.size() && widgetForAction(all[at]) != &from) ++at;
  for (at += step; at >= 0 && at < all.size(); at += step) {
    QWidget* next = widgetForAction(all[at]);
    if (!next || !next->isVisible() || !next->isEnabled() || next->focusPolicy() == Qt::NoFocus) continue;
    next->setFocus(step > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
  }
  return false;
}

}  // namespace quillbay
