#pragma once
#include <string>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Kinds of `IEvents::Message`.
enum class EventKind : int { Information = 12, Question = 14, Retry = 16 };
/// Button sets: Yes (answer 1) and No; OK (answer 7) and Cancel (answer 3); Retry (answer 1) and Cancel (answer 3);
/// OK.
enum class EventButtons : int { YesNo = 1, OkCancel = 2, RetryCancel = 3, Ok = 7 };
enum class EventAnswer : int { Yes = 1, Retry = 1, No = 2, GiveUp = 3, Ok = 7 };

/// Event "this file or folder cannot be written".
inline constexpr int kEventCannotWrite = 9;
/// Event "put the next document on the scanner": a batch on a device without a feeder asks so between its
/// documents, with `EventButtons::OkCancel`. The detail is the whole text. OK continues, Cancel ends the batch.
inline constexpr int kEventNextDocument = 10;

/// The host's messages and events. Called on the user-interface thread, except `Note`.
class IEvents : public IKxUnknown {
 public:
  /// Writes a line to the host's log; any thread. `category` is e.g. "quillbay.store".
  virtual int Note(const char* category, const char* text) = 0;
  /// Sets the subject of the next event of this thread: a file or folder, and the cause.
  virtual int Subject(const char* path, const char* cause) = 0;
  /// A page or a batch was finished; for hosts that sound or show it.
  virtual int Finished(int pages) = 0;
  /// An event by number. Returns the same as `Message`.
  virtual int Event(int code, const char* detail, int buttons) = 0;
  /// Shows a message. A help topic may end the text, between dollar signs ("...$QBHelp:IDH_MaskEmpty$",
  /// see splitEventText).
  virtual int Message(int kind, const char* text, int flags, int buttons) = 0;
  /// Asks for a line of text; `secret` hides what is typed. Returns 1, or 0 without an answer. Any thread that
  /// does not block the user-interface thread.
  virtual int AskText(const char* prompt, int secret, std::string* answer) = 0;
};

/// The host's manual; a host without one answers no query for it. User-interface thread.
class IHelp : public IKxUnknown {
 public:
  /// Opens the manual at a topic: "QBHelp:IDH_MaskEmpty", or "SCANNER:IDH_ScanToFile" for a topic of a
  /// scanner. Empty or unknown: the first page. Returns 1, or 0 when nothing was shown.
  virtual int ShowTopic(const char* topic) = 0;
};

/// A message split into the text to show and the topic of its help button.
struct EventText {
  std::string text;
  std::string helpTopic;  ///< e.g. "QBHelp:IDH_ScanError"; empty without one
};

/// Splits a message into its text and its help topic. A topic is "$BOOK:IDH_NAME$" at the very end of the message,
/// BOOK and NAME of letters, digits and underscores; every other dollar sign belongs to the text, which may hold
/// paths.
[[nodiscard]] inline EventText splitEventText(const std::string& message) {
  EventText plain{message, {}};
  if (message.size() < 2 || message.back() != '$') return plain;
  const auto first = message.rfind('$', message.size() - 2);
  if (first == std::string::npos) return plain;
  const std::string topic = message.substr(first + 1, message.size() - first - 2);
  const auto colon = topic.find(':');
  if (colon == std::string::npos || colon == 0 || topic.compare(colon + 1, 4, "IDH_") != 0) return plain;
  for (std::size_t i = 0; i < topic.size(); ++i) {
    const char c = topic[i];
    const bool isWord = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    if (!isWord && i != colon) return plain;
  }
  return {message.substr(0, first), topic};
}

}  // namespace quillbay
