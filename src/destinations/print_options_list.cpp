#include "destinations/print_options_list.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/print_host.h"
#include "quillbay/print_templates.h"
#include "quillbay/printing.h"
#include "widgets/string_table.h"

namespace quillbay {

PrintOptionsList::PrintOptionsList(KxPtr<IApp> app, KxPtr<IParam> automatic)
    : m_app(std::move(app)), m_automatic(std::move(automatic)) {
  rebuild();
}

bool PrintOptionsList::rebuild() {
  std::vector<Entry> entries{{Kind::Current, loadString(kTextCurrentOptions), kCurrentOptions},
                             {Kind::Auto, loadString(kTextAutoOptions), kAutoOptions}};
  for (CTempItem& item : ListTemplates(m_app.get(), tool_name::PrintOptions))
    entries.push_back({Kind::Template, std::move(item.name), std::move(item.path)});
  const bool isSame =
      std::equal(entries.begin(), entries.end(), m_entries.begin(), m_entries.end(),
                 [](const Entry& a, const Entry& b) { return a.carried == b.carried && a.text == b.text; });
  m_entries = std::move(entries);
  return !isSame;
}

int PrintOptionsList::find(const std::string& carried) const {
  const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                  [&](const Entry& entry) { return entry.carried == carried; });
  return found == m_entries.end() ? 0 : static_cast<int>(found - m_entries.begin());
}

KxPtr<IParam> PrintOptionsList::options(int entry, std::string* why) const {
  if (entry < 0 || static_cast<std::size_t>(entry) >= m_entries.size()) {
    if (why) *why = Supp_Translate("No print options are chosen.");
    return {};
  }
  const Entry& chosen = m_entries[static_cast<std::size_t>(entry)];
  if (chosen.kind == Kind::Auto) return m_automatic;
  if (chosen.kind == Kind::Template)
    return Load_Template(m_app.get(), tool_name::PrintOptions, chosen.carried, why);
  const auto provider = query<IParamProvider>(m_app.get());
  const auto current =
      provider ? KxPtr<IParam>::adopt(provider->GetToolParams(tool_name::PrintOptions)) : KxPtr<IParam>{};
  if (!current) {
    if (why) *why = Supp_Translate("This program has no print options of its own; choose <Auto> or a template.");
    return {};
  }
  auto copy = new_MemParam();
  Param_CopyTo(current.get(), copy.get());
  return copy;
}

}  // namespace quillbay
