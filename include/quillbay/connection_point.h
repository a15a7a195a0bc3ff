#pragma once
#include <algorithm>
#include <mutex>
#include <vector>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Enumerates the sinks that were subscribed when the enumerator was made, in the order they subscribed.
/// A sink that left in between is skipped.
template <class I>
class IConnectionEnum : public IKxUnknown {
 public:
  /// The next sink with a reference, or empty at the end.
  virtual KxPtr<I> Next() = 0;
  virtual void Reset() = 0;
  virtual KxPtr<IConnectionEnum> Clone() = 0;
};

/// A list of subscribed sinks of interface `I`. Thread-safe. Holds no reference to a sink: a sink is embedded in
/// its subscriber and withdraws itself before the subscriber is destroyed.
template <class I>
class IConnectionPoint : public IKxUnknown {
 public:
  /// Returns 1, or 0 when the sink is null or subscribed already.
  virtual int Subscribe(I* sink) = 0;
  /// Returns 1, or 0 when the sink is not subscribed.
  virtual int Unsubscribe(I* sink) = 0;
  virtual int IsSubscribed(I* sink) = 0;
  virtual KxPtr<IConnectionEnum<I>> Enumerate() = 0;
};

template <class I>
class TConnectionPointImpl final : public CKxUnknownImpl<IConnectionPoint<I>> {
 public:
  int Subscribe(I* sink) override {
    const std::lock_guard lock(m_mutex);
    if (!sink || std::find(m_sinks.begin(), m_sinks.end(), sink) != m_sinks.end()) return 0;
    m_sinks.push_back(sink);
    return 1;
  }
  int Unsubscribe(I* sink) override {
    const std::lock_guard lock(m_mutex);
    return std::erase(m_sinks, sink) != 0 ? 1 : 0;
  }
  int IsSubscribed(I* sink) override {
    const std::lock_guard lock(m_mutex);
    return std::find(m_sinks.begin(), m_sinks.end(), sink) != m_sinks.end() ? 1 : 0;
  }
  KxPtr<IConnectionEnum<I>> Enumerate() override {
    const std::lock_guard lock(m_mutex);
    return KxPtr<IConnectionEnum<I>>::adopt(new Enum(KxPtr<TConnectionPointImpl>::share(this), m_sinks));
  }

 private:
  class Enum final : public CKxUnknownImpl<IConnectionEnum<I>> {
   public:
    Enum(KxPtr<TConnectionPointImpl> point, std::vector<I*> sinks)
        : m_point(std::move(point)), m_sinks(std::move(sinks)) {}
    KxPtr<I> Next() override {
      while (m_next < m_sinks.size()) {
        I* sink = m_sinks[m_next++];
        if (m_point->IsSubscribed(sink)) return KxPtr<I>::share(sink);
      }
      return {};
    }
    void Reset() override { m_next = 0; }
    KxPtr<IConnectionEnum<I>> Clone() override {
      auto* copy = new Enum(m_point, m_sinks);
      copy->m_next = m_next;
      return KxPtr<IConnectionEnum<I>>::adopt(copy);
    }

   private:
    KxPtr<TConnectionPointImpl> m_point;
    std::vector<I*> m_sinks;
    std::size_t m_next = 0;
  };

  std::mutex m_mutex;
  std::vector<I*> m_sinks;
};

/// The sink that a subscriber `T` embeds. Derive from it, forward the calls of `I` to `owner()`, and let it
/// remember the connection point that it is subscribed to; it withdraws itself when it is destroyed.
template <class I, class T>
class TSinkImpl : public CKxUnknownImplStatic<I> {
 public:
  explicit TSinkImpl(T* owner) : m_owner(owner) {}
  ~TSinkImpl() override { Unsubscribe(); }
  /// Subscribes to `point`, leaving the one before. Returns what the point returned.
  int Subscribe(IConnectionPoint<I>* point) {
    Unsubscribe();
    if (!point || !point->Subscribe(this)) return 0;
    m_point = KxPtr<IConnectionPoint<I>>::share(point);
    return 1;
  }
  int Unsubscribe() {
    if (!m_point) return 0;
    const int answer = m_point->Unsubscribe(this);
    m_point = nullptr;
    return answer;
  }
  /// Whether it is subscribed somewhere.
  [[nodiscard]] bool isSubscribed() const noexcept { return static_cast<bool>(m_point); }

 protected:
  [[nodiscard]] T* owner() const noexcept { return m_owner; }

 private:
  T* m_owner;
  KxPtr<IConnectionPoint<I>> m_point;
};

}  // namespace quillbay
