#pragma once
#include <cstdint>

#include "quillbay/geometry.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// What straightening works from: the settings as they were when the page or preview was started.
struct StraighteningBasis {
  double skew = 0;            ///< radians, as detected: the angle that straightens the content
  tagRRECT area{};            ///< the upright box around the sheet, as wide as the scan; millimetres
  std::int32_t scanType = 0;  ///< `ScanAreaType`: what the area's length means
};

/// Straightens the stripes of a skewed scan, on the scanner's thread.
class IStraightening {
 public:
  virtual ~IStraightening() = default;
  /// Before a page or a preview, on the user-interface thread.
  virtual void Begin(const StraighteningBasis& basis) = 0;
  /// The stripe itself, a straightened one, or nothing yet; null flushes what is held back.
  virtual KxPtr<IScanBuffer> Pass(IScanBuffer* stripe, std::int64_t extra) = 0;
};

}  // namespace quillbay
