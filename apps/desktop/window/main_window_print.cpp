// The command "Print", and pages that a printer did not take.
#include <QStatusBar>

#include "document/page_list.h"
#include "printing/page_printing.h"
#include "printing/print_dialog.h"
#include "scanner/panel_dock.h"
#include "view/document_view.h"
#include "view/live_page.h"
#include "window/log_dock.h"
#include "window/main_window.h"

namespace desktop {

void MainWindow::printPages() {
  const Page* page = m_document->page(m_view->current());
  if (!page || isOccupied()) return;
  if (m_panel->isBusy()) return tell(tr("A scan is running. Print when it has ended."));
  const std::vector<int> selected = m_pages->selected(), all = m_document->order();
  PrintDialog dialog(m_app.get(), page->raster.get(), static_cast<int>(selected.size()),
                     static_cast<int>(all.size()), this);
  const int current = page->id;
  if (dialog.exec() != QDialog::Accepted) return;
  const auto provider = quillbay::query<quillbay::IParamProvider>(m_app.get());
  if (provider) provider->SetToolParams(quillbay::tool_name::PrintOptions, dialog.options().get());
  switch (dialog.pages()) {
    case PrintedPages::Current: return print({current}, dialog.options().get());
    case PrintedPages::Selected: return print(selected, dialog.options().get());
    case PrintedPages::All: return print(all, dialog.options().get());
  }
}

void MainWindow::print(const std::vector<int>& ids, quillbay::IParam* options) {
  m_printing = true;
  PagePrinting printing(m_app.get(), this);
  const int count = static_cast<int>(ids.size());
  int printed = 0;
  QString why;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (!page) continue;      // closed meanwhile
    const Page copy = *page;  // what runs meanwhile may change the document
    if (!printing.print(copy, printed + 1, count, options, &why)) break;
    ++printed;
    if (!printing.sent().isEmpty()) m_log->note(copy.name + ": " + printing.sent());
  }
  m_printing = false;
  statusBar()->showMessage(printed == count ? tr("Sent to the printer, pages: %1").arg(printed)
                                            : tr("Printing was ended, pages: %1 of %2").arg(printed).arg(count));
  if (!why.isEmpty()) tell(why);
}

/// A page whose print job failed is kept, as far as it was scanned: it can be printed or saved from here.
void MainWindow::keepUnprinted() {
  const QString name = m_live->rescue(tr("Page not printed"));
  if (!name.isEmpty()) m_log->note(tr("The scanned page is kept as %1; print it with File, Print.").arg(name));
}

}  // namespace desktop
