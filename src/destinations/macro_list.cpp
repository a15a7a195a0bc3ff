#include "destinations/macro_list.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {
std::size_t findTag(const std::string& text, const CIMacroItem& item, std::size_t* length) {
  const std::string tag = item.GetTag();
  *length = tag.size();
  return tag.empty() ? std::string::npos : toLowerAscii(text).find(toLowerAscii(tag));
}
}  // namespace

MacroList::MacroList(std::string user, bool scanTags) {
  m_items.push_back(std::make_unique<CUserMacro>(std::move(user)));
  m_items.push_back(std::make_unique<CCounterMacro>());
  m_items.push_back(std::make_unique<CTimeMacro>());
  m_items.push_back(std::make_unique<CDateMacro>());
  if (!scanTags) return;
  m_items.push_back(std::make_unique<CModeMacro>());
  m_items.push_back(std::make_unique<CDPIMacro>());
  m_items.push_back(std::make_unique<CPaperMacro>());
}

std::shared_ptr<MacroList> MacroList::process(const ScanValues& values) {
  static const auto s_all = std::make_shared<MacroList>(userName(), true);
  static const auto s_direct = std::make_shared<MacroList>(userName(), false);
  return values.currMode == kModeDirect ? s_direct : s_all;
}

std::string MacroList::expand(std::string text, const NameContext& context) {
  const std::lock_guard lock(m_mutex);
  // Ends: every replacement takes an opening bracket away, and no value brings one in.
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& item : m_items) {
      std::size_t length = 0;
      const std::size_t at = findTag(text, *item, &length);
      if (at == std::string::npos) continue;
      text.replace(at, length, item->GetValue(context));
      changed = true;
    }
  }
  return text;
}

std::string MacroList::tagList() const {
  std::string tags;
  for (const auto& item : m_items) tags += item->GetTag() + ' ';
  return tags;
}

std::string MacroList::withoutTags(std::string text) const {
  for (const auto& item : m_items) {
    std::size_t length = 0;
    for (std::size_t at; (at = findTag(text, *item, &length)) != std::string::npos;) text.erase(at, length);
  }
  return text;
}

}  // namespace quillbay
