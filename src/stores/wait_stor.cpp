#include "stores/wait_stor.h"

#include <algorithm>

namespace quillbay {

namespace {

template <class Reader>
IAccessContext* handOut(Reader& reader) {
  reader.cursor().hold();
  reader.AddRef();
  return &reader;
}

}  // namespace

CWaitStor::CWaitStor(StripeFeed* feed) : m_feed(feed) {}

bool CWaitStor::WaitForNextStripe() {
  QueuedStripe next;
  for (;;) {
    if (m_feed->gate) m_feed->gate();
    {
      const std::lock_guard lock(m_feed->lock);
      if (m_feed->abandoned) return false;
      if (m_feed->queue.pop(&next)) break;
      if (m_feed->finished) return false;
    }
    Event::waitAny({&m_feed->queued, &m_feed->finish});
  }
  m_feed->taken.set();

  KxSize size;
  next.stripe->GetSize(&size);
  m_width = size.width;
  m_colorSpace = next.stripe->GetColorSpace();
  m_dpi = next.stripe->GetResolution();
  m_colorCount = std::clamp(next.stripe->GetColorCount(), 0, 256);
  if (m_colorCount > 0) std::copy_n(next.stripe->GetPalette(), m_colorCount, m_palette.begin());
  m_linesInStripe = next.lines;
  m_delivered += next.lines;
  m_current = std::move(next.stripe);
  m_handedOut = false;
  return true;
}

void CWaitStor::dropStripes() noexcept {
  m_rgb.cursor().drop();
  m_pal.cursor().drop();
  m_ars.dropAll();
  m_current = nullptr;
  m_handedOut = false;
  m_linesInStripe = 0;
  m_delivered = 0;
}

IAccessContext* CWaitStor::GetAccessContext(int /*mode*/, int /*type*/) {
  if (!m_current) return nullptr;
  switch (m_colorSpace) {
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return handOut(m_rgb);
    case KxColorSpace::Palette:
    case KxColorSpace::Grey: return handOut(m_pal);
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle: return handOut(m_ars);
    default: return nullptr;
  }
}

int CWaitStor::NextStripe(IScanBuffer** out, std::int32_t* lines) {
  if (!m_current || m_handedOut) {
    // What was handed out before is its reader's own now: it must not stay in memory while this waits.
    m_rgb.cursor().drop();
    m_pal.cursor().drop();
    m_ars.dropAll();
    m_current = nullptr;
    if (!WaitForNextStripe()) return 0;
  }
  m_handedOut = true;
  *lines = m_linesInStripe;
  *out = KxPtr<IScanBuffer>(m_current).detach();
  return 1;
}

int CWaitStor::WasAbandoned() {
  const std::lock_guard lock(m_feed->lock);
  return m_feed->abandoned ? 1 : 0;
}

}  // namespace quillbay
