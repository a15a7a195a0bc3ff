#pragma once
#include <typeindex>
#include <utility>
#include <vector>

#include "quillbay/host_services.h"

namespace quillbay {

/// What others registered in place of the application's own interfaces.
class CInterfaceRegistry final : public CKxUnknownImpl<IInterfaceRegistry> {
 public:
  int Register(const std::type_info& type, IKxUnknown* object) override;
  int Withdraw(const std::type_info& type, IKxUnknown* object) override;
  /// Answers a query from what is registered: 1, or 0 when nothing is.
  int answer(const std::type_info& wanted, void** out) const;

 private:
  std::vector<std::pair<std::type_index, KxPtr<IKxUnknown>>> m_objects;  // the latest last
};

}  // namespace quillbay
