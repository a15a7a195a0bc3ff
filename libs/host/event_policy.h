#pragma once
#include "quillbay/host.h"

namespace quillbay {

/// The message of `IEvents::Message`, separated from its help topic. An unknown kind or button set counts as
/// information with OK. The answer is the policy's.
[[nodiscard]] HostMessage makeMessage(int kind, const char* text, int buttons, const AnswerPolicy& policy);

/// The answers of a host that is not interactive: OK; a retry question: giving up; a question: what `policy` says
/// about its topic, otherwise No.
[[nodiscard]] EventAnswer policyAnswer(const HostMessage& message, const AnswerPolicy& policy);

/// The word for an answer, for a log or a terminal ("yes", "no", "given up"); empty for OK.
[[nodiscard]] const char* answerText(const HostMessage& message);

}  // namespace quillbay
