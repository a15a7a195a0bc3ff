#include "control/told_events.h"

#include <utility>

namespace quillbay {

int ToldEvents::Subject(const char* path, const char* cause) {
  const std::string file = path ? path : "", why = cause ? cause : "";
  m_subject = why.find(file) == std::string::npos ? file + ": " + why : why;
  return m_host->Subject(path, cause);
}

int ToldEvents::Event(int code, const char* detail, int buttons) {
  const std::string subject = std::exchange(m_subject, {});
  m_listeners.message(subject.empty() && detail ? detail : subject);
  return m_host->Event(code, detail, buttons);
}

int ToldEvents::Message(int kind, const char* text, int flags, int buttons) {
  m_subject.clear();
  m_listeners.message(splitEventText(text ? text : "").text);
  return m_host->Message(kind, text, flags, buttons);
}

}  // namespace quillbay
