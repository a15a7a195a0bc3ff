#pragma once
#include <array>
#include <cstdint>
#include <string>

#include "quillbay/color_space.h"
#include "quillbay/detected_area.h"
#include "quillbay/geometry.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

/// The scan settings that more than one part reads. A plain value: a copy of it is the snapshot that a scan works
/// from on the scanner's thread. Lengths are millimetres, x across the scanner, y along the feed.
struct ScanValues {
  // With a key of their own; see scan_key.
  std::int32_t units = kMillimetres;
  std::string paperName;
  std::string dir;
  std::string mask = "scan";
  std::int32_t counter = 0;
  std::string counterFormat = "%.3d";
  std::int32_t useAutoCounter = 1;
  std::int32_t rectValid = 0;
  std::int32_t boundDetectDirty = 1;
  std::int32_t multiPage = 0;
  std::int32_t currMode = 0;
  std::int32_t minDpi = 100;
  std::int32_t previewDpi = 100;
  std::int32_t portrait = 0;
  std::int32_t autodetect = 8;
  std::int32_t customScanValid = 0;
  std::int32_t dpi = 100;
  std::int32_t scanType = kAreaFixedWidth;
  std::int32_t bursting = 0;
  std::int32_t fileFate = kFateIncrement;
  std::int32_t updateRect = 0;
  std::int32_t scannerKeyPressed = 0;
  std::int32_t center = 1;
  tagRRECT rcScan{0, 0, 100, 100};
  tagRRECT rcPreview{0, 0, 100, 100};
  tagRRECT rcCustomScan{0, 0, 100, 100};

  // Without a broadcast.
  std::int32_t mode = 0;  ///< destination, 0-3
  std::int32_t multiPageRequested = 0;
  std::int32_t addWidthPercent = 0;
  std::int32_t standardPapers = 0;
  std::int32_t autoAnswerDelay = 5;
  std::int32_t autoAnswer = 1;
  std::int32_t deskew = 0;
  std::int32_t rewind = 0;  ///< 0 unload forward, 1 unload back, others leave the document
  double paperLength = 200.0;
  std::int32_t autoPaper = 127;
  std::int32_t disablePreview = 0;
  std::array<std::string, 4> saveSettings;
  std::int32_t batch = 0;
  KxColorSpace colorSpace = KxColorSpace::Bitonal;
  std::int32_t centring = kAlwaysCentres;
  double bedWidth = 900.0;
  double minWidth = 110.0;
  double minHeight = 55.0;
  double skew = 0;     ///< radians
  DetectedArea found;  ///< by the last search; `isFound` says whether it still counts
  tagRRECT lastScanArea;
  std::string outputFile;
  std::array<std::string, 4> extensions{".tif", ".tif", ".tif", ".tif"};  ///< by colour class
  std::string hostExtension;  ///< over all of them, as long as the host asks for it; empty: it does not
  std::string scannerName;
  std::string helpTopic;
  bool hasScriptSyntax = false;
  bool scannerHasColor = true;
  bool offersDetection = false;  ///< the panel can find a document by itself
  std::string detectionText;
  std::string summary;
};

/// Whether the scan area is what the last search found, or what the user made of it.
[[nodiscard]] inline bool isFound(const ScanValues& values) noexcept {
  const DetectedBy by = values.found.by;
  return by != DetectedBy::Nothing && by != DetectedBy::WholeBed && values.rectValid != 0 &&
         values.found.box == values.rcScan;
}
/// What is detected: `key::Autodetect`, and nothing where the panel cannot detect.
[[nodiscard]] inline std::int32_t detectionOf(const ScanValues& values) noexcept {
  return values.offersDetection ? values.autodetect : 0;
}
/// The extension of files of a colour class.
[[nodiscard]] inline const std::string& extensionOf(const ScanValues& values, ColorClass colorClass) noexcept {
  return values.hostExtension.empty() ? values.extensions[static_cast<std::size_t>(colorClass)]
                                      : values.hostExtension;
}
/// The colour space of a scan mode: bitonal for 0-4, grey for 5, palette for 6, colour for all others.
[[nodiscard]] KxColorSpace colorSpaceOfMode(std::int32_t mode) noexcept;
/// The colour class of a colour space: 1 and 2 bitonal, 16 grey, 8 palette, all others (0 too) colour.
[[nodiscard]] ColorClass colorClassOf(KxColorSpace colorSpace) noexcept;
/// The mode's name in lists: "BW Threshold" ... "RGB"; empty outside 0-7. English; translate to show it.
[[nodiscard]] const char* modeName(std::int32_t mode) noexcept;
/// The mode's colour class in file names: "BW", "GreyScale", "Palette", "RGB"; empty for others.
[[nodiscard]] const char* modeShortName(std::int32_t mode) noexcept;

}  // namespace quillbay
