#include "control/panel_form.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "control/panel_pages.h"
#include "control/panel_status.h"
#include "platform/base_services.h"
#include "ui_maindlg.h"

namespace quillbay {

namespace {

constexpr const char* kPreviewTopic = "QBHelp:IDH_quillbay_tab_preview";
/// Marks the preview's tab, which stands behind those of the pages.
constexpr const char* kPreviewMark = "preview";
/// Characters that the settings are wide beside the preview.
constexpr int kSettings = 52;

void emptyColumn(QWidget* place) {
  auto* column = new QVBoxLayout(place);
  column->setContentsMargins(0, 0, 0, 0);
}

}  // namespace

PanelForm::PanelForm(QWidget* panel) : m_panel(panel) {
  Ui::MaindlgForm form;
  form.setupUi(panel);
  m_tabs = form.tabs;
  m_pageMenu = form.pageMenu;
  QObject::connect(m_pageMenu, &QToolButton::clicked, m_pageMenu, [this] { openPageMenu(); });
  m_pageArea = form.pageArea;
  m_toolbar = form.commandToolbar;
  m_destinationPlace = form.destinationPlace;
  m_body = form.body;
  m_columns = form.columns;
  m_previewTab = form.previewTab;
  m_previewColumn = form.previewColumn;
  emptyColumn(m_previewTab);
  emptyColumn(m_previewColumn);
  m_previewColumn->setMinimumWidth(1);  // a panel that gets narrower is never held up
  m_previewColumn->hide();
  m_columns->setStretchFactor(1, 1);
  m_tabs->setExpanding(false);
  // The arrows for more tabs than fit are for the mouse: the arrow keys go from tab to tab.
  for (QToolButton* arrow : m_tabs->findChildren<QToolButton*>()) arrow->setFocusPolicy(Qt::NoFocus);
  m_tabs->setSelectionBehaviorOnRemove(QTabBar::SelectPreviousTab);  // when the preview gets a place of its own
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
  const bool hadPreview = isPreviewTab(m_tabs->count() - 1);
  const bool showedPreview = hadPreview && isPreviewTab(m_tabs->currentIndex());
  while (m_tabs->count() > 0) m_tabs->removeTab(0);
  for (const PageRole role : pages.current()) {
    m_tabs->addTab(QString::fromStdString(pages.page(role)->GetTitle()));
  }
  if (hadPreview) addPreviewTab();
  m_tabs->updateGeometry();  // it does not ask for room by itself before the panel is shown
  showTab(pages, 0);
  if (showedPreview) showPreviewTab();
}

void PanelForm::addPreviewTab() const {
  m_tabs->setTabData(m_tabs->addTab(QString::fromStdString(Supp_Translate("Preview"))), kPreviewMark);
}

bool PanelForm::isPreviewTab(int index) const { return m_tabs->tabData(index) == QVariant(kPreviewMark); }

void PanelForm::showTab(const PanelPages& pages, int index) const {
  if (isPreviewTab(index)) return m_body->setCurrentWidget(m_previewTab);
  const auto& roles = pages.current();
  if (index < 0 || static_cast<std::size_t>(index) >= roles.size()) return;
  m_body->setCurrentIndex(0);
  m_pageArea->setCurrentWidget(pages.page(roles[static_cast<std::size_t>(index)])->GetHwnd());
  m_pageArea->currentWidget()->updateGeometry();  // it may have another height
}

void PanelForm::showPreviewTab() const {
  for (int i = 0; i < m_tabs->count(); ++i) {
    if (isPreviewTab(i)) m_tabs->setCurrentIndex(i);
  }
}

int PanelForm::shownTab(const PanelPages& pages) const {
  if (m_body->currentWidget() == m_previewTab) return -1;
  const auto& roles = pages.current();
  const auto found = std::find_if(roles.begin(), roles.end(), [&](PageRole role) {
    return pages.page(role)->GetHwnd() == m_pageArea->currentWidget();
  });
  return found == roles.end() ? -1 : static_cast<int>(found - roles.begin());
}

void PanelForm::placePreview(QWidget* window, PreviewSpot spot) const {
  if (spot == PreviewSpot::Tab) m_previewTab->layout()->addWidget(window);
  if (spot == PreviewSpot::Column) m_previewColumn->layout()->addWidget(window);
  m_previewColumn->setVisible(spot == PreviewSpot::Column);
  const int last = m_tabs->count() - 1;
  const bool hasTab = isPreviewTab(last);
  if (hasTab && spot != PreviewSpot::Tab) m_tabs->removeTab(last);
  if (!hasTab && spot == PreviewSpot::Tab) addPreviewTab();
  m_tabs->setVisible(spot != PreviewSpot::Hidden && m_tabs->count() > 1);
  m_tabs->updateGeometry();
  if (spot != PreviewSpot::Column) return;
  const int all = m_columns->width();
  const int settings = std::min(all / 2, m_columns->fontMetrics().averageCharWidth() * kSettings);
  m_columns->setSizes({settings, all - settings});
}

void PanelForm::showPages(bool full, std::size_t count) const {
  m_tabs->setVisible(full && (count > 1 || m_tabs->count() > 1));
  m_pageArea->setVisible(full);
  if (!full) m_body->setCurrentIndex(0);
  // At once, so that a host that asks for the panel's size before events are handled gets the right one.
  for (QWidget* w : {static_cast<QWidget*>(m_body), m_body->parentWidget(), static_cast<QWidget*>(m_columns)}) {
    w->updateGeometry();
  }
}

void PanelForm::showPageMenu(bool shown) const { m_pageMenu->setVisible(shown); }

void PanelForm::enablePageMenu(bool enabled) const { m_pageMenu->setEnabled(enabled); }

void PanelForm::openPageMenu() const {
  QWidget* page = m_pageArea->currentWidget();
  if (!page || m_body->currentWidget() == m_previewTab) return;
  const QPoint below = m_pageMenu->mapToGlobal(QPoint(0, m_pageMenu->height()));
  QContextMenuEvent asked(QContextMenuEvent::Other, page->mapFromGlobal(below), below);
  QApplication::sendEvent(page, &asked);
}

void PanelForm::orderTabbing() const {
  std::vector<QWidget*> ring;
  for (QWidget* w = m_panel->nextInFocusChain(); w != m_panel; w = w->nextInFocusChain()) {
    if ((w->focusPolicy() & Qt::TabFocus) && !w->focusProxy()) ring.push_back(w);
  }
  QWidget* last = nullptr;
  for (const QWidget* part :
       std::initializer_list<QWidget*>{m_toolbar, m_tabs, m_pageMenu, m_pageArea, m_destinationPlace, m_previewTab,
                                       m_previewColumn, m_footerPlace}) {
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
  const bool inPreview = focus && (m_previewColumn->isAncestorOf(focus) || m_previewTab->isAncestorOf(focus));
  if (inPreview || (full && m_body->currentWidget() == m_previewTab)) return kPreviewTopic;
  const auto& roles = pages.current();
  const int tab = m_tabs->currentIndex();
  if (!full || tab < 0 || static_cast<std::size_t>(tab) >= roles.size()) return nullptr;
  return helpTopicOf(roles[static_cast<std::size_t>(tab)]);
}

}  // namespace quillbay
