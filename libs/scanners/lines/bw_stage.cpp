#include "scanners/lines/bw_stage.h"

#include <algorithm>

#include "scanners/lines/bw_loops.h"
#include "scanners/lines/screen_filter.h"

namespace quillbay {

namespace {

constexpr int kScreenLimit = 128;     // of rows that are 0 or 255
constexpr int kEdgesOfCopies = 24;    // sixteenths
constexpr int kEdgesOfAdaptive = 16;  // the same, of a copy that is screened
constexpr int kPhotoContrast = 115;   // per cent: usual paper and solid ink stay free of dots
constexpr int kAdaptiveContrast = 150;

int sharpenWeight(int mode, int sharpness) noexcept {
  const int wanted = sharpness < 0 ? 2 * sharpness : 8 * sharpness;
  return wanted + (mode == 2 ? kEdgesOfCopies : mode == 4 ? kEdgesOfAdaptive : 0);
}

// A tenth of an inch: wider than strokes and lines, narrower than stains and shadows.
std::size_t windowReach(std::uint32_t dpi) noexcept {
  return std::clamp<std::size_t>(dpi / 10, 8, bw_loops::kMostReach);
}

}  // namespace

template <class Filter, class... Args>
void BwStage::add(Args... args) {
  m_filters.push_back(std::make_unique<Filter>(args...));
}

BwStage::BwStage(int mode, std::size_t width, std::uint32_t dpi, const BwSettings& settings)
    : m_limit(mode == 0 || mode == 2 ? settings.level : kScreenLimit) {
  if (settings.blur > 0) add<BlurFilter>(width, static_cast<std::size_t>(settings.blur));
  if (mode == 4) add<PaperFilter>(width, windowReach(dpi), dpi, settings.suppression);
  if (const int weight = sharpenWeight(mode, settings.sharpness)) add<SharpenFilter>(width, weight);
  if (mode == 1) add<AdaptiveFilter>(width, windowReach(dpi), settings.level, settings.suppression);
  if (mode == 3) add<ScreenFilter>(width, settings.level, kPhotoContrast);
  if (mode == 4) add<ScreenFilter>(width, settings.level, kAdaptiveContrast);
}

const std::uint8_t* BwStage::pushInto(std::size_t index, const std::uint8_t* row) {
  for (; row && index < m_filters.size(); ++index) row = m_filters[index]->push(row);
  return row;
}

const std::uint8_t* BwStage::drain() {
  for (std::size_t i = 0; i < m_filters.size(); ++i)
    while (const std::uint8_t* row = m_filters[i]->drain())
      if (const std::uint8_t* made = pushInto(i + 1, row)) return made;
  return nullptr;
}

}  // namespace quillbay
