#include "destinations/history.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
std::string itemKey(std::size_t index) { return "Item" + toText(static_cast<std::int64_t>(index)); }
}  // namespace

KxPtr<IParam> History::store(IProfile* profile, bool create) const {
  if (!profile) return {};
  const auto section = KxPtr<IParam>::adopt(profile->GetSection(section_name::Panel, create ? 1 : 0));
  if (!section) return {};
  return KxPtr<IParam>::adopt(section->GetSubStore("History\\" + m_name, create ? 1 : 0));
}

void History::load(IProfile* profile) {
  m_items.clear();
  const auto from = store(profile, false);
  if (!from) return;
  for (std::size_t i = 0;; ++i) {
    std::string text = paramString(from.get(), itemKey(i));
    if (text.empty()) return;
    m_items.push_back(std::move(text));
  }
}

void History::save(IProfile* profile) const {
  const auto to = store(profile, true);
  if (!to) return;
  const std::size_t kept = std::min(m_items.size(), kMost);
  for (std::size_t i = 0; i < kept; ++i) to->SetValue(itemKey(i), m_items[i]);
  for (std::size_t i = kept; to->Remove(itemKey(i)); ++i) {
  }
}

bool History::add(const std::string& text) {
  if (text.empty()) return false;
  const bool known =
      std::any_of(m_items.begin(), m_items.end(), [&](const std::string& item) { return sameKey(item, text); });
  if (known) return false;
  m_items.insert(m_items.begin(), text);
  return true;
}

}  // namespace quillbay
