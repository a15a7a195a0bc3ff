#include <tuple>
#include <utility>

#include "core/folders.h"
#include "core/json_store.h"
#include "core/registry_store.h"
#include "platform/base_services.h"
#include "platform/registry.h"

namespace quillbay {

/// A key of the shared settings: everything goes to the set in the file's store, which it keeps.
class CurrentUserKey final : public CKxUnknownImpl<IParam> {
 public:
  CurrentUserKey(std::shared_ptr<JsonStore> store, KxPtr<IParam> set)
      : m_store(std::move(store)), m_set(std::move(set)) {}
  int GetValue(std::string_view key, CKxVariant* out) override { return m_set->GetValue(key, out); }
  IParam* GetSubStore(std::string_view path, int create) override { return m_set->GetSubStore(path, create); }
  int SetValue(std::string_view key, const CKxVariant& value) override { return m_set->SetValue(key, value); }
  int Remove(std::string_view key) override { return m_set->Remove(key); }
  int RemoveSubStore(std::string_view path) override { return m_set->RemoveSubStore(path); }
  std::vector<std::string> GetKeys() override { return m_set->GetKeys(); }
  std::vector<std::string> GetSubStores() override { return m_set->GetSubStores(); }
  void save() { std::ignore = m_store->save(); }

 private:
  const std::shared_ptr<JsonStore> m_store;
  const KxPtr<IParam> m_set;
};

KxPtr<IParam> new_IParamCUReg(std::string_view key, int create) {
  // Without `create` a damaged file stays where it is.
  const auto mode = create ? JsonStore::Mode::ReadWrite : JsonStore::Mode::ReadOnly;
  const auto store = openStore(fio::withDelimiter(settingsFolder()) + "shared-settings.json", mode, {});
  auto set = KxPtr<IParam>::adopt(store->root()->GetSubStore(key, create));
  if (!set) return {};
  return KxPtr<IParam>::adopt(new CurrentUserKey(store, std::move(set)));
}

void saveIParamCUReg(IParam* key) {
  if (auto* own = dynamic_cast<CurrentUserKey*>(key)) own->save();
}

}  // namespace quillbay
