#include <algorithm>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/host.h"

namespace quillbay {
namespace {

constexpr std::string_view kPart = ".part";

/// NAME of "NAME.part" or "NAME.part.N"; empty for another name.
std::string nameOfPart(std::string_view part) {
  const auto lastDot = part.rfind('.');
  if (lastDot == std::string_view::npos) return {};
  const std::string_view last = part.substr(lastDot + 1);
  const bool numbered =
      !last.empty() && std::all_of(last.begin(), last.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (numbered) part = part.substr(0, lastDot);
  if (!part.ends_with(kPart) || part.size() == kPart.size()) return {};
  return std::string(part.substr(0, part.size() - kPart.size()));
}

int refuse(std::string* why, std::string text) {
  if (why) *why = std::move(text);
  return 0;
}

}  // namespace

int RecoverPart(const std::string& part, bool mayReplace, std::string* file, std::string* why) {
  const std::string name = nameOfPart(part);
  if (name.empty()) return refuse(why, part + " is no leftover of a scan: its name does not end in \".part\".");
  if (!fio::exists(part)) return refuse(why, part + " does not exist.");
  try {
    if (name + std::string(kPart) != part) {  // set aside: back to the name that publishing knows
      fio::publish(part, name + std::string(kPart), false);
    }
    PublishPart(name, mayReplace);
  } catch (const CXException& e) {
    return refuse(why, e.what());
  }
  if (file) *file = name;
  return 1;
}

}  // namespace quillbay
