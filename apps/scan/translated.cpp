#include "translated.h"

#include "quillbay/translation.h"

std::string translated(std::string_view english, const std::vector<std::string>& values) {
  std::string text = quillbay::Supp_Translate(english);
  std::size_t at = 0;
  for (const std::string& value : values) {
    at = text.find("%s", at);
    if (at == std::string::npos) break;
    text.replace(at, 2, value);
    at += value.size();  // a value may hold "%s" itself
  }
  return text;
}
