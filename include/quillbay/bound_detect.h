#pragma once
#include <cstdint>

#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/scan_buffer.h"

/// Finds where a document lies in a low-resolution scan of the whole bed, and how it is turned.
///
/// The one convention for angles, from here to the straightened scan: the angle that straightens the content.
/// Radians; positive turns the content clockwise as it is seen (x to the right, y down):
/// x' = x cos a - y sin a, y' = x sin a + y cos a. A sheet that lies turned anticlockwise by a is found at a.
namespace quillbay {

/// Collects the stripes of one scan, then finds the document in them. An object may be used again and again.
/// Threads: not locked. Stripes may come on one thread and `Detect` run on another, never at the same time.
class IBoundDetect : public IKxUnknown {
 public:
  /// Drops the stripes. Returns 1.
  virtual int Reset() = 0;
  /// Adds a stripe below those before and keeps a reference to it; its lines are not copied. The first stripe fixes
  /// width and colour space: grey (code 16), or run lists. A stripe that does not fit is left out. Returns 1.
  virtual int AddStripe(IScanBuffer* stripe) = 0;
  /// Finds the rectangle of strong horizontal contrasts, and drops the stripes.
  ///
  /// Returns 1 when it found the document: `bounds` gets left, top, right and bottom in pixels (right and bottom
  /// exclusive), `*angle` the angle as above, or 0 when none was found or asked for, and `*height` the count of
  /// lines. For an area of the type "Auto Width" and a turned document, left and right are moved apart to the width
  /// of a portrait page of these proportions; they may then lie outside of the scan.
  ///
  /// Returns 0 when it found nothing: `*angle` gets 0, the others stay as they were. Without a stripe nothing is
  /// written. White, black and narrow scans (less than 9 pixels) and those of less than 3 lines have no contrasts.
  ///
  /// The panel's settings count: the threshold of detection (10 to 192, 127 where no panel is open; higher values
  /// find weaker edges), straightening (off: no angle is looked for), the type of the area.
  virtual int Detect(std::int32_t bounds[4], double* angle, std::int32_t* height) = 0;
};

/// A detector without stripes.
QUILLBAY_API KxPtr<IBoundDetect> new_IBoundDetect();

}  // namespace quillbay
