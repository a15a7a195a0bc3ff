#pragma once
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quillbay/param.h"

namespace quillbay {

/// What a host changes, in order, until it is applied: values by name, sets for the pages, and presets. Any thread.
class HostChanges {
 public:
  struct Change {
    std::string key;
    CKxVariant value;
    KxPtr<IParam> set;                     ///< of `IQuillbaySink::ApplyParams`; null for a single value
    std::optional<std::int32_t> preset{};  ///< its id
  };
  void add(std::string key, const CKxVariant& value);
  /// Copies `set`.
  void add(IParam* set);
  void addPreset(std::int32_t id);
  [[nodiscard]] std::vector<Change> take();

 private:
  std::mutex m_mutex;
  std::vector<Change> m_waiting;  // guarded by the mutex
};

}  // namespace quillbay
