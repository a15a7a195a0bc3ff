#pragma once
#include <functional>
#include <memory>
#include <string>

#include "core/json_store.h"
#include "quillbay/app.h"

namespace quillbay {

/// Takes a message for the user: a settings file was damaged, or could not be read or written.
using StoreMessage = std::function<void(const std::string& text)>;

/// A store with what its file holds. Never throws over the file: faults are reported to `tell` (which may be
/// empty) and logged, and the set is empty. A file that could not be read is also not written later.
[[nodiscard]] std::shared_ptr<JsonStore> openStore(const std::string& path, JsonStore::Mode mode,
                                                   const StoreMessage& tell);

/// Settings in sections, over a store that others may share: a section is a sub-store of its root.
/// Thread: the store's.
class Profile final : public CKxUnknownImpl<IProfile> {
 public:
  Profile(std::shared_ptr<JsonStore> store, StoreMessage tell);
  IParam* GetSection(std::string_view name, int create) override;
  int Flush() override;

 private:
  const std::shared_ptr<JsonStore> m_store;
  const StoreMessage m_tell;
};

}  // namespace quillbay
