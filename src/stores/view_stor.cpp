#include "stores/view_stor.h"

#include <algorithm>
#include <utility>

#include "stores/extent.h"
#include "stores/simple_stor.h"

namespace quillbay {

CViewStor::CViewStor(Raster raster, KxPtr<CPreviewStor> picture, ISStripStor* destination)
    : m_kind(raster), m_picture(std::move(picture)) {
  if (raster == Raster::Own) m_pages = makeEmptyStore();
  if (raster == Raster::Shared) m_pages = KxPtr<ISStripStor>::share(destination);
}

int CViewStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor>(this, wanted, out);
}

KxPtr<ISStripStor> CViewStor::pages() const {
  const std::lock_guard lock(m_lock);
  return m_pages;
}

int CViewStor::AddStripe(IScanBuffer* stripe) {
  if (!stripe) return 0;
  if (m_kind == Raster::Own && pages()->AddStripe(stripe) == 0) return 0;
  if (m_picture) m_picture->AddStripe(stripe);
  KxSize size;
  stripe->GetSize(&size);
  const std::lock_guard lock(m_lock);
  m_size = {size.width, m_size.height + size.height};
  m_dpi = std::max(stripe->GetResolution(), 1U);
  return 1;
}

void CViewStor::Reset() {
  KxPtr<ISStripStor> own;
  {
    const std::lock_guard lock(m_lock);
    m_size = {};
    // The destination goes its own way: its next page is not this one.
    if (m_kind == Raster::Shared) m_pages = nullptr;
    own = m_pages;
  }
  if (own) own->Reset();
  if (m_picture) m_picture->Reset();
}

int CViewStor::Finish(IRStor** out, int minLines, int release) {
  if (!out && release == 0) return m_picture ? m_picture->Finish(nullptr, 0, 0) : 1;
  const bool own = m_kind == Raster::Own;
  const auto from = pages();
  const int answer = from ? from->Finish(out, own ? minLines : 0, own ? release : 0) : 1;
  if (release != 0) Reset();
  return answer;
}

void CViewStor::Paint(IRasterDC* target, const CRDirectTfm* tfm) {
  if (m_picture && tfm) m_picture->PaintScan(target, *tfm);
}

void CViewStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtent(m_size.width, m_size.height, rect);
}

void CViewStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtentMM(m_size.width, m_size.height, m_dpi, rect);
}

bool CViewStor::IsEmpty() {
  const std::lock_guard lock(m_lock);
  return m_size.height == 0;
}

}  // namespace quillbay
