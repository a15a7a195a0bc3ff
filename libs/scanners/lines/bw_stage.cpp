#include "scanners/lines/bw_stage.h"

#include <algorithm>

#include "scanners/lines/box_filters.h"
#include "scanners/lines/bw_loops.h"
#include "scanners/lines/detail_filters.h"
#include "scanners/lines/screen_filter.h"

namespace quillbay {

namespace {

constexpr int kScreenLimit = 128;     // of rows that are 0 or 255
constexpr int kEdgesOfCopies = 24;    // sixteenths
constexpr int kEdgesOfAdaptive = 16;  // the same, of a copy that is screened
constexpr int kPhotoContrast = 115;   // per cent: usual paper and solid ink stay free of dots
constexpr int kAdaptiveContrast = 150;

int sharpenWeight(int mode, int sharpness) noexcept {
  return SharpenFilter::weightOf(sharpness) + (mode == 2 ? kEdgesOfCopies : mode == 4 ? kEdgesOfAdaptive : 0);
}

// A tenth of an inch: wider than strokes and lines, narrower than stains and shadows.
std::size_t windowReach(std::uint32_t dpi) noexcept {
  return std::clamp<std::size_t>(dpi / 10, 8, bw_loops::kMostReach);
}

}  // namespace

BwStage::BwStage(int mode, std::size_t width, std::uint32_t dpi, const BwSettings& settings)
    : m_limit(mode == 0 || mode == 2 ? settings.level : kScreenLimit) {
  if (settings.blur > 0) m_filters.add<BlurFilter>(width, std::size_t{1}, static_cast<std::size_t>(settings.blur));
  if (mode == 4) m_filters.add<PaperFilter>(width, windowReach(dpi), dpi, settings.suppression);
  if (const int weight = sharpenWeight(mode, settings.sharpness))
    m_filters.add<SharpenFilter>(width, std::size_t{1}, weight);
  if (mode == 1) m_filters.add<AdaptiveFilter>(width, windowReach(dpi), settings.level, settings.suppression);
  if (mode == 3) m_filters.add<ScreenFilter>(width, settings.level, kPhotoContrast);
  if (mode == 4) m_filters.add<ScreenFilter>(width, settings.level, kAdaptiveContrast);
}

}  // namespace quillbay
