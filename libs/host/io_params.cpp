#include "host/io_params.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/format_settings.h"

namespace quillbay {
namespace {

template <class List, class Name>
std::string joined(const List& list, Name name) {
  std::string text;
  for (const auto& item : list) {
    if (!text.empty()) text += ", ";
    text += name(item);
  }
  return text.empty() ? "none" : text;
}

bool refuse(std::string* why, std::string text) {
  if (why) *why = std::move(text);
  return false;
}

}  // namespace

CIOParams::CIOParams(IParam* saved, std::string software) : m_software(std::move(software)) { takeSaved(saved); }

void CIOParams::takeSaved(IParam* saved) {
  auto copy = new_MemParam();
  if (saved) Param_CopyTo(saved, copy.get());
  const std::lock_guard lock(m_mutex);
  m_saved = std::move(copy);
}

IParam* CIOParams::GetFormatOptions(std::string_view format) {
  auto copy = new_MemParam();
  const std::lock_guard lock(m_mutex);
  const auto entry = KxPtr<IParam>::adopt(m_saved->GetSubStore(format, 0));
  const auto saved = entry ? KxPtr<IParam>::adopt(entry->GetSubStore(format_key::Options, 0)) : KxPtr<IParam>{};
  if (saved) Param_CopyTo(saved.get(), copy.get());
  const auto options = KxPtr<IParam>::adopt(m_options->GetSubStore(format, 0));
  if (options) Param_CopyTo(options.get(), copy.get());
  return copy.detach();
}

bool CIOParams::setOption(const std::vector<FormatInfo>& formats, std::string_view format, std::string_view key,
                          std::string_view value, std::string* why) {
  const auto known =
      std::find_if(formats.begin(), formats.end(), [&](const FormatInfo& f) { return sameKey(f.name, format); });
  if (known == formats.end()) {
    return refuse(why,
                  formatText(Supp_Translate("unknown format \"%s\"; available: %s"),
                             {std::string(format), joined(formats, [](const FormatInfo& f) { return f.name; })}));
  }
  const auto option = std::find_if(known->options.begin(), known->options.end(),
                                   [&](const FormatOption& o) { return sameKey(o.key, key); });
  if (option == known->options.end()) {
    return refuse(why, formatText(Supp_Translate("%s has no option \"%s\"; available: %s"),
                                  {known->name, std::string(key),
                                   joined(known->options, [](const FormatOption& o) { return o.key; })}));
  }
  const auto& choices = option->choices;
  const auto choice =
      std::find_if(choices.begin(), choices.end(), [&](const std::string& c) { return sameKey(c, value); });
  if (!choices.empty() && choice == choices.end()) {
    return refuse(why, formatText(Supp_Translate("%s has no %s \"%s\"; available: %s"),
                                  {known->name, option->key, std::string(value),
                                   joined(choices, [](const std::string& c) { return c; })}));
  }
  const std::lock_guard lock(m_mutex);
  const auto options = KxPtr<IParam>::adopt(m_options->GetSubStore(known->name, 1));
  options->SetValue(option->key, choices.empty() ? std::string(value) : *choice);
  return true;
}

}  // namespace quillbay
