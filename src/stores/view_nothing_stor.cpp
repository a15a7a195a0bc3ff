#include "stores/view_nothing_stor.h"

#include <algorithm>

#include "stores/extent.h"

namespace quillbay {

int CUnseenStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor>(this, wanted, out);
}

int CUnseenStor::AddStripe(IScanBuffer* stripe) {
  if (!stripe) return 0;
  KxSize size;
  stripe->GetSize(&size);
  const std::lock_guard lock(m_lock);
  m_size = {size.width, m_size.height + size.height};
  m_dpi = std::max(stripe->GetResolution(), 1U);
  return 1;
}

void CUnseenStor::Reset() {
  const std::lock_guard lock(m_lock);
  m_size = {};
}

int CUnseenStor::Finish(IRStor** /*out*/, int /*minLines*/, int release) {
  if (release != 0) Reset();
  return 1;
}

void CUnseenStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtent(m_size.width, m_size.height, rect);
}

void CUnseenStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtentMM(m_size.width, m_size.height, m_dpi, rect);
}

bool CUnseenStor::IsEmpty() {
  const std::lock_guard lock(m_lock);
  return m_size.height == 0;
}

}  // namespace quillbay
