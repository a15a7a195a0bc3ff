#include "control/focus_keeper.h"

namespace quillbay {

/// Of the panel's window, whether or not that is the active one.
QWidget* FocusKeeper::focused() const { return m_panel->window()->focusWidget(); }

FocusKeeper::Change::Change(FocusKeeper& keeper, bool busy) : m_keeper(keeper), m_busy(busy) {
  QWidget* now = keeper.focused();
  if (keeper.m_holds) {
    if (now != keeper.m_went) keeper.m_moved = now;
    return;
  }
  if (!busy) return;
  keeper.m_holds = true;
  keeper.m_held = now && keeper.m_panel->isAncestorOf(now) ? now : nullptr;
  keeper.m_moved = nullptr;
}

FocusKeeper::Change::~Change() {
  FocusKeeper& k = m_keeper;
  if (!k.m_holds) return;
  k.m_went = k.focused();
  if (m_busy) return;
  k.m_holds = false;
  // Where the user went to may have been disabled, too.
  const bool stays = k.m_moved && k.m_moved->isEnabled();
  if (k.m_held && !stays && k.m_held->isEnabled()) k.m_held->setFocus(Qt::OtherFocusReason);
}

}  // namespace quillbay
