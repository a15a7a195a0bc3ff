#include "core/param_tree.h"

#include <algorithm>
#include <bit>
#include <type_traits>

#include "platform/base_services.h"

namespace quillbay {
namespace {

template <class Entries>
auto findNamed(Entries& entries, std::string_view name) noexcept {
  return std::find_if(entries.begin(), entries.end(), [name](const auto& e) { return sameKey(e.first, name); });
}

bool sameBits(double a, double b) noexcept {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool same(const double& a, const double& b) noexcept { return sameBits(a, b); }
bool same(const tagRPOINT& a, const tagRPOINT& b) noexcept { return sameBits(a.x, b.x) && sameBits(a.y, b.y); }
bool same(const tagRRECT& a, const tagRRECT& b) noexcept {
  return sameBits(a.left, b.left) && sameBits(a.top, b.top) && sameBits(a.right, b.right) &&
         sameBits(a.bottom, b.bottom);
}
bool same(const KxPtr<IKxUnknown>& a, const KxPtr<IKxUnknown>& b) noexcept { return a.get() == b.get(); }
template <class T>
bool same(const T& a, const T& b) noexcept {
  return a == b;
}

bool isObject(const CKxVariant& value) noexcept { return value.get<KxPtr<IKxUnknown>>() != nullptr; }

}  // namespace

bool ParamTree::isEmpty() const noexcept { return values.empty() && stores.empty(); }

const CKxVariant* ParamTree::findValue(std::string_view key) const noexcept {
  const auto found = findNamed(values, key);
  return found == values.end() ? nullptr : &found->second;
}

const ParamTree* ParamTree::findStore(std::string_view name) const noexcept {
  const auto found = findNamed(stores, name);
  return found == stores.end() ? nullptr : &found->second;
}

void ParamTree::setValue(std::string_view key, const CKxVariant& value) {
  const auto found = findNamed(values, key);
  if (found == values.end()) {
    values.emplace_back(key, value);
  } else {
    found->second = value;
  }
}

void ParamTree::removeValue(std::string_view key) {
  const auto found = findNamed(values, key);
  if (found != values.end()) values.erase(found);
}

ParamTree& ParamTree::store(std::string_view name) {
  const auto found = findNamed(stores, name);
  if (found != stores.end()) return found->second;
  stores.push_back({std::string(name), {}});
  return stores.back().second;
}

void ParamTree::removeStore(std::string_view name) {
  const auto found = findNamed(stores, name);
  if (found != stores.end()) stores.erase(found);
}

void ParamTree::writeTo(IParam* set) const {
  for (const auto& [key, value] : values) set->SetValue(key, value);
  for (const auto& [name, tree] : stores) {
    if (const auto nested = KxPtr<IParam>::adopt(set->GetSubStore(name, 1))) tree.writeTo(nested.get());
  }
}

ParamTree takeTree(IParam* set, ObjectValues objects) {
  ParamTree tree;
  for (const std::string& key : set->GetKeys()) {
    CKxVariant value;
    if (!set->GetValue(key, &value) || value.isEmpty()) continue;
    if (objects == ObjectValues::Take || !isObject(value)) tree.setValue(key, value);
  }
  for (const std::string& name : set->GetSubStores()) {
    const auto nested = KxPtr<IParam>::adopt(set->GetSubStore(name, 0));
    // An empty path is the set itself: a foreign set that lists such a name must not lead round in a circle.
    if (nested && nested.get() != set) tree.store(name) = takeTree(nested.get(), objects);
  }
  return tree;
}

bool sameValue(const CKxVariant& a, const CKxVariant& b) {
  if (a.value().index() != b.value().index()) return false;
  return std::visit([&b](const auto& x) { return same(x, *b.get<std::decay_t<decltype(x)>>()); }, a.value());
}

bool sameTree(const ParamTree& a, const ParamTree& b) {
  if (a.values.size() != b.values.size() || a.stores.size() != b.stores.size()) return false;
  return std::all_of(a.values.begin(), a.values.end(),
                     [&b](const auto& entry) {
                       const CKxVariant* other = b.findValue(entry.first);
                       return other && sameValue(entry.second, *other);
                     }) &&
         std::all_of(a.stores.begin(), a.stores.end(), [&b](const auto& entry) {
           const ParamTree* other = b.findStore(entry.first);
           return other && sameTree(entry.second, *other);
         });
}

ParamTree mergeTrees(const ParamTree& base, const ParamTree& mine, ParamTree theirs) {
  for (const auto& [key, value] : mine.values) {
    const CKxVariant* before = base.findValue(key);
    if (!before || !sameValue(*before, value)) theirs.setValue(key, value);
  }
  for (const auto& [key, value] : base.values) {
    if (!mine.findValue(key)) theirs.removeValue(key);
  }
  const ParamTree nothing;
  for (const auto& [name, tree] : mine.stores) {
    const ParamTree* before = base.findStore(name);
    if (before && sameTree(*before, tree)) continue;
    ParamTree& target = theirs.store(name);
    target = mergeTrees(before ? *before : nothing, tree, std::move(target));
  }
  for (const auto& [name, tree] : base.stores) {
    if (mine.findStore(name) || !theirs.findStore(name)) continue;
    ParamTree& target = theirs.store(name);
    target = mergeTrees(tree, nothing, std::move(target));
    if (target.isEmpty()) theirs.removeStore(name);
  }
  return theirs;
}

void bringTo(IParam* set, const ParamTree& wanted) {
  for (const std::string& key : set->GetKeys()) {
    CKxVariant value;
    if (set->GetValue(key, &value) && !isObject(value) && !wanted.findValue(key)) set->Remove(key);
  }
  for (const auto& [key, value] : wanted.values) {
    CKxVariant now;
    const bool present = set->GetValue(key, &now) != 0;
    if (!present || (!isObject(now) && !sameValue(now, value))) set->SetValue(key, value);
  }
  for (const std::string& name : set->GetSubStores()) {
    if (!wanted.findStore(name)) set->RemoveSubStore(name);
  }
  for (const auto& [name, tree] : wanted.stores) {
    if (const auto nested = KxPtr<IParam>::adopt(set->GetSubStore(name, 1))) bringTo(nested.get(), tree);
  }
}

}  // namespace quillbay
