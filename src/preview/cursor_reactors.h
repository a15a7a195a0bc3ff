#pragma once
#include <vector>

#include "platform/ruler.h"
#include "quillbay/connection_point.h"

namespace quillbay {

/// Enumerates what an array of counted objects held when the enumerator was made.
template <class I>
class CTIArrayEnum final : public CKxUnknownImpl<IConnectionEnum<I>> {
 public:
  explicit CTIArrayEnum(std::vector<KxPtr<I>> items) : m_items(std::move(items)) {}
  KxPtr<I> Next() override { return m_next < m_items.size() ? m_items[m_next++] : KxPtr<I>(); }
  void Reset() override { m_next = 0; }
  KxPtr<IConnectionEnum<I>> Clone() override {
    auto* copy = new CTIArrayEnum(m_items);
    copy->m_next = m_next;
    return KxPtr<IConnectionEnum<I>>::adopt(copy);
  }

 private:
  const std::vector<KxPtr<I>> m_items;
  std::size_t m_next = 0;
};

/// The cursor reactors of a window that embeds it. User-interface thread only.
class CSetCursorRector final : public CKxUnknownImplStatic<ISetReactor> {
 public:
  /// Keeps a reference. Returns 1; 0 when it is no `ICursorReactor` or is there already.
  int AddReactor(IKxUnknown* reactor) override;
  int RemoveReactor(IKxUnknown* reactor) override;
  /// The reactors that are there now, in the order in which they were added.
  [[nodiscard]] KxPtr<IConnectionEnum<ICursorReactor>> Enumerate() const;
  /// Tells all of them.
  void setCursor(bool on);

 private:
  [[nodiscard]] std::vector<KxPtr<ICursorReactor>>::iterator find(IKxUnknown* reactor);
  std::vector<KxPtr<ICursorReactor>> m_reactors;
};

}  // namespace quillbay
