#pragma once
#include <string>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Kinds of `IEvents::Message`.
enum class EventKind : int { Information = 12, Question = 14, Retry = 16 };
/// Button sets: OK; Yes (answer 1) and No; Retry (answer 1) and Cancel (answer 3).
enum class EventButtons : int { YesNo = 1, RetryCancel = 3, Ok = 7 };
enum class EventAnswer : int { Yes = 1, Retry = 1, No = 2, GiveUp = 3, Ok = 7 };

/// Event "this file or folder cannot be written".
inline constexpr int kEventCannotWrite = 9;

/// The host's messages and events. Called on the user-interface thread, except `Note`.
class IEvents : public IKxUnknown {
 public:
  /// Writes a line to the host's log; any thread. `category` is e.g. "quillbay.store".
  virtual int Note(const char* category, const char* text) = 0;
  /// What the next event of this thread is about: a file or folder, and the cause.
  virtual int Subject(const char* path, const char* cause) = 0;
  /// A page or a batch was finished; for hosts that sound or show it.
  virtual int Finished(int pages) = 0;
  /// An event by number. Answers as `Message`.
  virtual int Event(int code, const char* detail, int buttons) = 0;
  /// Shows a message. A help topic may follow the text between dollar signs ("...$QBHelp:IDH_MaskEmpty$").
  virtual int Message(int kind, const char* text, int flags, int buttons) = 0;
  /// Asks for a line of text; `secret` hides what is typed. Answers 1, or 0 when nobody answered. Any thread that
  /// is not holding up the user-interface thread.
  virtual int AskText(const char* prompt, int secret, std::string* answer) = 0;
};

/// The host's manual; a host without one answers no query for it. User-interface thread.
class IHelp : public IKxUnknown {
 public:
  /// Opens the manual at a topic: "QBHelp:IDH_MaskEmpty", or "SCANNER:IDH_ScanToFile" for what a scanner has of its
  /// own. Empty, or a topic that the manual does not know: its beginning. Answers 1, or 0 when nothing was shown.
  virtual int ShowTopic(const char* topic) = 0;
};

/// A message parted into what is shown and the topic that its help button opens.
struct EventText {
  std::string text;
  std::string helpTopic;  ///< e.g. "QBHelp:IDH_ScanError"; empty without one
};
[[nodiscard]] inline EventText splitEventText(const std::string& message) {
  const auto first = message.find('$');
  if (first == std::string::npos) return {message, {}};
  const auto last = message.find('$', first + 1);
  return {message.substr(0, first), message.substr(first + 1, last == std::string::npos ? last : last - first - 1)};
}

}  // namespace quillbay
