#include "analysis/auto_detector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "analysis/second_look.h"
#include "analysis/sheet_edges.h"
#include "analysis/sheet_model.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr int kStepOfStripe = 10;
/// Around found bounds, how far a sheet's edges are looked for; at least so many pixels.
constexpr double kReachMm = 4.5, kLeastReach = 8;

tagRRECT toMm(const KxRect& pixels, std::uint32_t dpi) noexcept {
  const double mm = kMmPerInch / dpi;
  return {pixels.left * mm, pixels.top * mm, pixels.right * mm, pixels.bottom * mm};
}

}  // namespace

CAutoDetector::CAutoDetector(KxPtr<IBoundDetect> detector, std::int64_t mostKept)
    : m_detector(std::move(detector)), m_mostKept(mostKept) {}

void CAutoDetector::begin(std::uint32_t dpi, IProgress* progress, std::optional<BoundSettings> rollSettings) {
  release();
  m_rollSettings = rollSettings;
  m_dpi = dpi;
  m_finished.exchange(0);
  m_result = 0;
  m_bounds[0] = std::numeric_limits<std::int32_t>::max();
  m_bounds[2] = std::numeric_limits<std::int32_t>::min();
  m_bounds[1] = m_bounds[3] = 0;
  m_progress = KxPtr<IProgress>::share(progress);
  m_position = 0;
}

void CAutoDetector::release() {
  m_detector->Reset();
  m_kept = {};
  m_isKept = true;
  m_roll.reset();
  m_progress = nullptr;
}

int CAutoDetector::onEnded() {
  m_finished.exchange(1);
  return 1;
}

int CAutoDetector::onStarted() {
  m_kept = {};
  m_isKept = true;
  m_roll.reset();
  m_detector->Reset();
  return 1;
}

int CAutoDetector::onStripe(IScanBuffer* stripe) {
  m_position += kStepOfStripe;
  if (m_progress) m_progress->SetPosition(m_position);
  if (m_roll) {
    m_roll->add(stripe);
  } else {
    m_detector->AddStripe(stripe);
    keep(stripe);
  }
  m_dpi = stripe->GetResolution();
  return 1;
}

void CAutoDetector::keep(IScanBuffer* stripe) {
  if (!m_isKept) return;
  m_isKept = m_kept.add(stripe);
  const KxSize size = m_kept.size();
  if (std::int64_t{size.width} * size.height > m_mostKept) m_isKept = false;
  if (m_isKept) return;
  BoundStripes beginning = std::exchange(m_kept, {});
  if (!m_rollSettings || beginning.isEmpty()) return;
  m_roll.emplace(std::move(beginning), *m_rollSettings);
  m_detector->Reset();
}

/// By bound detection alone.
std::optional<KxRect> CAutoDetector::bounds(const BoundServices* services, double* angle) {
  if (m_roll) {
    const auto found = m_roll->detect(services ? *services : panelBoundServices(), angle);
    m_result = found ? 1 : 0;
    return found;
  }
  std::int32_t height = 0;
  m_result = m_detector->Detect(m_bounds, angle, &height);
  if (!m_result) return std::nullopt;
  return KxRect{m_bounds[0], m_bounds[1], m_bounds[2], m_bounds[3]};
}

std::optional<FoundBounds> CAutoDetector::detect(const BoundServices* services, bool wantsAngle) {
  double angle = 0;
  const auto first = bounds(services, &angle);
  const BoundStripes kept = std::exchange(m_kept, {});
  release();
  if (m_dpi == 0) return std::nullopt;
  const bool looksAgain = services && !kept.isEmpty();
  const auto again =
      looksAgain ? lookAgain(kept, *services, wantsAngle && angle == 0) : std::optional<SecondLook>{};
  if (first && !(again && isLess(*first, again->bounds))) {
    FoundBounds found{toMm(*first, m_dpi), angle, false};
    // The same edges, told more closely: the size of a paper is recognised.
    if (again && isNearer(*first, again->bounds)) found.box = toMm(again->bounds, m_dpi);
    return looksAgain ? fitted(kept, *first, found) : found;
  }
  if (!again) return std::nullopt;
  logLine(LogLevel::Info, "quillbay.analysis", "the document was found at a second look");
  return fitted(kept, again->bounds, {toMm(again->bounds, m_dpi), angle == 0 ? again->angle : angle, true});
}

/// A page that is straightened is cut at the sheet's own edges: bounds, which lie outside of them, are not enough.
FoundBounds CAutoDetector::fitted(const BoundStripes& kept, const KxRect& bounds, FoundBounds found) const {
  if (std::abs(found.angle) <= kLeastSkew) return found;
  const auto sheet = fitSheet(kept, bounds, found.angle, std::max(kLeastReach, mmToPixels(kReachMm, m_dpi)));
  if (!sheet) return found;
  const tagRRECT box = boxAround(*sheet);
  const double mm = kMmPerInch / m_dpi;
  found.box = {box.left * mm, box.top * mm, box.right * mm, box.bottom * mm};
  return found;
}

}  // namespace quillbay
