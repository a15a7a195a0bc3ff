#include "view/zoom_history.h"

namespace quillbay {

void ZoomHistory::remember(const CRTfm& now) {
  m_forward.clear();
  if (!m_back.empty() && m_back.back() == now) return;
  if (m_back.size() == kMost) m_back.erase(m_back.begin());
  m_back.push_back(now);
}

void ZoomHistory::move(List& source, List& target, const CRTfm& from) {
  if (source.empty()) return;
  source.pop_back();
  target.push_back(from);
}

}  // namespace quillbay
