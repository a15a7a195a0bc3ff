// The window's work with pages and files.
#include <QDir>
#include <QFileInfo>
#include <QStatusBar>
#include <QTimer>
#include <utility>

#include "document/page_commands.h"
#include "document/page_list.h"
#include "document/page_order.h"
#include "scanner/panel_dock.h"
#include "tools/tool_commands.h"
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

// Opening.

void MainWindow::openFiles(const QStringList& files) {
  m_toOpen += files;
  if (m_opening) return;  // those are read first
  QStringList failures;
  while (!m_toOpen.isEmpty()) {
    m_opening = true;
    const auto opened = m_files->open(std::exchange(m_toOpen, {}));
    m_opening = false;
    if (!opened) {
      m_toOpen.clear();
      statusBar()->showMessage(tr("Nothing was opened"));
      break;
    }
    for (const QString& file : opened->files) {
      m_settings->addRecent(file);
      m_log->note(tr("Opened: %1").arg(file));
    }
    for (const QString& file : opened->failed) m_settings->forgetRecent(file);
    failures += opened->failures;
    statusBar()->showMessage(tr("Opened files: %1").arg(opened->files.size()));
  }
  m_view->reveal(m_view->current());
  if (!failures.isEmpty()) tell(failures.join("\n\n"));
  if (std::exchange(m_closeLater, false)) QTimer::singleShot(0, this, [this] { close(); });
}

// Saving.

/// False when a file would lose something that the user wants to keep.
bool MainWindow::mayReplace(const QString& file, const FileStamp& known, int pages) {
  if (m_panel->isBusy() && !m_live->file().isEmpty() && isSameFile(m_live->file(), file)) {
    tell(tr("%1 is being scanned. Save it when the scan has ended.").arg(file));
    return false;
  }
  const SaveRisk risk = riskOfReplacing(file, known, pages);
  return risk.isNone() || m_prompts.agree(riskText(file, risk), riskAnswer(risk));
}

/// What is done after a file was written; tells when it was not.
bool MainWindow::isSaved(bool done, const QString& file, const QString& why) {
  if (!done) {
    if (!why.isEmpty()) tell(why);
    return false;
  }
  m_settings->addRecent(file);
  m_log->note(tr("Saved: %1").arg(file));
  statusBar()->showMessage(tr("Saved: %1").arg(file));
  return true;
}

bool MainWindow::saveNew(const std::vector<int>& ids, const QString& file) {
  if (file.isEmpty() || !mayReplace(file, {}, static_cast<int>(ids.size()))) return false;
  QString why;
  return isSaved(m_files->save(ids, file, true, &why), file, why);
}

bool MainWindow::saveBack(const SavePlan::File& file) {
  const QString name = file.source->file;
  if (!mayReplace(name, file.source->stamp, static_cast<int>(file.ids.size()))) return false;
  QString why;
  return isSaved(m_files->saveBack(file, &why), name, why);
}

/// Pages that are in no file.
bool MainWindow::saveLoose(const std::vector<int>& ids) {
  if (ids.empty()) return true;
  if (ids.size() == 1) {
    const Page* page = m_document->page(ids.front());
    return page && saveNew(ids, m_prompts.saveName(fileNameFor(*page), false));
  }
  const QString folder = m_prompts.folder();
  if (folder.isEmpty()) return false;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (!page) continue;  // closed meanwhile
    const QString file = m_files->freeName(folder, *page);
    QString why;
    if (!isSaved(m_files->save({id}, file, false, &why), file, why)) return false;
  }
  return true;
}

bool MainWindow::save(const SavePlan& plan) {
  for (const SavePlan::File& file : plan.files) {
    if (!saveBack(file)) return false;
  }
  return saveLoose(plan.loose);
}

bool MainWindow::saveAll() {
  const SavePlan plan = planSave(m_document->pages());
  if (plan.isEmpty()) statusBar()->showMessage(tr("Everything is saved"));
  return save(plan);
}

bool MainWindow::saveCurrentAs() {
  const Page* page = m_document->page(m_view->current());
  if (!page) return false;
  const QString file = page->file(), name = fileNameFor(*page);
  const bool isAlone = !file.isEmpty() && page->source->held <= 1;
  const QString beside = file.isEmpty() ? name : QFileInfo(file).dir().filePath(name);
  return saveNew({page->id}, m_prompts.saveName(isAlone ? file : beside, false));
}

bool MainWindow::saveAllInOneFile() {
  const std::vector<int> ids = m_document->order();
  return !ids.empty() && saveNew(ids, m_prompts.saveName("pages.tif", true));
}

// Closing.

bool MainWindow::maySurrenderPages(const std::vector<int>& ids, const std::vector<PageSourcePtr>& reordered) {
  QStringList names;
  std::vector<int> wanted = ids;
  for (const int id : ids) {
    if (const Page* page = m_document->page(id)) names += page->name;
  }
  for (const PageSourcePtr& source : reordered) {
    names += tr("%1, the order of its pages").arg(QFileInfo(source->file).fileName());
    for (const Page& page : m_document->pages()) {
      if (page.source == source) wanted.push_back(page.id);
    }
  }
  if (names.isEmpty()) return true;
  switch (m_prompts.unsaved(names)) {
    case UnsavedAnswer::Discard: return true;
    case UnsavedAnswer::Save: return save(planSave(m_document->pages(), wanted));
    case UnsavedAnswer::Cancel: break;
  }
  return false;
}

bool MainWindow::closePages(const std::vector<int>& ids) {
  std::vector<int> unsaved;
  for (const int id : ids) {
    if (const Page* page = m_document->page(id); page && !page->isSaved()) unsaved.push_back(id);
  }
  if (!maySurrenderPages(unsaved, {})) return false;
  m_document->close(ids);
  return true;
}

bool MainWindow::closeAll() {
  // A scan may bring pages while the question is open.
  for (std::vector<int> asked; asked != m_document->unsaved();) {
    asked = m_document->unsaved();
    if (!maySurrenderPages(asked, {})) return false;
  }
  m_document->clear();
  return true;
}

void MainWindow::undo() {
  if (m_pageCommands->isRunning() || m_tools->isWorking() || !m_document->undo()) return;
  m_view->reveal(m_view->current());
}

void MainWindow::redo() {
  if (m_pageCommands->isRunning() || m_tools->isWorking() || !m_document->redo()) return;
  m_view->reveal(m_view->current());
}

void MainWindow::movePages(int step) {
  m_document->reorder(steppedOrder(m_document->order(), m_pages->selected(), step));
}

}  // namespace desktop
