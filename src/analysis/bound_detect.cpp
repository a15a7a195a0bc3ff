#include "analysis/bound_detect.h"

#include <cmath>
#include <exception>
#include <memory>
#include <utility>

#include "analysis/bound_skew.h"
#include "analysis/sheet_model.h"
#include "platform/base_services.h"

namespace quillbay {

std::vector<RowExtent> extentsOf(const BoundStripes& stripes, std::int32_t threshold) {
  const KxSize size = stripes.size();
  std::vector<RowExtent> extents(static_cast<std::size_t>(size.height));
  if (size.height < 3 || size.width <= 0) return extents;
  const auto width = static_cast<std::size_t>(size.width);
  const auto room = std::make_unique<std::uint8_t[]>(2 * width);
  std::uint8_t* const rooms[] = {room.get(), room.get() + width};
  RowExtentFinder finder(size.width, threshold);
  finder.begin(stripes.row(0, rooms[0]));
  const std::uint8_t* current = stripes.row(1, rooms[1]);
  for (std::int32_t y = 2; y < size.height; ++y) {
    const std::uint8_t* next = stripes.row(y, rooms[y % 2]);
    extents[static_cast<std::size_t>(y) - 1] = finder.extentOf(current, next);
    current = next;
  }
  return extents;
}

namespace {

// Null where none can be made.
KxPtr<IRStor> bitonalOf(const BoundStripes& stripes, const BoundServices& services) {
  try {
    if (stripes.isGrey()) return services.binarize(readStripes(stripes).get(), nullptr);
    auto raster = services.newRaster(KxColorSpace::Bitonal, stripes.size().width, 0, stripes.resolution());
    return raster && stripes.copyTo(raster.get()) ? raster : KxPtr<IRStor>{};
  } catch (const std::exception& e) {
    logLine(LogLevel::Warning, "quillbay.analysis", std::string("no angle can be found: ") + e.what());
    return {};
  }
}

}  // namespace

double skewOf(const BoundStripes& stripes, const std::vector<RowExtent>& extents, const BoundServices& services) {
  const auto bitonal = bitonalOf(stripes, services);
  if (!bitonal) return 0;
  const double angle = services.serviceAngle(bitonal.get());
  return std::abs(angle) > kLeastSkew ? angle : searchSkew(extents);
}

std::optional<KxRect> boundsOf(const std::vector<RowExtent>& extents, const BoundStripes& stripes,
                               const BoundSettings& settings, const BoundServices& services, double* angle) {
  *angle = 0;
  auto found = uniteExtents(extents, stripes.size().width);
  if (!found) return found;
  if (settings.deskew) *angle = skewOf(stripes, extents, services);
  if (std::abs(*angle) > kLeastSkew && settings.scanType == kAreaAutoWidth) widenToPage(&*found, *angle);
  return found;
}

int CIBoundDetect::Reset() {
  m_stripes = {};
  return 1;
}

int CIBoundDetect::AddStripe(IScanBuffer* stripe) {
  if (!m_stripes.add(stripe)) {
    logLine(LogLevel::Warning, "quillbay.analysis", "bound detection leaves out a stripe that does not fit");
  }
  return 1;
}

int CIBoundDetect::Detect(std::int32_t bounds[4], double* angle, std::int32_t* height) {
  const BoundStripes stripes = std::exchange(m_stripes, {});
  if (stripes.isEmpty()) return 0;
  const BoundSettings settings = m_services.settings();
  const auto extents = extentsOf(stripes, settings.threshold);
  const auto found = boundsOf(extents, stripes, settings, m_services, angle);
  if (!found) return 0;
  bounds[0] = found->left;
  bounds[1] = found->top;
  bounds[2] = found->right;
  bounds[3] = found->bottom;
  *height = stripes.size().height;
  return 1;
}

}  // namespace quillbay
