#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/host_services.h"
#include "widgets/answer_countdown.h"
#include "widgets/countdown_timer.h"

namespace quillbay {

class MessageAnswering;

/// The host's events with automatic answering: every call goes to the host's own object; while a message is shown,
/// the title of its window counts down, and its default button is pressed at 0. A key or mouse press in the window
/// stops that. Messages that open over others have countdowns of their own; the lower ones wait.
///
/// Not answered: messages with `kMessageForUser`; the request for the next document (`kEventNextDocument`), which
/// nobody but a user can follow; `AskText`, whose answer nobody else knows.
/// User-interface thread, except `Note` and `AskText`.
class CTimerEvents final : public CKxUnknownImpl<IEvents> {
 public:
  using Settings = std::function<AnswerSettings()>;
  /// Half a second passes between two counts.
  static constexpr int kPeriodTicks = 10;

  /// The events of an application for one more panel: its `CTimerEvents` when it has one, else a new one, which is
  /// registered with the application's `IInterfaceRegistry`. Null when the application has no events.
  /// `settings` is asked at each message. Each call needs its `leave`.
  [[nodiscard]] static KxPtr<CTimerEvents> enter(IApp* app, Settings settings);
  /// A panel less; after the last one the application's own events answer queries again.
  void leave();

  CTimerEvents(KxPtr<IEvents> host, std::string productTitle, Settings settings,
               std::unique_ptr<TickSource> ticks = platformTicks());

  int QueryInterface(const std::type_info& wanted, void** out) override;
  int Note(const char* category, const char* text) override { return m_host->Note(category, text); }
  int Subject(const char* path, const char* cause) override { return m_host->Subject(path, cause); }
  int Finished(int pages) override { return m_host->Finished(pages); }
  int Event(int code, const char* detail, int buttons) override;
  int Message(int kind, const char* text, int flags, int buttons) override;
  int AskText(const char* prompt, int secret, std::string* answer) override {
    return m_host->AskText(prompt, secret, answer);
  }

 private:
  ~CTimerEvents() override;
  int answered(bool mayAnswer, const std::function<int()>& call);
  void begin(MessageAnswering& message);
  void end(const MessageAnswering& message);
  void periodPassed();
  void touched(QWidget& window);
  /// The windows of the messages below the uppermost one.
  [[nodiscard]] std::vector<const QWidget*> lowerWindows() const;

  const KxPtr<IEvents> m_host;
  const std::string m_productTitle;  // of a window without a title
  Settings m_settings;
  CountdownTimer m_timer;
  std::vector<MessageAnswering*> m_open;  // the messages that are shown, the uppermost last
  std::unique_ptr<QObject> m_watch;       // while one is shown
  KxPtr<IInterfaceRegistry> m_registry;   // while registered
  int m_panels = 0;
};

}  // namespace quillbay
