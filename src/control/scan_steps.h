#pragma once
#include <cstdint>
#include <memory>

#include "platform/preview_page.h"
#include "platform/straightening.h"
#include "quillbay/control.h"
#include "quillbay/detected_area.h"
#include "quillbay/geometry.h"
#include "quillbay/param.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// The optional steps of a scan. The controller calls each of them in the same way; a step that the panel does not
/// have does nothing.

/// Why a search for the area ended a run.
struct DetectionEnd {
  EndCause cause = EndCause::Refused;  ///< `Refused`: the user declined
  UnitFault fault{};                   ///< the device's, not told yet
};

/// Finds the scan area before a scan.
class IAreaDetection {
 public:
  virtual ~IAreaDetection() = default;
  /// Whether this panel can find a document at all.
  [[nodiscard]] virtual bool IsOffered() const = 0;
  /// Looks for the document with the settings of `request`; `mask` -1 takes `key::Autodetect`, otherwise bits of
  /// it. Returns 1 to go on (the area may have been found, or detection is off), 0 when the user declined.
  virtual int Detect(IParam* request, int mask) = 0;
  /// Whether the last `Detect` found the area.
  [[nodiscard]] virtual bool AreaFound() const = 0;
  /// How it did.
  [[nodiscard]] virtual DetectedBy FoundBy() const {
    return AreaFound() ? DetectedBy::Prescan : DetectedBy::Nothing;
  }
  /// Why the last `Detect` returned 0.
  [[nodiscard]] virtual DetectionEnd End() const { return {}; }
};

/// Computes the palette of a document in a prescan.
class IPalettePrescan {
 public:
  virtual ~IPalettePrescan() = default;
  /// Whether the current mode scans with a palette, or a lookup file, that has to be computed first.
  [[nodiscard]] virtual bool IsNeeded(IParam* request) const = 0;
  /// Scans the request's area at `dpi` and puts the palette into the request. Returns 1; or 0 when it failed or was
  /// cancelled, with what the run ends with in `*cause` and `*fault`.
  virtual int Run(IParam* request, int dpi, EndCause* cause, UnitFault* fault) = 0;
  virtual void Forget() = 0;
};

/// Computes colour tables from the adjustments in a request.
class IColorTables {
 public:
  virtual ~IColorTables() = default;
  /// Puts "SCAN_GAMMA" (256 `KXRGBQUAD`) into a request that holds "SCAN_BRIGHTNESS".
  virtual void Put(IParam* request) = 0;
};

/// A panel's steps. A step that was not created does nothing; colour tables are computed by every panel.
struct ScanSteps {
  ScanSteps();
  IAreaDetection* detection;
  IPalettePrescan* palette;
  IColorTables* colors;
  std::shared_ptr<IStraightening> straightening;  ///< shared with the scanner's thread
  IPreviewPage* preview = nullptr;                ///< null: the panel has no preview page (also in direct mode)
};

}  // namespace quillbay
