#pragma once
#include <QHash>
#include <QUrl>
#include <QWidget>
#include <functional>

class QAction;
class QLabel;
class QLineEdit;
class QSplitter;
class QTextBrowser;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace desktop {

/// The manual: a list of its pages, the page that is open, and a search through all of them. It has no parent, so
/// that it stays beside the program's window; whoever makes it closes it.
class ManualWindow : public QWidget {
  Q_OBJECT
 public:
  /// `commands` gives the part of the page of keys that the program's menus make (HTML).
  explicit ManualWindow(std::function<QString()> commands);

  /// Opens a page ("qrc:/quillbay/manual/index.html").
  void showPage(const QString& page);
  [[nodiscard]] QTextBrowser& browser() { return *m_browser; }
  /// Goes to the next place of a text, on this page or one of the following; false when there is none.
  bool find(const QString& text, bool backwards = false);

  /// Where the window was and how its parts were.
  [[nodiscard]] QByteArray placement() const;
  void restorePlacement(const QByteArray& placement);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void makeActions();
  void makeFindBar();
  void fillContents();
  void markCurrent(const QUrl& page);
  void findAgain(bool backwards);
  void leave();
  QAction* addAction(const QString& text, const QString& tip, const QList<QKeySequence>& keys,
                     const std::function<void()>& run);
  [[nodiscard]] bool holds(const QString& page, const QString& text) const;

  QToolBar* m_bar;
  QSplitter* m_splitter;
  QTreeWidget* m_contents;
  QTextBrowser* m_browser;
  QWidget* m_findBar;
  QLineEdit* m_wanted;
  QLabel* m_found;
  QStringList m_pages;  // in the order of the contents
  QHash<QString, QTreeWidgetItem*> m_items;
};

/// The commands of a window's menus that have keys, as a table for each menu (HTML).
[[nodiscard]] QString commandTables(const QList<QAction*>& menus);

}  // namespace desktop
