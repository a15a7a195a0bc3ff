#include "host/interface_registry.h"

#include <algorithm>

namespace quillbay {

int CInterfaceRegistry::Register(const std::type_info& type, IKxUnknown* object) {
  void* found = nullptr;
  if (!object || !object->QueryInterface(type, &found)) return 0;
  object->Release();  // the query's reference
  m_objects.emplace_back(type, KxPtr<IKxUnknown>::share(object));
  return 1;
}

int CInterfaceRegistry::Withdraw(const std::type_info& type, IKxUnknown* object) {
  const auto found = std::find_if(m_objects.rbegin(), m_objects.rend(), [&](const auto& entry) {
    return entry.first == type && entry.second.get() == object;
  });
  if (found == m_objects.rend()) return 0;
  const KxPtr<IKxUnknown> last = found->second;  // its end may query this registry
  m_objects.erase(std::next(found).base());
  return 1;
}

int CInterfaceRegistry::answer(const std::type_info& wanted, void** out) const {
  const auto found =
      std::find_if(m_objects.rbegin(), m_objects.rend(), [&](const auto& entry) { return entry.first == wanted; });
  return found == m_objects.rend() ? 0 : found->second->QueryInterface(wanted, out);
}

}  // namespace quillbay
