#include <algorithm>
#include <tuple>
#include <utility>

#include "core/param_tree.h"
#include "platform/base_services.h"
#include "quillbay/param.h"

namespace quillbay {
namespace {

/// The first name of a path, and what follows it. Delimiters in a row, in front and at the end count for nothing.
std::pair<std::string_view, std::string_view> firstName(std::string_view path) noexcept {
  constexpr std::string_view kDelimiters = "\\/";
  const std::size_t start = path.find_first_not_of(kDelimiters);
  if (start == std::string_view::npos) return {};
  path.remove_prefix(start);
  const std::size_t end = path.find_first_of(kDelimiters);
  const std::string_view rest = end == std::string_view::npos ? std::string_view{} : path.substr(end);
  return {path.substr(0, end),
          rest.find_first_not_of(kDelimiters) == std::string_view::npos ? std::string_view{} : rest};
}

/// Entries stay in the order of their first write. Sets hold tens of entries, so a search by length and letters
/// beats a map and keeps the order for nothing.
template <class T>
auto findNamed(std::vector<std::pair<std::string, T>>& entries, std::string_view name) {
  return std::find_if(entries.begin(), entries.end(), [name](const auto& e) { return sameKey(e.first, name); });
}

template <class T>
std::vector<std::string> namesOf(const std::vector<std::pair<std::string, T>>& entries) {
  std::vector<std::string> names;
  names.reserve(entries.size());
  for (const auto& e : entries) names.push_back(e.first);
  return names;
}

class MemParam final : public CKxUnknownImpl<IParam> {
 public:
  int GetValue(std::string_view key, CKxVariant* out) override {
    const auto found = findNamed(m_values, key);
    if (found == m_values.end() || !out) return 0;
    *out = found->second;
    return 1;
  }

  IParam* GetSubStore(std::string_view path, int create) override {
    KxPtr<MemParam> at = KxPtr<MemParam>::share(this);
    for (auto [name, rest] = firstName(path); !name.empty(); std::tie(name, rest) = firstName(rest)) {
      const auto found = findNamed(at->m_stores, name);
      if (found != at->m_stores.end()) {
        at = KxPtr<MemParam>(found->second);
      } else if (create) {
        auto made = KxPtr<MemParam>::adopt(new MemParam);
        at->m_stores.emplace_back(name, made);
        at = std::move(made);
      } else {
        return nullptr;
      }
    }
    return at.detach();
  }

  int SetValue(std::string_view key, const CKxVariant& value) override {
    if (value.isEmpty()) {
      Remove(key);
      return 1;
    }
    const auto found = findNamed(m_values, key);
    if (found == m_values.end()) {
      m_values.emplace_back(key, value);
    } else {
      found->second = value;
    }
    return 1;
  }

  int Remove(std::string_view key) override {
    const auto found = findNamed(m_values, key);
    if (found == m_values.end()) return 0;
    const CKxVariant kept = std::move(found->second);  // an object that is destroyed with its value may call back
    m_values.erase(found);
    return 1;
  }

  int RemoveSubStore(std::string_view path) override {
    const auto [name, rest] = firstName(path);
    const auto found = findNamed(m_stores, name);
    if (name.empty() || found == m_stores.end()) return 0;
    const KxPtr<MemParam> child = found->second;
    if (!rest.empty()) return child->RemoveSubStore(rest);
    m_stores.erase(found);
    return 1;
  }

  std::vector<std::string> GetKeys() override { return namesOf(m_values); }
  std::vector<std::string> GetSubStores() override { return namesOf(m_stores); }

 private:
  std::vector<std::pair<std::string, CKxVariant>> m_values;
  std::vector<std::pair<std::string, KxPtr<MemParam>>> m_stores;
};

}  // namespace

KxPtr<IParam> new_MemParam() { return KxPtr<IParam>::adopt(new MemParam); }

int Param_CopyTo(IParam* source, IParam* destination) {
  if (!source || !destination) return 0;
  if (source == destination) return 1;
  // All is taken before anything is written: one of the two may lie inside the other.
  takeTree(source, ObjectValues::Take).writeTo(destination);
  return 1;
}

}  // namespace quillbay
