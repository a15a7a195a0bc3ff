#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/param.h"
#include "quillbay/scan_mode.h"
#include "quillbay/scanner.h"
#include "scanners/lines/bw_settings.h"

namespace quillbay {

inline constexpr int kMostLevel = 255;

/// What a request asks of a unit (`IQuillbayUnit::Scan`), read and checked once for all units.
struct ScanRequest {
  std::int32_t mode = kModeGrey;  ///< any number: what it may be, the unit knows
  std::int32_t dpi = 0;           ///< any number; 0: none was given
  std::int32_t type = kRequestScan;
  bool hasRect = false;
  tagRRECT rect;                  ///< mm, right > left; top = bottom: to the document's end
  bool isBatch = false;           ///< more pages follow
  bool isPiece = false;           ///< one of several that follow one another down a document
  double paperLength = 0;         ///< mm when the device cannot find the document's end; 0: none was given
  int level = -1;                 ///< of black and white, 0-255: grey below it is black; -1: none was given
  BwSettings bw{};                ///< of black and white: the request's, and the mode's usual ones
  std::vector<KXRGBQUAD> curves;  ///< 256, or none
  bool operator==(const ScanRequest&) const = default;

  [[nodiscard]] bool isPrescan() const noexcept { return type != kRequestScan; }
  [[nodiscard]] bool reachesDocumentEnd() const noexcept { return !hasRect || rect.bottom <= rect.top; }
};

/// Reads a request, which may be null. Returns an empty text, or a sentence that names the key, what it holds and
/// what it takes; `*out` is then of no use.
[[nodiscard]] std::string readScanRequest(IParam* request, ScanRequest* out);

/// The scan mode that a key of black and white adjusts ("LEVEL3": 3), and what it takes.
struct BwKeyRange {
  int mode = 0;
  UnitKeyRange range;
  bool isLevel = false;
};
/// Nothing for a key that no mode has ("LEVEL5", "BACKGROUNDSUPP0").
[[nodiscard]] std::optional<BwKeyRange> bwKeyRange(std::string_view key);

}  // namespace quillbay
