#pragma once
#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/raster.h"

namespace quillbay {

/// Computes a palette that suits a picture: the colours are counted while the picture arrives, in memory that does
/// not grow with its size. The same pixels give the same palette, in whatever pieces and order they were added.
/// One thread at a time.
class IPalCalculator : public IKxUnknown {
 public:
  /// Forgets what was counted, and gives its memory back.
  virtual int Clear() = 0;
  /// Counts the pixels of `area` (null: of all) that lie within the raster, which has code 16, 32, 64, 256 or 512.
  /// Returns 1, or 0 for other codes and lines that could not be read. Throws CXMemException.
  virtual int AddRaster(IRStor* storage, const KxRect* area) = 0;
  /// Writes `count` entries (1 to 256) to `palette`, and no more: from dark to light, no two alike. A picture that
  /// has no more than `count` colours gets exactly these, and for the rest of the entries others: white, black, the
  /// other corners of the colour cube, then the colours between them.
  /// `reserved` is null, `flags` is 0. Returns 1, or 0 and writes nothing for another count or a null palette.
  /// Throws CXMemException.
  virtual int Calculate(int count, KXRGBQUAD* palette, void* reserved, int flags) = 0;
};

/// A calculator that has counted nothing yet.
[[nodiscard]] KxPtr<IPalCalculator> new_PalCalculator();

}  // namespace quillbay
