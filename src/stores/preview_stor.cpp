#include "stores/preview_stor.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <string>
#include <utility>

#include "params/shared_scan_params.h"
#include "platform/base_services.h"
#include "platform/log_category.h"
#include "stores/extent.h"

namespace quillbay {
namespace {

constexpr std::int32_t kLeastScreen = 320;
/// Screens that the picture of a stripe may be wide, should it be wider than the page's first one.
constexpr std::int32_t kMostScreens = 4;
/// Stripes that make no more reduced lines than this wait for others.
constexpr double kWaitingLines = 8.0, kSlack = 0.001;
constexpr std::int64_t kLeastRoom = std::int64_t{8} << 20;
constexpr int kMostHalvings = 30;
constexpr double kMostLines = std::numeric_limits<std::int32_t>::max();

std::int32_t rounded(double v) { return roundHalfUp(std::min(v, kMostLines - 1)); }

}  // namespace

ColorClass pictureClassOf(std::int32_t mode) noexcept {
  switch (mode) {
    case kModeGrey: return kClassGrey;
    case kModePalette: return kClassPalette;
    case kModeRgb: return kClassColor;
    default: return kClassBitonal;
  }
}

KxPtr<CPreviewStor> newPreviewStor(std::int32_t screenWidth, CSharedScanParams& params) {
  return KxPtr<CPreviewStor>::adopt(
      new CPreviewStor(screenWidth, [&params](std::shared_ptr<const Picture> picture) {
        const auto colorClass = static_cast<std::size_t>(pictureClassOf(params.values().currMode));
        params.pictures[colorClass] = std::move(picture);
      }));
}

CPreviewStor::CPreviewStor(std::int32_t screenWidth, Joined joined)
    : m_screenWidth(std::max(screenWidth, kLeastScreen)), m_joined(std::move(joined)) {}

int CPreviewStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor>(this, wanted, out);
}

CPreviewStor::State CPreviewStor::state() const {
  const std::lock_guard lock(m_lock);
  return m_state;
}

int CPreviewStor::AddStripe(IScanBuffer* stripe) {
  if (!stripe) return 0;
  KxSize size;
  stripe->GetSize(&size);
  if (size.width <= 0 || size.height <= 0) return 1;
  const std::lock_guard feed(m_feed);
  if (m_state.dpi < 0) start(*stripe, size.width);
  if (!StripeReducer::canReduce(stripe->GetColorSpace())) return 1;
  if (!m_pending.empty() && !belongs(*stripe, size.width)) flush();
  m_pending.push_back(KxPtr<IScanBuffer>::share(stripe));
  m_pendingLines += size.height;
  if (static_cast<double>(m_pendingLines) * m_state.scale - kSlack > kWaitingLines) flush();
  return 1;
}

void CPreviewStor::start(IScanBuffer& stripe, std::int32_t width) {
  const std::lock_guard lock(m_lock);
  m_state.scale = static_cast<double>(m_screenWidth) / width;
  m_state.width = static_cast<std::int32_t>(width * m_state.scale);
  m_state.scanWidth = width;
  m_state.dpi = static_cast<std::int32_t>(std::max(stripe.GetResolution(), 1U));
}

/// Whether a stripe is like those that wait: only such make one picture.
bool CPreviewStor::belongs(IScanBuffer& stripe, std::int32_t width) const {
  KxSize size;
  m_pending.front()->GetSize(&size);
  return size.width == width && m_pending.front()->GetColorSpace() == stripe.GetColorSpace();
}

/// Makes a picture of what waits. A picture that cannot be made is missing on the screen; the scan goes on.
void CPreviewStor::flush() {
  const Stripes stripes = std::exchange(m_pending, {});
  const std::int64_t lines = std::exchange(m_pendingLines, 0);
  if (stripes.empty()) return;
  try {
    reduce(stripes, lines);
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, kStoreLog,
            std::string("lines of a scan are missing in its picture on the screen: ") + e.what());
  }
}

void CPreviewStor::reduce(const Stripes& stripes, std::int64_t lines) {
  KxSize size;
  stripes.front()->GetSize(&size);
  const double height = static_cast<double>(lines) * m_state.scale;
  const std::int32_t width = std::clamp(rounded(size.width * m_state.scale), 1, kMostScreens * m_screenWidth);
  const std::int32_t rows = std::max(1, rounded(height));
  makeRoom(width, rows);
  auto part = std::make_shared<PicturePart>();
  part->isInk = isRunList(stripes.front()->GetColorSpace());
  if (m_state.height >= kMostLines - 1 ||
      !m_reducer.reduce(stripes, {width, std::max(1, rows >> m_state.halvings)}, &part->picture)) {
    logLine(LogLevel::Warning, kStoreLog, "a scan is too large for a picture on the screen");
    return;
  }
  const std::lock_guard lock(m_lock);
  part->top = m_state.height;
  m_state.height = static_cast<std::int32_t>(std::min(height + m_state.height, kMostLines - 1));
  // What waited to the end may make less than a line.
  if (m_state.height <= part->top) m_state.height = static_cast<std::int32_t>(part->top) + 1;
  part->bottom = m_state.height;
  m_state.scanLines += lines;
  m_state.pixels += std::int64_t{part->picture.width} * part->picture.height;
  m_state.parts.push_back(std::move(part));
}

/// Halves the height of the pictures as often as it takes to have room for `rows` more reduced lines. A picture of
/// a stripe has a line at least, more than its share once pictures were halved often: without such a need those
/// that came since the last time become one, which gets their share.
void CPreviewStor::makeRoom(std::int32_t width, std::int32_t rows) {
  const std::int64_t most = std::max(kLeastRoom, std::int64_t{2} * m_screenWidth * m_screenWidth);
  if (m_state.pixels + std::int64_t{width} * (rows >> m_state.halvings) <= most) return;
  for (const auto& part : m_state.parts) width = std::max(width, part->picture.width);
  const std::int64_t all = std::int64_t{m_state.height} + rows;
  int halvings = m_state.halvings;
  while (halvings < kMostHalvings && width * (all >> halvings) > most / 4 * 3) ++halvings;
  PictureParts parts;
  if (halvings == m_state.halvings) parts.assign(m_state.parts.begin(), m_state.parts.begin() + m_state.settled);
  const auto first = m_state.parts.begin() + static_cast<std::ptrdiff_t>(parts.size());
  if (first != m_state.parts.end()) {
    const double lines = m_state.height - (*first)->top;
    const auto share = static_cast<std::int32_t>(std::ldexp(lines, -halvings));
    parts.push_back(mergeParts({first, m_state.parts.end()}, std::max(1, share)));
  }
  const std::lock_guard lock(m_lock);
  m_state.halvings = halvings;
  m_state.settled = static_cast<std::ptrdiff_t>(parts.size());
  m_state.pixels = 0;
  for (const auto& part : parts) m_state.pixels += std::int64_t{part->picture.width} * part->picture.height;
  m_state.parts.swap(parts);  // which are released without the lock
}

void CPreviewStor::Reset() {
  State done;
  {
    const std::lock_guard feed(m_feed);
    flush();
    const std::lock_guard lock(m_lock);
    done = std::exchange(m_state, {});
  }
  if (done.parts.empty() || !m_joined) return;
  try {
    m_joined(std::make_shared<const Picture>(joinParts(done.parts)));
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, kStoreLog, std::string("the picture of a scan was not kept: ") + e.what());
  }
}

int CPreviewStor::Finish(IRStor** /*out*/, int /*minLines*/, int release) {
  if (release != 0) {
    Reset();
    return 1;
  }
  const std::lock_guard feed(m_feed);
  flush();
  return 1;
}

void CPreviewStor::Paint(IRasterDC* target, const CRDirectTfm* tfm) {
  if (target && tfm) paintParts(state().parts, *target, *tfm);
}

void CPreviewStor::PaintScan(IRasterDC* target, const CRDirectTfm& tfm) {
  const State now = state();
  if (!target || now.parts.empty()) return;
  const double pixels = static_cast<double>(now.scanWidth) / now.parts.front()->picture.width;
  const double lines = static_cast<double>(now.scanLines) / now.height;
  paintParts(now.parts, *target, {tfm.scaleX * pixels, tfm.scaleY * lines, tfm.offsetX, tfm.offsetY});
}

void CPreviewStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_lock);
  putExtent(m_state.width, m_state.height, rect);
}

void CPreviewStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_lock);
  if (m_state.parts.empty()) {
    std::fill_n(rect, 4, 0.0);
  } else {
    putExtentMM(m_state.width, m_state.height, static_cast<std::uint32_t>(m_state.dpi), rect);
  }
}

bool CPreviewStor::IsEmpty() {
  const std::lock_guard lock(m_lock);
  return m_state.parts.empty();
}

}  // namespace quillbay
