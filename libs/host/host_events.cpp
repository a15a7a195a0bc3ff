#include "host/host_events.h"

#include <QApplication>
#include <QInputDialog>
#include <QThread>
#include <cstdio>

#include "host/event_policy.h"
#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr const char* kCannotWriteTopic = "QBHelp:IDH_CannotWrite";

std::string orEmpty(const char* text) { return text ? text : ""; }

}  // namespace

int CHostEvents::Note(const char* category, const char* text) {
  const std::string name = category ? category : "quillbay";
  if (m_onNote) {
    m_onNote(name, orEmpty(text));
  } else {
    logLine(LogLevel::Info, name.c_str(), orEmpty(text));
  }
  return 1;
}

int CHostEvents::Subject(const char* path, const char* cause) {
  m_pending = {orEmpty(path), orEmpty(cause)};
  return 1;
}

int CHostEvents::Finished(int pages) {
  if (m_interactive && pages > 0) QApplication::beep();
  return 1;
}

int CHostEvents::Event(int code, const char* detail, int buttons) {
  const Pending subject = std::exchange(m_pending, {});
  std::string text, cause = subject.cause.empty() ? orEmpty(detail) : subject.cause;
  if (code == kEventNextDocument) {
    text = Supp_Translate("Put the next document on the scanner.");
    cause.clear();  // it names buttons; those of the message window tell themselves what they do
  } else if (code != kEventCannotWrite) {
    text = formatText(Supp_Translate("Event %d"), {std::to_string(code)});
  } else if (subject.path.empty() || cause.find(subject.path) == std::string::npos) {
    text = formatText(Supp_Translate("Cannot write to %s"),
                      {subject.path.empty() ? Supp_Translate("the output file") : subject.path});
  }
  if (!text.empty() && !cause.empty()) text += ": ";
  const EventKind kind = code == kEventNextDocument ? EventKind::Question : EventKind::Information;
  HostMessage message = makeMessage(static_cast<int>(kind), "", buttons, m_answers);
  message.text = text + cause;  // not separated at dollar signs: a path may hold some
  message.event = code;
  message.path = subject.path;
  message.cause = cause;
  if (code == kEventCannotWrite) message.helpTopic = kCannotWriteTopic;
  return deliver(message);
}

int CHostEvents::Message(int kind, const char* text, int /*flags*/, int buttons) {
  HostMessage message = makeMessage(kind, text, buttons, m_answers);
  const Pending subject = std::exchange(m_pending, {});
  if (!subject.cause.empty() && message.text.find(subject.cause) == std::string::npos) {
    message.text += (message.text.ends_with('.') ? " " : ": ") + subject.cause;
  }
  message.path = subject.path;
  message.cause = subject.cause;
  return deliver(message);
}

int CHostEvents::deliver(const HostMessage& message) {
  logLine(LogLevel::Info, "quillbay.host", "message: " + message.text);
  HostMessage answered = message;
  if (m_onMessage) {
    answered.answer = m_onMessage(message);
  } else if (m_interactive) {
    std::function<void(const std::string&)> help;
    if (m_help) help = [keep = m_help](const std::string& topic) { keep->ShowTopic(topic.c_str()); };
    answered.answer = ShowMessageWindow(m_window, message, help);
  }
  const std::string word = answerText(answered);
  if (!word.empty()) logLine(LogLevel::Info, "quillbay.host", "answer: " + word);
  if (!m_onMessage && !m_interactive) {
    const std::string line = message.text + (word.empty() ? "" : " [" + word + "]") + "\n";
    std::fputs(line.c_str(), stderr);
  }
  return static_cast<int>(answered.answer);
}

int CHostEvents::AskText(const char* prompt, int secret, std::string* answer) {
  if (!m_interactive || !answer || !qApp) return 0;
  bool accepted = false;
  const auto ask = [&] {
    const QString text = QInputDialog::getText(m_window, QApplication::applicationDisplayName(),
                                               QString::fromUtf8(prompt ? prompt : ""),
                                               secret ? QLineEdit::Password : QLineEdit::Normal, {}, &accepted);
    if (accepted) *answer = text.toStdString();
  };
  if (QThread::currentThread() == qApp->thread()) {
    ask();
  } else {
    QMetaObject::invokeMethod(qApp, ask, Qt::BlockingQueuedConnection);
  }
  return accepted ? 1 : 0;
}

void sayCannotWrite(IEvents* events, const std::string& path, const std::string& cause) {
  events->Subject(path.c_str(), cause.c_str());
  events->Event(kEventCannotWrite, nullptr, static_cast<int>(EventButtons::Ok));
}

}  // namespace quillbay
