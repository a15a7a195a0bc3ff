#include "core/registry_store.h"

#include <utility>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// Reports to the user once; as a warning in the log only without a listener.
void tellOrLog(const StoreMessage& tell, const std::string& text) {
  logLine(tell ? LogLevel::Info : LogLevel::Error, "quillbay.core", text);
  if (tell) tell(text);
}

}  // namespace

std::shared_ptr<JsonStore> openStore(const std::string& path, JsonStore::Mode mode, const StoreMessage& tell) {
  auto store = std::make_shared<JsonStore>(path, mode);
  try {
    const auto damaged = store->load();
    if (damaged) tellOrLog(tell, damaged->text());
  } catch (const CXException& e) {
    tellOrLog(tell, e.what());
  }
  return store;
}

Profile::Profile(std::shared_ptr<JsonStore> store, StoreMessage tell)
    : m_store(std::move(store)), m_tell(std::move(tell)) {}

IParam* Profile::GetSection(std::string_view name, int create) {
  return m_store->root()->GetSubStore(name, create);
}

int Profile::Flush() {
  try {
    const auto damaged = m_store->save();
    if (damaged) tellOrLog(m_tell, damaged->text());
    return 1;
  } catch (const CXException& e) {
    tellOrLog(m_tell, e.what());
    return 0;
  }
}

}  // namespace quillbay
