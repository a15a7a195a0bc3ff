#include "widgets/button_text.h"

namespace quillbay {

namespace {
/// At most `most` bytes, ending before a character rather than inside it.
std::string cut(const std::string& utf8, std::size_t most) {
  if (utf8.size() <= most) return utf8;
  std::size_t end = most;
  while (end > 0 && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) --end;
  return utf8.substr(0, end);
}
}  // namespace

ButtonText splitButtonText(const std::string& text) {
  const auto breakAt = text.find('\n');
  if (breakAt == std::string::npos) return {text, {}};
  std::string prompt = text.substr(0, breakAt);
  if (!prompt.empty() && prompt.back() == '\r') prompt.pop_back();
  return {prompt, cut(text.substr(breakAt + 1), kTipBuffer - 1)};
}

}  // namespace quillbay
