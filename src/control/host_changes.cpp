#include "control/host_changes.h"

#include <utility>

namespace quillbay {

void HostChanges::add(std::string key, const CKxVariant& value) {
  const std::lock_guard lock(m_mutex);
  m_waiting.push_back({std::move(key), value, {}});
}

void HostChanges::add(IParam* set) {
  auto copy = new_MemParam();
  Param_CopyTo(set, copy.get());
  const std::lock_guard lock(m_mutex);
  m_waiting.push_back({{}, {}, std::move(copy)});
}

void HostChanges::addPreset(std::int32_t id) {
  const std::lock_guard lock(m_mutex);
  m_waiting.push_back({{}, {}, {}, id});
}

std::vector<HostChanges::Change> HostChanges::take() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_waiting, {});
}

}  // namespace quillbay
