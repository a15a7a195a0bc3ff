#include "widgets/answer_countdown.h"

#include <utility>

namespace quillbay {

std::optional<AnswerCountdown::Step> AnswerCountdown::expire(const std::string& title) {
  if (m_count < 0) return std::nullopt;
  if (!m_title) m_title = title;
  const Step step{*m_title + " (" + std::to_string(m_count) + ")", m_count == 0};
  --m_count;
  return step;
}

std::optional<std::string> AnswerCountdown::stop() {
  m_count = -1;
  return std::exchange(m_title, std::nullopt);
}

}  // namespace quillbay
