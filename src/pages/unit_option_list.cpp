#include "pages/unit_option_list.h"

#include <algorithm>

#include "platform/base_services.h"

namespace quillbay {

UnitOptionList::UnitOptionList(KxPtr<IUnitOptions> unit) : m_unit(std::move(unit)) { read(); }

void UnitOptionList::read() {
  m_options = m_unit->GetOptions();
  std::erase_if(m_options, [](const UnitOption& o) { return o.followsRequest || !o.settable; });
}

const UnitOption* UnitOptionList::find(const std::string& name) const {
  const auto found =
      std::find_if(m_options.begin(), m_options.end(), [&](const UnitOption& o) { return o.name == name; });
  return found == m_options.end() ? nullptr : &*found;
}

bool UnitOptionList::set(const std::string& name, const std::string& value, std::string* why) {
  const UnitOption* option = find(name);
  const bool isKept = option && option->type != UnitOptionType::Button;
  std::string before = isKept ? option->value : std::string();
  if (isKept && option->isAutomatic) before = kAutomaticValue;
  const bool isSet = m_unit->SetOption(name, value, why) != 0;
  const bool isFirst =
      std::none_of(m_before.begin(), m_before.end(), [&](const auto& b) { return b.first == name; });
  if (isSet && isKept && isFirst) m_before.emplace_back(name, std::move(before));
  read();
  return isSet;
}

void UnitOptionList::keep() {
  m_isKept = m_isKept || hasUnkept();
  m_before.clear();
}

void UnitOptionList::restore() {
  for (auto change = m_before.rbegin(); change != m_before.rend(); ++change) {
    std::string why;
    if (!m_unit->SetOption(change->first, change->second, &why))
      logLine(LogLevel::Warning, "quillbay.scanner", why);
  }
  m_before.clear();
  read();
}

}  // namespace quillbay
