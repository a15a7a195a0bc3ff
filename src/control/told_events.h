#pragma once
#include <string>

#include "control/run_events.h"
#include "quillbay/events.h"

namespace quillbay {

/// The host's events for a destination: all goes to the host, and hosts that listen to the panel hear of messages.
/// `listeners` outlives it. User-interface thread, except `Note`.
class ToldEvents final : public CKxUnknownImpl<IEvents> {
 public:
  ToldEvents(KxPtr<IEvents> host, const RunEvents& listeners) : m_host(std::move(host)), m_listeners(listeners) {}
  int Note(const char* category, const char* text) override { return m_host->Note(category, text); }
  int Subject(const char* path, const char* cause) override;
  int Finished(int pages) override { return m_host->Finished(pages); }
  int Event(int code, const char* detail, int buttons) override;
  int Message(int kind, const char* text, int flags, int buttons) override;
  int AskText(const char* prompt, int secret, std::string* answer) override {
    return m_host->AskText(prompt, secret, answer);
  }

 private:
  KxPtr<IEvents> m_host;
  const RunEvents& m_listeners;
  std::string m_subject;  // of the next event
};

}  // namespace quillbay
