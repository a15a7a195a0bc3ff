#pragma once
#include <QPointer>
#include <QWidget>
#include <functional>
#include <string>

#include "quillbay/host.h"

namespace quillbay {

/// The host's messages: to the program's handler, to windows if the host is interactive, otherwise to standard
/// error, with the policy's answer. User-interface thread, except `Note` and `AskText`.
class CHostEvents final : public CKxUnknownImpl<IEvents> {
 public:
  /// `help` is what the messages' Help button opens; null without a manual.
  CHostEvents(const HostOptions& options, KxPtr<IHelp> help)
      : m_help(std::move(help)),
        m_interactive(options.interactive),
        m_onMessage(options.onMessage),
        m_onNote(options.onNote),
        m_answers(options.answers) {}

  int Note(const char* category, const char* text) override;
  int Subject(const char* path, const char* cause) override;
  int Finished(int pages) override;
  int Event(int code, const char* detail, int buttons) override;
  int Message(int kind, const char* text, int flags, int buttons) override;
  int AskText(const char* prompt, int secret, std::string* answer) override;

  void setMainWindow(QWidget* window) { m_window = window; }
  [[nodiscard]] QWidget* mainWindow() const { return m_window; }
  void setAnswers(const AnswerPolicy& answers) { m_answers = answers; }
  [[nodiscard]] bool interactive() const { return m_interactive; }

 private:
  int deliver(const HostMessage& message);

  const KxPtr<IHelp> m_help;
  const bool m_interactive;
  const std::function<EventAnswer(const HostMessage&)> m_onMessage;
  const std::function<void(const std::string&, const std::string&)> m_onNote;
  AnswerPolicy m_answers;
  QPointer<QWidget> m_window;
  struct Pending {
    std::string path, cause;
  };
  Pending m_pending;  // what the next event or message is about
};

/// Says that `path` cannot be written, and why, as event 9 does.
void sayCannotWrite(IEvents* events, const std::string& path, const std::string& cause);

}  // namespace quillbay
