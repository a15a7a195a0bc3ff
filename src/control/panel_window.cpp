#include "control/panel_window.h"

#include <QVBoxLayout>

#include "control/maindlg.h"

namespace quillbay {

PanelWindow::PanelWindow(QWidget* parent) : QWidget(parent) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
}

PanelWindow::~PanelWindow() {
  if (m_panel) m_panel->leaveWindow();
}

void PanelWindow::hold(CMaindlg* panel) {
  m_panel = panel;
  layout()->addWidget(panel);
}

}  // namespace quillbay
