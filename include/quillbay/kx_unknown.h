#pragma once
#include <atomic>
#include <cassert>
#include <cstdint>
#include <typeinfo>
#include <utility>

namespace quillbay {

/// Base of every interface that crosses a boundary: counted, and queried by type identity.
/// Operations are numbered in declared order; these three are 0, 1 and 2 of every interface.
/// Reference counting is thread-safe; the object itself only if its interface states so.
/// Interfaces live in named namespaces: a query compares `type_info`, also across loaded libraries.
class IKxUnknown {
 public:
  /// Adds a reference; returns the new count.
  virtual std::uint32_t AddRef() = 0;
  /// Gives a reference back; returns the new count. The object may be destroyed.
  virtual std::uint32_t Release() = 0;
  /// Stores the object's `wanted` (a pointer to exactly that interface) in `*out` and adds a reference.
  /// Returns non-zero when the object has it; otherwise `*out` is left as it was.
  virtual int QueryInterface(const std::type_info& wanted, void** out) = 0;

 protected:
  IKxUnknown() = default;
  IKxUnknown(const IKxUnknown&) = default;
  IKxUnknown& operator=(const IKxUnknown&) = default;
  virtual ~IKxUnknown() = default;
};

/// Owns one reference to a counted interface and gives it back exactly once.
template <class I>
class KxPtr {
 public:
  KxPtr() noexcept = default;
  KxPtr(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): an empty pointer, as elsewhere
  /// Takes over a reference that the callee added (getter results, new objects).
  [[nodiscard]] static KxPtr adopt(I* p) noexcept {
    KxPtr r;
    r.m_p = p;
    return r;
  }
  /// Adds a reference of its own (borrowed arguments that are kept).
  [[nodiscard]] static KxPtr share(I* p) {
    if (p) p->AddRef();
    return adopt(p);
  }
  KxPtr(const KxPtr& o) : KxPtr(share(o.m_p)) {}
  KxPtr(KxPtr&& o) noexcept : m_p(std::exchange(o.m_p, nullptr)) {}
  KxPtr& operator=(KxPtr o) noexcept {
    std::swap(m_p, o.m_p);
    return *this;
  }
  ~KxPtr() {
    if (m_p) m_p->Release();
  }
  [[nodiscard]] I* get() const noexcept { return m_p; }
  I* operator->() const noexcept {
    assert(m_p);
    return m_p;
  }
  I& operator*() const noexcept {
    assert(m_p);
    return *m_p;
  }
  explicit operator bool() const noexcept { return m_p != nullptr; }
  /// For out parameters that hand over a reference; drops what was held.
  [[nodiscard]] I** put() noexcept {
    *this = KxPtr{};
    return &m_p;
  }
  /// Passes the reference to the caller.
  [[nodiscard]] I* detach() noexcept { return std::exchange(m_p, nullptr); }
  /// The object's `J`, or empty.
  template <class J>
  [[nodiscard]] KxPtr<J> as() const {
    void* out = nullptr;
    const bool has = m_p && m_p->QueryInterface(typeid(J), &out) != 0;
    return has ? KxPtr<J>::adopt(static_cast<J*>(out)) : KxPtr<J>{};
  }

 private:
  I* m_p = nullptr;
};

/// The object's `J`, or empty; `p` may be null.
template <class J, class I>
[[nodiscard]] KxPtr<J> query(I* p) {
  void* out = nullptr;
  const bool has = p && p->QueryInterface(typeid(J), &out) != 0;
  return has ? KxPtr<J>::adopt(static_cast<J*>(out)) : KxPtr<J>{};
}

namespace detail {

/// Answers a query from a list of interfaces of `self`; the first one also stands for `IKxUnknown`.
template <class First, class... More, class Self>
int answerQuery(Self* self, const std::type_info& wanted, void** out) {
  void* found = nullptr;
  if (wanted == typeid(First)) {
    found = static_cast<First*>(self);
  } else if (wanted == typeid(IKxUnknown)) {
    found = static_cast<IKxUnknown*>(static_cast<First*>(self));
  } else {
    ((wanted == typeid(More) ? void(found = static_cast<More*>(self)) : void()), ...);
  }
  if (!found) return 0;
  static_cast<First*>(self)->AddRef();
  *out = found;
  return 1;
}

}  // namespace detail

/// Implements the counted base for an object on the heap: the count starts at 1, the object is destroyed at 0.
template <class... I>
class CKxUnknownImpl : public I... {
 public:
  std::uint32_t AddRef() override { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
  std::uint32_t Release() override {
    const std::uint32_t left = m_count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return detail::answerQuery<I...>(this, wanted, out);
  }
  CKxUnknownImpl(const CKxUnknownImpl&) = delete;
  CKxUnknownImpl& operator=(const CKxUnknownImpl&) = delete;

 protected:
  CKxUnknownImpl() = default;
  ~CKxUnknownImpl() override = default;

 private:
  std::atomic<std::uint32_t> m_count{1};
};

/// The counted base for an object embedded in another, which lives as long as its owner: counts, never deletes.
template <class... I>
class CKxUnknownImplStatic : public I... {
 public:
  std::uint32_t AddRef() override { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
  std::uint32_t Release() override { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return detail::answerQuery<I...>(this, wanted, out);
  }
  CKxUnknownImplStatic(const CKxUnknownImplStatic&) = delete;
  CKxUnknownImplStatic& operator=(const CKxUnknownImplStatic&) = delete;

 protected:
  CKxUnknownImplStatic() = default;
  ~CKxUnknownImplStatic() override = default;

 private:
  std::atomic<std::uint32_t> m_count{1};
};

}  // namespace quillbay
