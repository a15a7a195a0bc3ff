#include "scanners/sane/sane_capabilities.h"

#include <algorithm>
#include <cmath>

#include "quillbay/geometry.h"

namespace quillbay {

namespace {

constexpr std::int32_t kUsual[] = {50, 75, 100, 150, 200, 300, 400, 600, 800, 1200, 2400};
constexpr double kLowest = 50;
constexpr double kUnknownWidth = 900;

const SaneOption* findOption(const std::vector<SaneOption>& options, std::string_view name) {
  for (const SaneOption& o : options)
    if (o.name == name) return o.isActive() ? &o : nullptr;
  return nullptr;
}

const SaneOption* resolutionOption(const std::vector<SaneOption>& options) {
  const SaneOption* o = findOption(options, "resolution");
  return o ? o : findOption(options, "x-resolution");
}

void findResolutions(const std::vector<SaneOption>& options, SaneCapabilities* c) {
  const SaneOption* o = resolutionOption(options);
  if (o && !o->words.empty()) {
    for (const double word : o->words)
      if (word >= 1) c->resolutions.push_back(static_cast<std::int32_t>(std::lround(word)));
    std::sort(c->resolutions.begin(), c->resolutions.end());
    c->resolutions.erase(std::unique(c->resolutions.begin(), c->resolutions.end()), c->resolutions.end());
    return;
  }
  c->minDpi = o && o->hasRange ? std::max(o->min, 1.0) : 1;
  c->maxDpi = o && o->hasRange ? o->max : 65535;
  const auto first = static_cast<std::int32_t>(std::ceil(c->minDpi));
  if (c->minDpi > kLowest || c->maxDpi < kLowest) c->resolutions.push_back(first);
  for (const std::int32_t dpi : kUsual)
    if (dpi >= c->minDpi && dpi <= c->maxDpi && (c->resolutions.empty() || dpi > c->resolutions.back()))
      c->resolutions.push_back(dpi);
}

// The extent of one axis in mm; 0 when the device does not tell.
double extent(const std::vector<SaneOption>& options, const char* br, const char* page) {
  const SaneOption* o = findOption(options, br);
  if (!o || !o->hasRange) return 0;
  const SaneOption* p = findOption(options, page);
  if (o->unit == SANE_UNIT_PIXEL) {
    const SaneOption* dpi = resolutionOption(options);
    return dpi && dpi->number() > 0 ? o->max * kMmPerInch / dpi->number() : 0;
  }
  return p && p->hasRange && p->isSettable() ? std::max(o->max, p->max) : o->max;
}

}  // namespace

bool SaneCapabilities::offers(int mode) const noexcept {
  if (mode < 0 || mode > 7) return false;
  if (modes.any || !modes.colour.empty()) return true;
  if (mode <= 4) return true;
  return mode == 5 && !modes.grey.empty();
}

bool SaneCapabilities::allowsDpi(int dpi) const noexcept {
  if (maxDpi > 0) return dpi >= minDpi && dpi <= maxDpi;
  return std::find(resolutions.begin(), resolutions.end(), dpi) != resolutions.end();
}

SaneCapabilities findCapabilities(const std::vector<SaneOption>& options) {
  SaneCapabilities c;
  c.options = options;
  c.modes = modeNames(findOption(options, "mode"));
  c.sources = SaneSources(options);
  findResolutions(options, &c);
  const double width = extent(options, "br-x", "page-width");
  c.maxWidth = width > 0 ? width : kUnknownWidth;
  c.maxLength = extent(options, "br-y", "page-height");
  return c;
}

}  // namespace quillbay
