#pragma once
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Whether a panel keeps the raster of the page that it scans; queried from its `IQuillbaySink`. User-interface
/// thread only.
class IKeepRasters : public IKxUnknown {
 public:
  /// Non-zero: from the next page on, `IRGetSource::GetRaster` hands out the page being scanned also where it goes
  /// to a file, a printer or the network; large pages then fill scratch space. 0, the start: only a page of Scan To
  /// View has a raster, and the host's view shows the other ones in the size of the screen. Returns 1, or
  /// `kNoWindow`.
  virtual int KeepRasters(int keep) = 0;
};

}  // namespace quillbay
