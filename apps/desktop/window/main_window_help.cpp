// The window's menu "Help", and the manual.
#include <QMenuBar>
#include <QMessageBox>

#include "tools/tool_commands.h"
#include "window/main_window.h"
#include "window/manual_window.h"

namespace desktop {

void MainWindow::makeHelpMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Help"));
  addAction(menu, tr("&Manual"), QKeySequence::HelpContents, tr("Opens the manual"),
            [this] { openManual(m_tools->helpTopic()); });
  addAction(menu, tr("&Keys and mouse"), {}, tr("Lists the keys of all commands, and what the mouse does"),
            [this] { openManual("QBHelp:IDH_Keys"); });
  menu->addSeparator();
  addAction(menu, tr("&About Quillbay"), {}, tr("The program's version"), [this] {
    about();
  })->setMenuRole(QAction::AboutRole);
}

void MainWindow::openManual(const std::string& topic) {
  if (const auto help = quillbay::query<quillbay::IHelp>(m_app.get())) help->ShowTopic(topic.c_str());
}

QWidget* MainWindow::showManual(const QString& page) {
  if (!m_manual) {
    m_manual = std::make_unique<ManualWindow>([this] { return commandTables(menuBar()->actions()); });
    m_manual->restorePlacement(m_settings ? m_settings->bytes("Manual") : QByteArray());
  }
  m_manual->showPage(page);
  return m_manual.get();
}

void MainWindow::about() {
  QMessageBox::about(this, tr("About Quillbay"),
                     tr("<b>Quillbay %1</b><p>Scans large documents: maps, drawings, plans and long rolls.")
                         .arg(quillbay::LibraryVersion()));
}

}  // namespace desktop
