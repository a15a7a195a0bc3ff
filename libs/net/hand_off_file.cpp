#include "net/hand_off_file.h"

#include <algorithm>

#include "platform/base_services.h"
#include "platform/page_spool.h"

namespace quillbay {

std::string handOffName(const std::string& file) {
  const std::string extension = fio::extensionOf(file);
  return file.substr(0, file.size() - extension.size()) + ".ini";
}

std::string profileValue(const std::string& value) {
  const auto ends = [](char c) { return c == '\n' || c == '\r' || c == '\0'; };
  if (std::any_of(value.begin(), value.end(), ends)) {
    std::string shown = value;
    std::replace_if(shown.begin(), shown.end(), ends, '?');
    throw CXException(formatText(
        Supp_Translate("\"%s\" holds a line break, which a hand-off file cannot name. Rename it."), {shown}));
  }
  if (value.empty()) return value;
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  const char first = value.front(), last = value.back();
  const bool quoted = value.size() > 1 && first == last && (first == '"' || first == '\'');
  return blank(first) || blank(last) || quoted ? '"' + value + '"' : value;
}

std::string handOffText(const std::string& image, const std::string& client) {
  std::string text = "[Image]\r\nFilename=" + profileValue(image) + "\r\n";
  if (client.empty()) return text;
  text += "[Destination]\r\nClient=" + profileValue(client) + "\r\nImage=" + profileValue(fio::fileNameOf(image)) +
          "\r\n[Producer]\r\nSignature=Relayvox\r\n";
  return text;
}

}  // namespace quillbay
