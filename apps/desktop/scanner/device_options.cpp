#include "scanner/device_options.h"

#include <algorithm>

namespace desktop {

using quillbay::UnitOption;
using quillbay::UnitOptionType;

DeviceOptions::DeviceOptions(quillbay::KxPtr<quillbay::IUnitOptions> unit) : m_unit(std::move(unit)) { read(); }

void DeviceOptions::read() {
  m_options = m_unit->GetOptions();
  std::erase_if(m_options, [](const UnitOption& o) { return o.followsRequest || !o.settable; });
}

bool DeviceOptions::set(const std::string& name, const std::string& value, std::string* why) {
  const auto is = [&](const auto& option) { return option.name == name; };
  const auto option = std::find_if(m_options.begin(), m_options.end(), is);
  const bool isKept = option != m_options.end() && option->type != UnitOptionType::Button;
  const std::string before = isKept ? option->value : std::string();
  const bool isSet = m_unit->SetOption(name, value, why) != 0;
  const bool isFirst =
      std::none_of(m_before.begin(), m_before.end(), [&](const auto& b) { return b.first == name; });
  if (isSet && isKept && isFirst) m_before.emplace_back(name, before);
  read();
  return isSet;
}

void DeviceOptions::restore() {
  for (auto change = m_before.rbegin(); change != m_before.rend(); ++change)
    m_unit->SetOption(change->first, change->second, nullptr);
  m_before.clear();
  read();
}

}  // namespace desktop
