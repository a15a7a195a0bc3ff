#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/param.h"
#include "quillbay/scan_mode.h"
#include "quillbay/scanner.h"
#include "scanners/lines/color_settings.h"
#include "scanners/lines/palette_map.h"

namespace quillbay {

inline constexpr int kMostLevel = 255;
inline constexpr int kUsualSpeed = 100;

/// What a request asks of a unit (`IQuillbayUnit::Scan`), read and checked once for all units.
struct ScanRequest {
  std::int32_t mode = kModeGrey;  ///< any number: what it may be, the unit knows
  std::int32_t dpi = 0;           ///< any number; 0: none was given
  std::int32_t type = kRequestScan;
  bool hasRect = false;
  tagRRECT rect;                  ///< mm, right > left; top = bottom: to the document's end
  bool isBatch = false;           ///< more pages follow
  bool isPiece = false;           ///< one of several that follow one another down a document
  int speed = kUsualSpeed;        ///< per cent of the device's usual speed
  double paperLength = 0;         ///< mm when the device cannot find the document's end; 0: none was given
  int level = -1;                 ///< of black and white, 0-255: grey below it is black; -1: none was given
  BwSettings bw{};                ///< of black and white: the request's, and the mode's usual ones
  std::vector<KXRGBQUAD> curves;  ///< 256, or none; with the black and white points in them
  ColorSettings color{};          ///< of grey and colour
  int paletteCount = 256;         ///< of mode 6: colours of a linear palette
  /// Of mode 6: the entries of a computed palette, or the 256 of a lookup file; none: a linear palette is made.
  std::vector<KXRGBQUAD> palette;
  std::vector<std::uint8_t> classes;  ///< of a lookup file, `PaletteMap::kClasses`, or none
  bool operator==(const ScanRequest&) const = default;

  [[nodiscard]] bool isPrescan() const noexcept { return type != kRequestScan; }
  [[nodiscard]] bool reachesDocumentEnd() const noexcept { return !hasRect || rect.bottom <= rect.top; }
};

/// Reads a request, which may be null. Returns an empty text, or a sentence that names the key, what it holds and
/// what it takes; `*out` is then of no use.
[[nodiscard]] std::string readScanRequest(IParam* request, ScanRequest* out);

/// The palette of a request of mode 6, for the pipeline; null in other modes.
[[nodiscard]] std::shared_ptr<PaletteMap> paletteOf(const ScanRequest& request);

/// The scan mode that a key adjusts ("LEVEL3": 3), and what it takes. Keys of several modes tell the one that any
/// unit with one of them has.
struct ModeKeyRange {
  int mode = 0;
  UnitKeyRange range;
  bool isLevel = false;
};
/// Nothing for a key that no mode has ("LEVEL5", "BACKGROUNDSUPP0"). Every unit of ours applies what is told here,
/// since its line pipeline does. The hue is no such key: it is part of the tone curves.
[[nodiscard]] std::optional<ModeKeyRange> modeKeyRange(std::string_view key);

}  // namespace quillbay
