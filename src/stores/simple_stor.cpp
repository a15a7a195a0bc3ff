#include "stores/simple_stor.h"

#include <algorithm>
#include <exception>

#include "platform/base_services.h"
#include "platform/log_category.h"
#include "stores/empty_progress.h"
#include "stores/extent.h"

namespace quillbay {

namespace {

constexpr std::int32_t kLeastGrowth = 8;

}  // namespace

KxPtr<ISStripStor> makeEmptyStore() { return KxPtr<ISStripStor>::adopt(new CSimpleStor); }

int CSimpleStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor, IStoreOutcome>(this, wanted, out);
}

int CSimpleStor::AddStripe(IScanBuffer* stripe) {
  const std::lock_guard lock(m_lock);
  if (!stripe || !m_error.empty()) return 0;
  try {
    store(stripe);
    return 1;
  } catch (const std::exception& e) {
    m_error = e.what();
    logLine(LogLevel::Error, kStoreLog, m_error);
    return 0;
  }
}

void CSimpleStor::store(IScanBuffer* stripe) {
  KxSize size;
  stripe->GetSize(&size);
  if (!m_raster) {
    if (stripe->CreateRaster(m_raster.put()) == 0 || !m_raster) return refuse();
    m_dpi = std::max(m_raster->GetResolution(), 1U);
    m_size = size;
    return;
  }
  // Behind padding, if there was any.
  if (stripe->AddToRaster(m_raster->GetHeight(), m_raster.get()) == 0) return refuse();
  m_size.height += size.height;
}

void CSimpleStor::refuse() {
  m_error = Supp_Translate("Lines that the scanner delivered could not be stored. Scan the page again.");
  logLine(LogLevel::Error, kStoreLog, m_error);
}

int CSimpleStor::Finish(IRStor** out, int minLines, int release) {
  const std::lock_guard lock(m_lock);
  if (out && m_raster) {
    if (minLines > m_raster->GetHeight()) grow(minLines);
    *out = KxPtr<IRStor>(m_raster).detach();
  }
  const bool good = m_error.empty();
  if (release != 0) drop();
  return good ? 1 : 0;
}

void CSimpleStor::grow(int minLines) {
  const std::int32_t height = m_raster->GetHeight();
  try {
    const auto growing = m_raster.as<IRStorAddStripe>();
    if (!growing || growing->AddLines(0, height, std::max(minLines - height, kLeastGrowth)) == 0)
      logLine(LogLevel::Warning, kStoreLog, "the page is shorter than asked for: its raster does not grow");
  } catch (const std::exception& e) {
    m_error = e.what();
    logLine(LogLevel::Error, kStoreLog, m_error);
  }
}

void CSimpleStor::drop() noexcept {
  m_raster = nullptr;
  m_size = {};
}

void CSimpleStor::Reset() {
  const std::lock_guard lock(m_lock);
  drop();
  m_error.clear();
}

void CSimpleStor::Paint(IRasterDC* target, const CRDirectTfm* tfm) {
  const std::lock_guard lock(m_lock);
  if (!target || !tfm || !m_raster) return;
  // Nothing to draw when the picture lies outside of what is wanted.
  const tagRRECT place = tfm->map({0, 0, static_cast<double>(m_size.width), static_cast<double>(m_size.height)});
  const KxRect clip = target->GetClip();
  if (place.right <= clip.left || place.left >= clip.right || place.bottom <= clip.top || place.top >= clip.bottom)
    return;
  const auto drawing = KxPtr<IRStorDraw>::adopt(m_raster->GetDrawing());
  if (!drawing) return;
  const auto progress = KxPtr<IProgress>::adopt(new KxEmptyProgress);
  drawing->Draw(target, *tfm, progress.get());
}

void CSimpleStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtent(m_size.width, m_size.height, rect);
}

void CSimpleStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtentMM(m_size.width, m_size.height, m_dpi, rect);
}

bool CSimpleStor::IsEmpty() {
  const std::lock_guard lock(m_lock);
  return !m_raster && m_error.empty();
}

std::string CSimpleStor::GetError() {
  const std::lock_guard lock(m_lock);
  return m_error;
}

std::int64_t CSimpleStor::GetLines() {
  const std::lock_guard lock(m_lock);
  return m_size.height;
}

void CSimpleStor::BeginFinish(int /*minLines*/, void (*done)(void*), void* context) {
  // Nothing runs behind this store: the page is as complete as it will be before `Finish` pads it.
  if (done) done(context);
}

}  // namespace quillbay
