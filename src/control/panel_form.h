#pragma once
#include <QWidget>
#include <vector>

#include "control/preview_spot.h"

class QSplitter;
class QStackedWidget;
class QTabBar;
class QToolBar;
class QToolButton;

namespace quillbay {

class PanelPages;
class PanelStatus;

/// The panel's places: commands, tabs with the pages, the destination, the status line. Pages and destination
/// scroll when there is too little room; commands, the name of the next file and the status stay in sight.
class PanelForm {
 public:
  /// Builds the form into `panel`, which owns all of it.
  explicit PanelForm(QWidget* panel);

  [[nodiscard]] QToolBar* toolbar() const noexcept { return m_toolbar; }
  [[nodiscard]] QTabBar* tabs() const noexcept { return m_tabs; }
  [[nodiscard]] QStackedWidget* pageArea() const noexcept { return m_pageArea; }
  [[nodiscard]] QWidget* destinationPlace() const noexcept { return m_destinationPlace; }
  [[nodiscard]] PanelStatus& status() const noexcept { return *m_status; }

  /// Shows a destination; `footer`, what it wants to stay in sight, stands below what scrolls and may be null.
  void placeDestination(QWidget* window, QWidget* footer) const;
  /// A tab for each page of the current mode.
  void fillTabs(const PanelPages& pages) const;
  void showTab(const PanelPages& pages, int index) const;
  /// The tab of the page that is shown; -1 when it has none, also when it is the preview's.
  [[nodiscard]] int shownTab(const PanelPages& pages) const;
  /// Puts the preview's window where it belongs in the panel, with its tab; a window of its own leaves the panel.
  void placePreview(QWidget* window, PreviewSpot spot) const;
  void showPreviewTab() const;
  /// The small layout has no pages.
  void showPages(bool full, std::size_t count) const;
  /// The button that opens the menu of the shown page.
  void showPageMenu(bool shown) const;
  void enablePageMenu(bool enabled) const;
  /// Tab goes through the panel as it is read, in whatever order its parts were made.
  void orderTabbing() const;
  /// The help topic of what the user works with, or null: the destination's.
  [[nodiscard]] const char* topicInUse(const PanelPages& pages, bool full) const;

 private:
  void addPreviewTab() const;
  void openPageMenu() const;
  [[nodiscard]] bool isPreviewTab(int index) const;

  QWidget* m_panel;
  QToolBar* m_toolbar;
  QTabBar* m_tabs;
  QToolButton* m_pageMenu;
  QStackedWidget* m_pageArea;
  QStackedWidget* m_body;  // settings and destination, or the preview
  QSplitter* m_columns;
  QWidget* m_previewTab;
  QWidget* m_previewColumn;
  QWidget* m_destinationPlace;
  QWidget* m_footerPlace;
  PanelStatus* m_status;
};

}  // namespace quillbay
