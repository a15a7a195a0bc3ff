#include "destinations/disk_space.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"

namespace quillbay {

namespace {
/// Whole pixels of a length; what is a whole number but for the rounding of a double stays it.
double pixelsOf(double mm, double dpi) noexcept { return std::ceil(mmToPixels(mm, dpi) - 1e-6); }
}  // namespace

std::int64_t expectedBytes(const ScanValues& values) noexcept {
  const bool fragment = values.customScanValid != 0;
  const bool open = values.scanType == kAreaAutoWidth || values.scanType == kAreaFixedWidth;
  if (open && !fragment) return -1;
  const tagRRECT& area = fragment ? values.rcCustomScan : values.rcScan;
  const double widened = fragment ? area.width() : area.width() * (1 + values.addWidthPercent * 0.01);
  const double pixels = pixelsOf(std::min(widened, values.bedWidth), values.dpi);
  const double lines = pixelsOf(area.height(), values.dpi);
  if (!(pixels > 0) || !(lines > 0)) return 0;
  const double bytes = std::ceil(pixels * bitsPerPixel(values.colorSpace) / 8) * lines;
  return bytes < 9e18 ? static_cast<std::int64_t>(bytes) : INT64_MAX;
}

std::string byteText(std::int64_t bytes) {
  static constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB", "TB"};
  if (bytes < 1000) return toText(bytes) + ' ' + kUnits[0];
  auto scaled = static_cast<double>(bytes);
  std::size_t unit = 0;
  for (; scaled >= 999.95 && unit + 1 < std::size(kUnits); ++unit) scaled /= 1000;
  return toText(std::round(scaled * 10) / 10) + ' ' + kUnits[unit];
}

SpaceVerdict judgeSpace(const std::string& folder, std::int64_t available, std::int64_t expected) {
  if (available < 0) return {};
  if (available < kLeastFreeBytes)
    return {SpaceVerdict::Full,
            formatText(Supp_Translate("Only %s are free in %s. Make room or choose another folder."),
                       {byteText(available), folder})};
  if (expected > available)
    return {
        SpaceVerdict::Tight,
        formatText(Supp_Translate("The page may need up to %s, and %s are free in %s. When the space runs out, the "
                                  "page is lost."),
                   {byteText(expected), byteText(available), folder})};
  return {};
}

}  // namespace quillbay
