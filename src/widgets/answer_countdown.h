#pragma once
#include <optional>
#include <string>

namespace quillbay {

/// How message windows are answered without a user.
struct AnswerSettings {
  bool enabled = false;
  int delay = 5;  ///< counts, one each half second; the answer comes at 0
};

/// The countdown in the title of one message window: from the delay down to 0, where its default button is pressed.
/// It counts only while its window is shown. No window, no clock: the owner calls it.
class AnswerCountdown {
 public:
  explicit AnswerCountdown(const AnswerSettings& settings) : m_count(settings.enabled ? settings.delay : -1) {}

  struct Step {
    std::string title;   ///< for the window: "its title (count)"
    bool press = false;  ///< the default button
  };
  /// A period has passed while the window, titled `title`, is shown. Nothing when the countdown has ended or
  /// stopped.
  std::optional<Step> expire(const std::string& title);
  /// The user works in the window: it is not answered any more. The title to put back; nothing when it is its own.
  std::optional<std::string> stop();
  [[nodiscard]] bool isCounting() const noexcept { return m_count >= 0; }

 private:
  int m_count;
  std::optional<std::string> m_title;  // the window's own, since it was found
};

}  // namespace quillbay
