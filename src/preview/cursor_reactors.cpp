#include "preview/cursor_reactors.h"

#include <algorithm>

namespace quillbay {

std::vector<KxPtr<ICursorReactor>>::iterator CSetCursorRector::find(IKxUnknown* reactor) {
  const auto wanted = query<ICursorReactor>(reactor);
  return std::find_if(m_reactors.begin(), m_reactors.end(),
                      [&](const auto& r) { return wanted && r.get() == wanted.get(); });
}

int CSetCursorRector::AddReactor(IKxUnknown* reactor) {
  auto added = query<ICursorReactor>(reactor);
  if (!added || find(reactor) != m_reactors.end()) return 0;
  m_reactors.push_back(std::move(added));
  return 1;
}

int CSetCursorRector::RemoveReactor(IKxUnknown* reactor) {
  const auto at = find(reactor);
  if (at == m_reactors.end()) return 0;
  m_reactors.erase(at);
  return 1;
}

KxPtr<IConnectionEnum<ICursorReactor>> CSetCursorRector::Enumerate() const {
  return KxPtr<IConnectionEnum<ICursorReactor>>::adopt(new CTIArrayEnum<ICursorReactor>(m_reactors));
}

void CSetCursorRector::setCursor(bool on) {
  const auto all = Enumerate();
  while (const auto reactor = all->Next()) reactor->SetCursor(on ? 1 : 0);
}

}  // namespace quillbay
