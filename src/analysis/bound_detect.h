#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "analysis/bound_extents.h"
#include "analysis/bound_stripes.h"
#include "quillbay/bound_detect.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

/// The settings that bound detection works from.
struct BoundSettings {
  std::int32_t threshold = 127;  ///< see `RowExtentFinder`
  bool deskew = false;           ///< look for the angle
  std::int32_t scanType = kAreaFixedWidth;
};

/// What bound detection needs of the world.
struct BoundServices {
  /// The settings at the moment of detection.
  BoundSettings (*settings)();
  /// `new_IRStor`.
  KxPtr<IRStor> (*newRaster)(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi);
  /// `AutoBinarizing`.
  KxPtr<IRStor> (*binarize)(IRStor* source, IProgress* progress);
  /// The angle that the raster's deskew service finds; 0 where there is no service or no answer.
  double (*serviceAngle)(IRStor* bitonal);
};

/// One extent for each row of `stripes`; the first and the last row have none.
[[nodiscard]] std::vector<RowExtent> extentsOf(const BoundStripes& stripes, std::int32_t threshold);

/// The angle that straightens what the stripes show, or 0: the deskew service's, or where it finds none the
/// rotation that makes the box around `extents` smallest. Without a bitonal picture, for want of memory, there is
/// none.
[[nodiscard]] double skewOf(const BoundStripes& stripes, const std::vector<RowExtent>& extents,
                            const BoundServices& services);

/// The rectangle around all extents, and the skew in `*angle` (0 without one), by the settings. The skew is looked
/// for in `stripes`: those of the extents, or their beginning.
[[nodiscard]] std::optional<KxRect> boundsOf(const std::vector<RowExtent>& extents, const BoundStripes& stripes,
                                             const BoundSettings& settings, const BoundServices& services,
                                             double* angle);

/// What `new_IBoundDetect` works with: the panel's settings, and the libraries' services.
[[nodiscard]] const BoundServices& panelBoundServices() noexcept;

class CIBoundDetect final : public CKxUnknownImpl<IBoundDetect> {
 public:
  explicit CIBoundDetect(const BoundServices& services) : m_services(services) {}
  int Reset() override;
  int AddStripe(IScanBuffer* stripe) override;
  int Detect(std::int32_t bounds[4], double* angle, std::int32_t* height) override;

 private:
  const BoundServices m_services;
  BoundStripes m_stripes;
};

}  // namespace quillbay
