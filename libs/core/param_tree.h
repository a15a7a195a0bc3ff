#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillbay/param.h"

namespace quillbay {

struct NestedTree;

/// What a parameter set with all its nested sets held at one moment. A plain value, independent of the set.
/// Names are unique without regard to case.
struct ParamTree {
  std::vector<std::pair<std::string, CKxVariant>> values;
  std::vector<NestedTree> stores;

  [[nodiscard]] bool isEmpty() const noexcept;
  [[nodiscard]] const CKxVariant* findValue(std::string_view key) const noexcept;
  [[nodiscard]] const ParamTree* findStore(std::string_view name) const noexcept;
  void setValue(std::string_view key, const CKxVariant& value);
  void removeValue(std::string_view key);
  /// The nested tree of a name, made when it is missing.
  ParamTree& store(std::string_view name);
  void removeStore(std::string_view name);

  /// Writes all values and nested sets over those of `set`; entries missing here are kept there.
  void writeTo(IParam* set) const;
};

/// A nested tree with its name.
struct NestedTree {
  std::string first;
  ParamTree second;
};

/// Whether values that are objects belong to a tree; a file cannot hold them.
enum class ObjectValues : int { Leave, Take };

/// The tree of a set.
[[nodiscard]] ParamTree takeTree(IParam* set, ObjectValues objects);

/// Equal type and value, doubles bit for bit (so that a NaN equals itself).
[[nodiscard]] bool sameValue(const CKxVariant& a, const CKxVariant& b);
/// Equal names (without regard to case), values and nested trees, in whatever order.
[[nodiscard]] bool sameTree(const ParamTree& a, const ParamTree& b);

/// `theirs` with everything on top that changed from `base` to `mine`: per key, what was set differently is set,
/// what went is removed. A nested tree that went takes along what `base` knew of it and goes when nothing else is
/// in it.
[[nodiscard]] ParamTree mergeTrees(const ParamTree& base, const ParamTree& mine, ParamTree theirs);

/// Makes `set` equal to `wanted`, in place: nested sets that callers hold stay the same objects. Object values
/// stay.
void bringTo(IParam* set, const ParamTree& wanted);

}  // namespace quillbay
