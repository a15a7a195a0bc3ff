#include "host/event_policy.h"

#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr const char* kOverwriteTopic = "QBHelp:IDH_QB_OverWrite";
constexpr const char* kDetectTopic = "QBHelp:IDH_AutodetectError";

EventKind kindOf(int kind) {
  switch (kind) {
    case static_cast<int>(EventKind::Question): return EventKind::Question;
    case static_cast<int>(EventKind::Retry): return EventKind::Retry;
    default: return EventKind::Information;
  }
}

EventButtons buttonsOf(int buttons) {
  switch (buttons) {
    case static_cast<int>(EventButtons::YesNo): return EventButtons::YesNo;
    case static_cast<int>(EventButtons::OkCancel): return EventButtons::OkCancel;
    case static_cast<int>(EventButtons::RetryCancel): return EventButtons::RetryCancel;
    default: return EventButtons::Ok;
  }
}

}  // namespace

HostMessage makeMessage(int kind, const char* text, int buttons, const AnswerPolicy& policy) {
  const EventText parts = splitEventText(text ? text : "");
  HostMessage message;
  message.kind = kindOf(kind);
  message.buttons = buttonsOf(buttons);
  message.text = parts.text;
  message.helpTopic = parts.helpTopic;
  message.answer = policyAnswer(message, policy);
  return message;
}

EventAnswer policyAnswer(const HostMessage& message, const AnswerPolicy& policy) {
  switch (message.buttons) {
    case EventButtons::Ok: return EventAnswer::Ok;
    case EventButtons::OkCancel:
    case EventButtons::RetryCancel: return EventAnswer::GiveUp;
    case EventButtons::YesNo: break;
  }
  const bool yes = (policy.overwrite && sameKey(message.helpTopic, kOverwriteTopic)) ||
                   (policy.scanWholeImage && sameKey(message.helpTopic, kDetectTopic));
  return yes ? EventAnswer::Yes : EventAnswer::No;
}

const char* answerText(const HostMessage& message) {
  if (message.buttons == EventButtons::Ok) return "";
  if (message.buttons == EventButtons::OkCancel) return message.answer == EventAnswer::Ok ? "OK" : "cancelled";
  if (message.buttons == EventButtons::RetryCancel) {
    return message.answer == EventAnswer::Retry ? "trying again" : "given up";
  }
  return message.answer == EventAnswer::Yes ? "yes" : "no";
}

}  // namespace quillbay
