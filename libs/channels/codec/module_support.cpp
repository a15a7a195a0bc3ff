#include "channels/codec/module_support.h"

#include <charconv>

namespace quillbay {
namespace {

bool sameWord(const std::string& a, const char* b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return a.size() == std::strlen(b) &&
         std::equal(a.begin(), a.end(), b, [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

void checkLineBytes(std::uint64_t bytes) {
  if (bytes > kMostLineBytes)
    throw ModuleError(QB_E_DAMAGED, "its lines are longer than any picture's; the file is damaged");
}

int optionChoice(const QbOptions* options, const QbOptionInfo& info) {
  const std::string value = optionText(options, info.key, info.choices[0]);
  std::string known;
  for (int i = 0; info.choices[i]; ++i) {
    if (sameWord(value, info.choices[i])) return i;
    known += (i ? ", " : "") + std::string(info.choices[i]);
  }
  throw ModuleError(QB_E_REFUSED,
                    "the option " + std::string(info.key) + " cannot be \"" + value + "\"; choose one of " + known);
}

int optionNumber(const QbOptions* options, const QbOptionInfo& info) {
  return optionNumber(options, info, info.most);
}

int optionNumber(const QbOptions* options, const QbOptionInfo& info, int most) {
  const std::string value = optionText(options, info.key, info.otherwise);
  int number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error == std::errc{} && end == value.data() + value.size() && number >= info.least && number <= most)
    return number;
  throw ModuleError(QB_E_REFUSED, "the option " + std::string(info.key) + " cannot be \"" + value +
                                      "\"; choose a number of " + std::to_string(info.least) + " to " +
                                      std::to_string(most));
}

}  // namespace quillbay
