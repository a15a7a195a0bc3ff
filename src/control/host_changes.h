#pragma once
#include <mutex>
#include <string>
#include <vector>

#include "quillbay/param.h"

namespace quillbay {

/// What a host changes, in order, until it is applied: values by name, and sets for the pages. Any thread.
class HostChanges {
 public:
  struct Change {
    std::string key;
    CKxVariant value;
    KxPtr<IParam> set;  ///< of `IQuillbaySink::ApplyParams`; null for a single value
  };
  void add(std::string key, const CKxVariant& value);
  /// Copies `set`.
  void add(IParam* set);
  [[nodiscard]] std::vector<Change> take();

 private:
  std::mutex m_mutex;
  std::vector<Change> m_waiting;  // guarded by the mutex
};

}  // namespace quillbay
