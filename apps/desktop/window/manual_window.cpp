#include "window/manual_window.h"

#include <QAction>
#include <QDataStream>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QRegularExpression>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "quillbay/host.h"

namespace desktop {

namespace {

constexpr const char* kCommandsMark = "<!-- commands -->";
constexpr const char* kSheet =
    "h1 { font-size: x-large; margin-bottom: 10px } h2 { font-size: large; margin-top: 16px; margin-bottom: 6px }"
    "p, li { margin-bottom: 6px } td { padding-right: 14px; padding-bottom: 3px }";
constexpr int kMargin = 14, kContentsWidth = 230;

QString firstPage() { return QString::fromStdString(quillbay::FindManualPage({})); }

/// Shows the pages; the page of keys gets the commands of the program.
class Pages final : public QTextBrowser {
 public:
  explicit Pages(std::function<QString()> commands) : m_commands(std::move(commands)) {
    document()->setDefaultStyleSheet(kSheet);
    document()->setDocumentMargin(kMargin);
  }
  QVariant loadResource(int type, const QUrl& name) override {
    QVariant loaded = QTextBrowser::loadResource(type, name);
    if (type != QTextDocument::HtmlResource) return loaded;
    return QString::fromUtf8(loaded.toByteArray()).replace(kCommandsMark, m_commands ? m_commands() : QString());
  }

 private:
  const std::function<QString()> m_commands;
};

QString plainText(const QString& text) {
  QString plain = text;
  return plain.remove(QRegularExpression("&(?!&)")).toHtmlEscaped();
}

void addRows(const QMenu& menu, const QString& before, QString* rows) {
  for (const QAction* action : menu.actions()) {
    if (action->menu()) addRows(*action->menu(), before + plainText(action->text()) + ": ", rows);
    QStringList keys;
    for (const QKeySequence& key : action->shortcuts()) {
      keys += key.toString(QKeySequence::NativeText).toHtmlEscaped();
    }
    if (keys.isEmpty()) continue;
    const QString tip = action->statusTip().toHtmlEscaped();
    *rows += "<tr><td>" + keys.join(", ") + "</td><td>" + before + plainText(action->text()) + "</td><td>" + tip +
             "</td></tr>";
  }
}

}  // namespace

QString commandTables(const QList<QAction*>& menus) {
  QString html;
  for (const QAction* top : menus) {
    QString rows;
    if (top->menu()) addRows(*top->menu(), {}, &rows);
    if (rows.isEmpty()) continue;
    html += "<h2>" + ManualWindow::tr("Menu %1").arg(plainText(top->text())) + "</h2><table cellpadding=\"4\">" +
            rows + "</table>";
  }
  return html;
}

ManualWindow::ManualWindow(std::function<QString()> commands)
    : m_bar(new QToolBar(this)),
      m_splitter(new QSplitter(this)),
      m_contents(new QTreeWidget),
      m_browser(new Pages(std::move(commands))),
      m_findBar(new QWidget(this)),
      m_wanted(new QLineEdit(m_findBar)),
      m_found(new QLabel(m_findBar)) {
  setAttribute(Qt::WA_QuitOnClose, false);  // the program ends with its own window
  setWindowTitle(tr("Manual"));
  m_contents->setHeaderHidden(true);
  m_contents->setRootIsDecorated(false);
  m_contents->setItemsExpandable(false);
  m_contents->setAccessibleName(tr("Contents"));
  m_browser->setAccessibleName(tr("Page of the manual"));
  m_splitter->addWidget(m_contents);
  m_splitter->addWidget(m_browser);
  m_splitter->setStretchFactor(1, 1);
  m_splitter->setChildrenCollapsible(false);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(m_bar);
  column->addWidget(m_splitter, 1);
  column->addWidget(m_findBar);
  makeActions();
  makeFindBar();
  fillContents();
  connect(m_browser, &QTextBrowser::sourceChanged, this, &ManualWindow::markCurrent);
  connect(m_contents, &QTreeWidget::currentItemChanged, this, [this](const QTreeWidgetItem* item) {
    if (item && !item->data(0, Qt::UserRole).toString().isEmpty()) showPage(item->data(0, Qt::UserRole).toString());
  });
  resize(860, 600);
  m_splitter->setSizes({kContentsWidth, width() - kContentsWidth});
}

QAction* ManualWindow::addAction(const QString& text, const QString& tip, const QList<QKeySequence>& keys,
                                 const std::function<void()>& run) {
  QAction* action = m_bar->addAction(text);
  action->setShortcuts(keys);
  action->setToolTip(keys.isEmpty() ? tip : tip + " (" + keys.front().toString(QKeySequence::NativeText) + ")");
  connect(action, &QAction::triggered, this, run);
  return action;
}

void ManualWindow::makeActions() {
  m_bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  m_bar->setAccessibleName(tr("Commands of the manual"));
  QAction* back = addAction(tr("Back"), tr("Shows the previous page"), {QKeySequence("Alt+Left")},
                            [this] { m_browser->backward(); });
  QAction* forward = addAction(tr("Forward"), tr("Shows the next page"), {QKeySequence("Alt+Right")},
                               [this] { m_browser->forward(); });
  addAction(tr("Contents"), tr("The first page"), {QKeySequence("Alt+Home"), QKeySequence::HelpContents}, [this] {
    showPage(firstPage());
  })->setIcon(style()->standardIcon(QStyle::SP_DirHomeIcon));
  addAction(tr("Find"), tr("Searches all pages for a text"), {QKeySequence::Find}, [this] {
    m_findBar->show();
    m_wanted->setFocus();
    m_wanted->selectAll();
  })->setIcon(style()->standardIcon(QStyle::SP_FileDialogContentsView));
  back->setIcon(style()->standardIcon(QStyle::SP_ArrowBack));
  forward->setIcon(style()->standardIcon(QStyle::SP_ArrowForward));
  back->setEnabled(false);
  forward->setEnabled(false);
  connect(m_browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
  connect(m_browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
  connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &ManualWindow::leave);
  connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
  connect(new QShortcut(QKeySequence::ZoomIn, this), &QShortcut::activated, m_browser,
          [this] { m_browser->zoomIn(); });
  connect(new QShortcut(QKeySequence::ZoomOut, this), &QShortcut::activated, m_browser,
          [this] { m_browser->zoomOut(); });
}

void ManualWindow::makeFindBar() {
  auto* row = new QHBoxLayout(m_findBar);
  row->setContentsMargins(6, 4, 6, 4);
  auto* label = new QLabel(tr("&Find"), m_findBar);
  label->setBuddy(m_wanted);
  m_wanted->setAccessibleName(tr("Text to find"));
  m_wanted->setClearButtonEnabled(true);
  row->addWidget(label);
  row->addWidget(m_wanted, 1);
  const auto button = [&](const QString& text, const QKeySequence& key, bool backwards) {
    auto* made = new QToolButton(m_findBar);
    made->setText(text);
    made->setShortcut(key);
    made->setFocusPolicy(Qt::TabFocus);
    made->setToolTip(key.toString(QKeySequence::NativeText));
    connect(made, &QToolButton::clicked, this, [this, backwards] { findAgain(backwards); });
    row->addWidget(made);
  };
  button(tr("Next"), QKeySequence(Qt::Key_F3), false);
  button(tr("Previous"), QKeySequence("Shift+F3"), true);
  row->addWidget(m_found, 1);
  connect(m_wanted, &QLineEdit::returnPressed, this, [this] { findAgain(false); });
  m_findBar->hide();
}

/// The pages in the order of the first one: its headings and what they link to.
void ManualWindow::fillContents() {
  QTextDocument index;
  index.setHtml(m_browser->loadResource(QTextDocument::HtmlResource, QUrl(firstPage())).toString());
  QTreeWidgetItem* group = m_contents->invisibleRootItem();
  for (QTextBlock block = index.begin(); block.isValid(); block = block.next()) {
    if (block.blockFormat().headingLevel() == 2) {
      group = new QTreeWidgetItem(m_contents, {block.text()});
      group->setFlags(Qt::ItemIsEnabled);
      QFont bold = font();
      bold.setBold(true);
      group->setFont(0, bold);
      group->setExpanded(true);
    }
    for (auto part = block.begin(); !part.atEnd(); ++part) {
      const QTextFragment fragment = part.fragment();
      if (!fragment.charFormat().isAnchor()) continue;
      const QString page = QUrl(firstPage()).resolved(QUrl(fragment.charFormat().anchorHref())).toString();
      auto* item = new QTreeWidgetItem(group, {fragment.text()});
      item->setData(0, Qt::UserRole, page);
      m_items.insert(page, item);
      m_pages += page;
    }
  }
}

void ManualWindow::showPage(const QString& page) {
  if (m_browser->source() != QUrl(page)) m_browser->setSource(QUrl(page));
}

/// Of the page that is being opened: the browser itself still tells the one before.
void ManualWindow::markCurrent(const QUrl& page) {
  const QSignalBlocker silent(m_contents);
  QTreeWidgetItem* item = m_items.value(page.toString());
  m_contents->setCurrentItem(item);
  setWindowTitle(item ? tr("%1 - Manual").arg(item->text(0)) : tr("Manual"));
}

bool ManualWindow::holds(const QString& page, const QString& text) const {
  QTextDocument document;
  document.setHtml(m_browser->loadResource(QTextDocument::HtmlResource, QUrl(page)).toString());
  return !document.find(text).isNull();
}

bool ManualWindow::find(const QString& text, bool backwards) {
  if (text.isEmpty()) return false;
  const QTextDocument::FindFlags flags = backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
  if (m_browser->find(text, flags)) return true;
  const auto at = m_pages.indexOf(m_browser->source().toString());
  const auto step = backwards ? m_pages.size() - 1 : 1;
  for (qsizetype n = 1; n <= m_pages.size(); ++n) {
    const QString& page = m_pages[(std::max<qsizetype>(at, 0) + n * step) % m_pages.size()];
    if (!holds(page, text)) continue;
    showPage(page);
    m_browser->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
    return m_browser->find(text, flags);
  }
  return false;
}

void ManualWindow::findAgain(bool backwards) {
  const bool found = find(m_wanted->text(), backwards);
  m_found->setText(found || m_wanted->text().isEmpty() ? QString() : tr("Not found"));
}

void ManualWindow::leave() {
  if (!m_findBar->isVisible()) {
    close();
    return;
  }
  m_findBar->hide();
  m_browser->setFocus();
}

QByteArray ManualWindow::placement() const {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << saveGeometry() << m_splitter->saveState();
  return bytes;
}

void ManualWindow::restorePlacement(const QByteArray& placement) {
  QByteArray geometry, parts;
  QDataStream stream(placement);
  stream >> geometry >> parts;
  if (!geometry.isEmpty()) restoreGeometry(geometry);
  if (!parts.isEmpty()) m_splitter->restoreState(parts);
}

void ManualWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange && m_browser->source().isValid()) m_browser->reload();  // its links
  QWidget::changeEvent(event);
}

}  // namespace desktop
