/// Help in the panel: which page of the host's manual explains what the person works with.
#include <QApplication>
#include <QKeyEvent>
#include <QTabBar>

#include "control/maindlg.h"
#include "platform/base_services.h"

namespace quillbay {

std::string CMaindlg::currentTopic() const {
  const QWidget* focus = QApplication::focusWidget();
  if (focus && m_destinationPlace->isAncestorOf(focus)) return values().helpTopic;
  const auto& pages = currentPages();
  const int tab = m_tabs->currentIndex();
  if (m_layout != 0 || tab < 0 || static_cast<std::size_t>(tab) >= pages.size()) return values().helpTopic;
  return helpTopicOf(pages[static_cast<std::size_t>(tab)]);
}

void CMaindlg::showHelp() {
  const auto help = query<IHelp>(m_params->app());
  const std::string topic = currentTopic();
  if (help && help->ShowTopic(topic.c_str())) return;
  logLine(LogLevel::Warning, "quillbay.control", "no help was shown for " + topic);
}

bool CMaindlg::event(QEvent* event) {
  const bool key = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
  if (!key || !static_cast<const QKeyEvent*>(event)->matches(QKeySequence::HelpContents) ||
      !query<IHelp>(m_params->app())) {
    return CDialog::event(event);
  }
  if (event->type() == QEvent::KeyPress) showHelp();
  event->accept();
  return true;
}

}  // namespace quillbay
