#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "quillbay/export.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"

namespace quillbay {

using CKxBlob = std::vector<std::uint8_t>;

/// One value of a parameter set: nothing, a 32-bit integer, a double, UTF-8 text, a rectangle or a point in
/// millimetres, bytes, or a counted object.
class CKxVariant {
 public:
  using Value = std::variant<std::monostate, std::int32_t, double, std::string, tagRRECT, tagRPOINT, CKxBlob,
                             KxPtr<IKxUnknown>>;
  CKxVariant() = default;
  // Implicit, so that a value can be handed over where a variant is asked for.
  CKxVariant(std::int32_t v) : m_value(v) {}                   // NOLINT(google-explicit-constructor)
  CKxVariant(double v) : m_value(v) {}                         // NOLINT(google-explicit-constructor)
  CKxVariant(std::string v) : m_value(std::move(v)) {}         // NOLINT(google-explicit-constructor)
  CKxVariant(std::string_view v) : m_value(std::string(v)) {}  // NOLINT(google-explicit-constructor)
  CKxVariant(const char* v) : m_value(std::string(v)) {}       // NOLINT(google-explicit-constructor)
  CKxVariant(const tagRRECT& v) : m_value(v) {}                // NOLINT(google-explicit-constructor)
  CKxVariant(const tagRPOINT& v) : m_value(v) {}               // NOLINT(google-explicit-constructor)
  CKxVariant(CKxBlob v) : m_value(std::move(v)) {}             // NOLINT(google-explicit-constructor)
  CKxVariant(KxPtr<IKxUnknown> v) : m_value(std::move(v)) {}   // NOLINT(google-explicit-constructor)

  [[nodiscard]] const Value& value() const noexcept { return m_value; }
  [[nodiscard]] bool isEmpty() const noexcept { return m_value.index() == 0; }
  /// The value as a `T` of the list above, or null when it is of another type.
  template <class T>
  [[nodiscard]] const T* get() const noexcept {
    return std::get_if<T>(&m_value);
  }
  /// Numbers convert into one another (doubles truncate toward zero and are held to the range).
  [[nodiscard]] std::int32_t toInt(std::int32_t otherwise = 0) const noexcept;
  [[nodiscard]] double toDouble(double otherwise = 0) const noexcept;

 private:
  Value m_value;
};

inline std::int32_t CKxVariant::toInt(std::int32_t otherwise) const noexcept {
  if (const auto* i = get<std::int32_t>()) return *i;
  const auto* d = get<double>();
  if (!d || *d != *d) return otherwise;
  if (*d >= 2147483647.0) return INT32_MAX;
  if (*d <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(*d);
}

inline double CKxVariant::toDouble(double otherwise) const noexcept {
  if (const auto* d = get<double>()) return *d;
  if (const auto* i = get<std::int32_t>()) return *i;
  return otherwise;
}

/// A hierarchical parameter set. Keys and names of sub-stores are compared without regard to (ASCII) case and keep
/// the spelling of their first write. Not thread-safe, unless an implementation says so.
class IParam : public IKxUnknown {
 public:
  /// Stores the value of `key` in `*out`. Returns 1, or 0 when there is none (`*out` stays as it was).
  virtual int GetValue(std::string_view key, CKxVariant* out) = 0;
  /// The sub-store of a path, its names parted by a backslash or a slash, with a reference.
  /// With `create` 0 null when it does not exist; otherwise it is made.
  virtual IParam* GetSubStore(std::string_view path, int create) = 0;
  /// Stores `value` under `key`; an empty value removes the key. Returns 1.
  virtual int SetValue(std::string_view key, const CKxVariant& value) = 0;
  /// Removes a key. Returns 1, or 0 when there was none.
  virtual int Remove(std::string_view key) = 0;
  /// Removes a sub-store with all that it holds. Returns 1, or 0 when there was none.
  virtual int RemoveSubStore(std::string_view path) = 0;
  /// The keys, in the order of their first write.
  [[nodiscard]] virtual std::vector<std::string> GetKeys() = 0;
  /// The names of the direct sub-stores, in the order of their creation.
  [[nodiscard]] virtual std::vector<std::string> GetSubStores() = 0;
};

/// A new, empty parameter set in memory.
QUILLBAY_API KxPtr<IParam> new_MemParam();

/// Copies every value and every nested store of `source` over those of `destination`; what `source` lacks stays.
/// Returns 1, or 0 when one of them is null.
QUILLBAY_API int Param_CopyTo(IParam* source, IParam* destination);

/// Typed reading with a fallback for a key that is missing or of another type. `set` may be null.
[[nodiscard]] inline CKxVariant paramValue(IParam* set, std::string_view key) {
  CKxVariant v;
  if (set) set->GetValue(key, &v);
  return v;
}
[[nodiscard]] inline std::int32_t paramInt(IParam* set, std::string_view key, std::int32_t otherwise = 0) {
  return paramValue(set, key).toInt(otherwise);
}
[[nodiscard]] inline double paramDouble(IParam* set, std::string_view key, double otherwise = 0) {
  return paramValue(set, key).toDouble(otherwise);
}
[[nodiscard]] inline std::string paramString(IParam* set, std::string_view key, std::string_view otherwise = {}) {
  const CKxVariant v = paramValue(set, key);
  const auto* text = v.get<std::string>();
  return text ? *text : std::string(otherwise);
}

}  // namespace quillbay
