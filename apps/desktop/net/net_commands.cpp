#include "net/net_commands.h"

#include <QMenu>
#include <QStatusBar>
#include <utility>

#include "net/net_dialog.h"
#include "window/log_dock.h"
#include "window/main_window.h"

namespace desktop {

NetCommands::NetCommands(MainWindow* window, std::function<void(const std::string&)> help,
                         std::function<void()> changed)
    : QObject(window),
      m_window(window),
      m_help(std::move(help)),
      m_changed(std::move(changed)),
      m_queue(quillbay::OpenNetQueue()) {
  // On any thread; not called any more once it was withdrawn.
  m_advice = m_queue->Advise(
      [this] { QMetaObject::invokeMethod(this, &NetCommands::queueChanged, Qt::QueuedConnection); });
  QMetaObject::invokeMethod(this, &NetCommands::queueChanged, Qt::QueuedConnection);
}

NetCommands::~NetCommands() { m_queue->Unadvise(m_advice); }

void NetCommands::fill(QMenu* menu) {
  QAction* action = menu->addAction(tr("Net&work scanning..."));
  action->setStatusTip(tr("Sets up the scan server and its clients, and shows the pages that wait for it"));
  connect(action, &QAction::triggered, this, [this] {
    if (setUp()) m_changed();
  });
}

bool NetCommands::setUp() {
  NetDialog dialog(m_queue, m_window->prompts().agree, m_help, m_window);
  return dialog.exec() == QDialog::Accepted;
}

bool NetCommands::ensureClients() {
  if (!quillbay::ListNetClients().empty()) return true;
  quillbay::HostMessage question;
  question.kind = quillbay::EventKind::Question;
  question.buttons = quillbay::EventButtons::YesNo;
  question.answer = quillbay::EventAnswer::No;
  question.helpTopic = "QBHelp:IDH_ServerNotInstalled";
  question.text =
      tr("Scan-To-Net server settings error or empty clients list.\n\nA scan server is another program, "
         "which passes on the pages that it finds in its hot folder. Set up its folder and its clients "
         "now?")
          .toStdString();
  const bool sets = m_window->prompts().message(question) == quillbay::EventAnswer::Yes;
  return sets && setUp() && !quillbay::ListNetClients().empty();
}

/// Says once what pages wait for, and when they are gone.
void NetCommands::queueChanged() {
  const std::vector<quillbay::NetPage> pages = m_queue->GetPages();
  const std::string why = pages.empty() ? std::string() : pages.front().why;
  const bool isNews = !why.empty() && why != m_why;
  QString text;
  if (isNews)
    text = (pages.size() == 1 ? tr("1 page waits for %1: %2")
                              : tr("%n pages wait for %1: %2", nullptr, static_cast<int>(pages.size())))
               .arg(QString::fromStdString(pages.front().folder), QString::fromStdString(why));
  else if (pages.empty() && m_waiting != 0 && !m_why.empty())
    text = tr("All pages were handed to the scan server");
  if (!why.empty() || pages.empty()) m_why = why;
  m_waiting = pages.size();
  if (text.isEmpty()) return;
  m_window->log().note(text);
  m_window->statusBar()->showMessage(text);
}

}  // namespace desktop
