#include "control/panel_form.h"

#include <QApplication>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>

#include "control/panel_pages.h"
#include "control/panel_status.h"
#include "ui_maindlg.h"

namespace quillbay {

PanelForm::PanelForm(QWidget* panel) : m_panel(panel) {
  Ui::MaindlgForm form;
  form.setupUi(panel);
  m_tabs = form.tabs;
  m_pageArea = form.pageArea;
  m_toolbar = form.commandToolbar;
  m_destinationPlace = form.destinationPlace;
  m_tabs->setExpanding(false);
  auto* destinationRow = new QVBoxLayout(m_destinationPlace);
  destinationRow->setContentsMargins(0, 0, 0, 0);
  m_footerPlace = form.footerPlace;
  auto* footerRow = new QVBoxLayout(m_footerPlace);
  footerRow->setContentsMargins(0, 0, 0, 0);
  auto* statusRow = new QVBoxLayout(form.statusPlace);
  statusRow->setContentsMargins(0, 0, 0, 0);
  m_status = new PanelStatus(form.statusPlace);
  statusRow->addWidget(m_status);
}

void PanelForm::placeDestination(QWidget* window, QWidget* footer) const {
  m_destinationPlace->layout()->addWidget(window);
  if (footer) m_footerPlace->layout()->addWidget(footer);
}

void PanelForm::fillTabs(const PanelPages& pages) const {
  const QSignalBlocker quietly(m_tabs);
  while (m_tabs->count() > 0) m_tabs->removeTab(0);
  for (const PageRole role : pages.current()) {
    m_tabs->addTab(QString::fromStdString(pages.page(role)->GetTitle()));
  }
  showTab(pages, 0);
}

void PanelForm::showTab(const PanelPages& pages, int index) const {
  const auto& roles = pages.current();
  if (index < 0 || static_cast<std::size_t>(index) >= roles.size()) return;
  m_pageArea->setCurrentWidget(pages.page(roles[static_cast<std::size_t>(index)])->GetHwnd());
}

int PanelForm::shownTab(const PanelPages& pages) const {
  const auto& roles = pages.current();
  const auto found = std::find_if(roles.begin(), roles.end(), [&](PageRole role) {
    return pages.page(role)->GetHwnd() == m_pageArea->currentWidget();
  });
  return found == roles.end() ? -1 : static_cast<int>(found - roles.begin());
}

void PanelForm::showPages(bool full, std::size_t count) const {
  m_tabs->setVisible(full && count > 1);
  m_pageArea->setVisible(full);
}

void PanelForm::orderTabbing() const {
  std::vector<QWidget*> ring;
  for (QWidget* w = m_panel->nextInFocusChain(); w != m_panel; w = w->nextInFocusChain()) {
    if ((w->focusPolicy() & Qt::TabFocus) && !w->focusProxy()) ring.push_back(w);
  }
  QWidget* last = nullptr;
  for (const QWidget* part :
       std::initializer_list<QWidget*>{m_toolbar, m_tabs, m_pageArea, m_destinationPlace, m_footerPlace}) {
    if (!part) continue;
    for (QWidget* w : ring) {
      if (w != part && !part->isAncestorOf(w)) continue;
      if (last) QWidget::setTabOrder(last, w);
      last = w;
    }
  }
}

const char* PanelForm::topicInUse(const PanelPages& pages, bool full) const {
  const QWidget* focus = QApplication::focusWidget();
  if (focus && (m_destinationPlace->isAncestorOf(focus) || m_footerPlace->isAncestorOf(focus))) return nullptr;
  const auto& roles = pages.current();
  const int tab = m_tabs->currentIndex();
  if (!full || tab < 0 || static_cast<std::size_t>(tab) >= roles.size()) return nullptr;
  return helpTopicOf(roles[static_cast<std::size_t>(tab)]);
}

}  // namespace quillbay
