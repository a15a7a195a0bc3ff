#include "stores/stripe_queue.h"

#include <memory>

namespace quillbay {

std::int64_t stripeBytes(IScanBuffer* stripe) {
  KxSize size;
  stripe->GetSize(&size);
  const KxColorSpace colorSpace = stripe->GetColorSpace();
  if (!isRunList(colorSpace))
    return static_cast<std::int64_t>(fixedLineBytes(colorSpace, size.width)) * size.height;
  if (const auto packed = query<IPackedLines>(stripe)) {
    return static_cast<std::int64_t>(packed->GetStride()) * size.height;
  }
  std::int64_t bytes = 0;
  for (std::int32_t i = 0; i < size.height; ++i) {
    const auto* runs = reinterpret_cast<const std::uint32_t*>(stripe->GetLine(i));
    bytes += static_cast<std::int64_t>(runListBytes(runCount(runs)));
  }
  return bytes;
}

void StripeQueue::push(QueuedStripe entry) {
  m_bytes += entry.bytes;
  Node* node = std::make_unique<Node>(Node{nullptr, nullptr, std::move(entry)}).release();
  Node* const next = m_head ? m_head : node;
  Node* const previous = m_tail ? m_tail : node;
  node->next = next;
  node->previous = previous;
  next->previous = node;
  previous->next = node;
  if (!m_head) m_head = node;
  m_tail = node;
  ++m_count;
}

bool StripeQueue::pop(QueuedStripe* out) noexcept {
  if (!m_head) return false;
  const std::unique_ptr<Node> node(m_head);
  if (m_head == m_tail) {
    m_head = m_tail = nullptr;
  } else {
    m_head = node->next;
    m_head->previous = m_tail;
    m_tail->next = m_head;
  }
  --m_count;
  m_bytes -= node->entry.bytes;
  *out = std::move(node->entry);
  return true;
}

void StripeQueue::clear() noexcept {
  QueuedStripe dropped;
  while (pop(&dropped)) dropped = {};
}

}  // namespace quillbay
