#include "pages/option_setup.h"

#include <QPointer>
#include <utility>

#include "pages/model_setup.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {
/// In a store of their own: an option may be called as one of the page's keys.
constexpr const char* kOptionStore = "Options";
}  // namespace

OptionSetup::OptionSetup(KxPtr<IUnitOptions> unit, std::string name)
    : m_unit(std::move(unit)), m_name(std::move(name)) {
  const auto now = new_MemParam();
  m_unit->SaveOptions(now.get());
  for (std::string& option : now->GetKeys()) m_chosen.insert(std::move(option));
}

int OptionSetup::Load(IParam* set) {
  const auto kept = KxPtr<IParam>::adopt(set->GetSubStore(kOptionStore, 0));
  if (!kept) return 0;
  const auto now = new_MemParam(), wanted = new_MemParam();
  m_unit->SaveOptions(now.get());
  const auto chosen = std::exchange(m_chosen, {});
  for (const std::string& option : kept->GetKeys()) {
    const std::string value = paramString(kept.get(), option);
    const bool isSetSo = paramValue(now.get(), option).isEmpty() ? false : paramString(now.get(), option) == value;
    if (chosen.count(option) == 0 && !isSetSo) wanted->SetValue(option, value);
  }
  if (wanted->GetKeys().empty()) return 0;
  m_unit->LoadOptions(wanted.get());
  return 1;
}

int OptionSetup::Save(IParam* set) {
  set->RemoveSubStore(kOptionStore);
  const auto now = new_MemParam();
  m_unit->SaveOptions(now.get());
  if (now->GetKeys().empty()) return 1;
  const auto kept = KxPtr<IParam>::adopt(set->GetSubStore(kOptionStore, 1));
  return kept ? Param_CopyTo(now.get(), kept.get()) : 1;
}

int OptionSetup::Show(HWND parent) {
  // Destroyed with its parent, when a host closes the panel meanwhile.
  const QPointer<ModelSetup> dialog(new ModelSetup(m_unit, QString::fromStdString(m_name), parent));
  dialog->exec();
  const bool isChanged = dialog && dialog->isChanged();
  delete dialog;
  return isChanged ? 1 : 0;
}

KxPtr<IQuillbayUnitSetup> UnitSetupOf(IKxUnknown* scanner, const std::string& name) {
  if (auto own = query<IQuillbayUnitSetup>(scanner)) return own;
  auto options = query<IUnitOptions>(scanner);
  if (!options) return {};
  std::string shown = name;
  if (const auto scan = query<IScan>(scanner); scan && shown.empty()) shown = scan->GetName();
  return KxPtr<IQuillbayUnitSetup>::adopt(new OptionSetup(std::move(options), std::move(shown)));
}

}  // namespace quillbay
