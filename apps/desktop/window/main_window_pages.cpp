// The window's work with pages and files.
#include <QFileInfo>

#include "document/page_list.h"
#include "scanner/panel_dock.h"
#include "view/document_view.h"
#include "view/live_page.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/status_line.h"

namespace desktop {

void MainWindow::tell(const QString& text) {
  quillbay::HostMessage message;
  message.text = text.toStdString();
  m_log->note(text);
  m_prompts.message(message);
}

void MainWindow::takeRaster(const quillbay::HostDocument& document) {
  if (document.pages.empty()) return;
  m_live->become(m_document->current());  // the document has it
}

void MainWindow::noteSaved(const std::string& file) {
  const QString name = QString::fromStdString(file);
  m_settings->addRecent(name);
  m_log->note(tr("Saved: %1").arg(name));
}

void MainWindow::choosePage(int id) {
  m_view->setCurrent(id);
  m_document->setCurrent(m_view->current());
  m_pages->setCurrent(m_view->current());
  m_status->showPage(m_document->page(m_view->current()));
  m_status->showZoom(m_view->zoom());
  updateActions();
}

void MainWindow::openFiles(const QStringList& files) {
  QStringList failures;
  for (const QString& file : files) {
    QString why;
    if (m_files->open(file, &why)) {
      m_settings->addRecent(file);
      m_log->note(tr("Opened: %1").arg(file));
    } else if (!why.isEmpty()) {
      m_settings->forgetRecent(file);
      failures += why;
    }
  }
  m_view->reveal(m_view->current());
  if (!failures.isEmpty()) tell(failures.join("\n\n"));
}

bool MainWindow::savePages(const std::vector<int>& ids, const QString& file, bool mayReplace) {
  QString why;
  if (!m_files->save(ids, file, mayReplace, &why)) {
    if (!why.isEmpty()) tell(why);
    return false;
  }
  m_settings->addRecent(file);
  m_log->note(tr("Saved: %1").arg(file));
  return true;
}

bool MainWindow::saveCurrentAs() {
  const Page* page = m_document->page(m_view->current());
  if (!page) return false;
  const int id = page->id;
  const QString file = m_prompts.saveName(page->file.isEmpty() ? fileNameFor(*page) : page->file, false);
  return !file.isEmpty() && savePages({id}, file, true);
}

bool MainWindow::saveAll() {
  const std::vector<int> ids = m_document->unsaved();
  if (ids.empty()) return true;
  if (ids.size() == 1) {
    const QString file = m_prompts.saveName(fileNameFor(*m_document->page(ids.front())), false);
    return !file.isEmpty() && savePages(ids, file, true);
  }
  const QString folder = m_prompts.folder();
  if (folder.isEmpty()) return false;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (page && !savePages({id}, m_files->freeName(folder, *page), false)) return false;
  }
  return true;
}

bool MainWindow::saveAllInOneFile() {
  std::vector<int> ids;
  for (const Page& page : m_document->pages()) ids.push_back(page.id);
  if (ids.empty()) return false;
  const QString file = m_prompts.saveName("pages.tif", true);
  return !file.isEmpty() && savePages(ids, file, true);
}

bool MainWindow::maySurrenderPages(const std::vector<int>& ids) {
  QStringList names;
  for (const int id : ids) {
    if (const Page* page = m_document->page(id)) names += page->name;
  }
  if (names.isEmpty()) return true;
  switch (m_prompts.unsaved(names)) {
    case UnsavedAnswer::Discard: return true;
    case UnsavedAnswer::Save: break;
    case UnsavedAnswer::Cancel: return false;
  }
  if (ids.size() > 1) return saveAll();
  const Page* page = m_document->page(ids.front());
  if (!page) return true;  // closed while the question was open
  const QString file = m_prompts.saveName(fileNameFor(*page), false);
  return !file.isEmpty() && savePages(ids, file, true);
}

bool MainWindow::closePage(int id) {
  const Page* page = m_document->page(id);
  if (!page) return false;
  if (!page->saved && !maySurrenderPages({id})) return false;
  m_document->remove(id);
  return true;
}

bool MainWindow::closeAll() {
  // A scan may bring pages while the question is open.
  for (std::vector<int> asked; asked != m_document->unsaved();) {
    asked = m_document->unsaved();
    if (!maySurrenderPages(asked)) return false;
  }
  m_document->clear();
  return true;
}

void MainWindow::undoCloseAll() {
  m_document->restore();
  m_view->fitAll();
  updateActions();
}

}  // namespace desktop
