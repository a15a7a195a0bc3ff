#pragma once
#include <cstddef>
#include <cstdint>

#include "quillbay/scan_buffer.h"

namespace quillbay {

/// A stripe on its way, and what it counts for.
struct QueuedStripe {
  KxPtr<IScanBuffer> stripe;
  std::int32_t lines = 0;  ///< lines that it contributes
  std::int64_t bytes = 0;  ///< memory that its lines occupy
};

/// Bytes that the lines of a stripe occupy.
[[nodiscard]] std::int64_t stripeBytes(IScanBuffer* stripe);

/// First in, first out: a circular doubly linked list of stripes, each with a reference. Locks nothing.
class StripeQueue {
 public:
  StripeQueue() = default;
  StripeQueue(const StripeQueue&) = delete;
  StripeQueue& operator=(const StripeQueue&) = delete;
  ~StripeQueue() { clear(); }

  void push(QueuedStripe entry);
  /// Takes the first one; false when there is none.
  [[nodiscard]] bool pop(QueuedStripe* out) noexcept;
  /// Releases every stripe.
  void clear() noexcept;
  [[nodiscard]] std::size_t count() const noexcept { return m_count; }
  [[nodiscard]] std::int64_t bytes() const noexcept { return m_bytes; }

 private:
  struct Node {
    Node* next;
    Node* previous;
    QueuedStripe entry;
  };
  // Invariant: head->previous is tail and tail->next is head; both null when empty.
  Node* m_head = nullptr;
  Node* m_tail = nullptr;
  std::size_t m_count = 0;
  std::int64_t m_bytes = 0;
};

}  // namespace quillbay
