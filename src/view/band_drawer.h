#pragma once
#include <QThreadPool>
#include <cstdint>

#include "quillbay/raster.h"

namespace quillbay {

/// Draws a raster into pixels of memory, in bands that the threads of a pool and the caller take in turn: a thread
/// that the system lets wait takes fewer, and nobody waits for one that took none.
class BandDrawer {
 public:
  BandDrawer();

  /// Fills `size` pixels, row after row, with what `tfm` maps there; `mode` is `IRasterDCMode::GetStretchMode`.
  /// Comes back when all is drawn; throws what a band threw.
  void draw(IRStorDraw& drawing, std::uint32_t* pixels, const KxSize& size, const CRDirectTfm& tfm, int mode);

 private:
  QThreadPool m_threads;
};

}  // namespace quillbay
