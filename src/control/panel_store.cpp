#include "control/panel_store.h"

#include <algorithm>

#include "quillbay/control.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

/// A scanner's name as one step of a path: delimiters would open a sub-store of their own.
std::string storeName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '\\' || c == '/'; }, '_');
  return name.empty() ? std::string("unnamed") : name;
}

constexpr const char* kMainDialog = "MainDlg";

}  // namespace

PanelStore::PanelStore(IApp* app, const std::string& scannerName) : m_profile(query<IProfile>(app)) {
  KxPtr<IParam> section;
  if (m_profile) section = KxPtr<IParam>::adopt(m_profile->GetSection(section_name::Panel, 1));
  if (!section) section = new_MemParam();
  m_scanner = KxPtr<IParam>::adopt(section->GetSubStore(storeName(scannerName), 1));
  if (!m_scanner) m_scanner = new_MemParam();
}

KxPtr<IParam> PanelStore::sub(const std::string& name) const {
  auto store = KxPtr<IParam>::adopt(m_scanner->GetSubStore(name, 1));
  return store ? store : new_MemParam();
}

KxPtr<IParam> PanelStore::page(int number) const { return sub("page" + std::to_string(number)); }

KxPtr<IParam> PanelStore::mainDialog() const { return sub(kMainDialog); }

int HasSavedSettings(IApp* app, std::string_view scannerName) {
  const auto profile = query<IProfile>(app);
  const auto panel = profile ? KxPtr<IParam>::adopt(profile->GetSection(section_name::Panel, 0)) : KxPtr<IParam>{};
  if (!panel) return 0;
  const auto own = KxPtr<IParam>::adopt(panel->GetSubStore(storeName(std::string(scannerName)), 0));
  const auto main = own ? KxPtr<IParam>::adopt(own->GetSubStore(kMainDialog, 0)) : KxPtr<IParam>{};
  return main && !main->GetKeys().empty() ? 1 : 0;
}

int PanelStore::flush() { return m_profile ? m_profile->Flush() : 1; }

}  // namespace quillbay
