#pragma once
#include <cstdint>

/// What the numbers in the scan settings mean (their keys: scan_keys.h). Plain enumerations: the numbers themselves
/// pass through parameter sets and settings files.
namespace quillbay {

/// Scan modes (`key::CurrMode`, `key::Mode`).
enum ScanMode : std::int32_t {
  kModeBwThreshold = 0,
  kModeBwAdaptive = 1,
  kModeBwCopyNormal = 2,
  kModeBwCopyPhoto = 3,
  kModeBwCopyAdaptive = 4,
  kModeGrey = 5,
  kModePalette = 6,
  kModeRgb = 7,
  kModeDirect = 8,  ///< the scanner's own settings
};
inline constexpr int kModeCount = 9;

/// Whether lines of a scan mode are black and white.
[[nodiscard]] constexpr bool isBitonalMode(std::int32_t mode) noexcept {
  return mode >= kModeBwThreshold && mode <= kModeBwCopyAdaptive;
}

/// How a palette scan gets its palette (`key::PaletteMethod`).
enum PaletteMethod : std::int32_t {
  kPaletteLinear = 0,      ///< evenly spread colours
  kPalettePhotos = 1,      ///< 256 colours computed from the document
  kPaletteMaps = 2,        ///< as many as chosen, computed from the document
  kPaletteClassified = 3,  ///< palette and colour classes of a lookup file
};

/// Scan-area types (`key::ScanAreaType`).
enum ScanAreaType : std::int32_t {
  kAreaAuto = 0,
  kAreaAutoWidth = 1,   ///< to the end of the document
  kAreaFixedWidth = 2,  ///< to the end of the document
  kAreaCustom = 3,
  kAreaPaper = 4,  ///< the standard paper of `key::PaperName`
};

/// What happens when an output file exists (`key::FileFate`).
enum FileFate : std::int32_t { kFateIncrement = 0, kFateOverwrite = 1, kFateAsk = 2 };

/// What `IQuillbayUnit::GetCentring` returns; with other values the user chooses (`key::Center`).
enum Centring : std::int32_t { kAlwaysCentres = 1, kNeverCentres = 2 };

/// Bits of `key::Autodetect`; 0 turns detection off.
inline constexpr std::int32_t kDetectCentreFree = 8;
inline constexpr std::int32_t kDetectAll = 30;  ///< width, length, position and skew

/// The unit of lengths on the screen (`key::Units`).
enum LengthUnit : std::int32_t { kMillimetres = 0, kInches = 1 };

/// Colour classes, in the order of extensions and pictures.
enum ColorClass : std::int32_t { kClassBitonal = 0, kClassGrey = 1, kClassPalette = 2, kClassColor = 3 };

/// What a request asks of a unit (`key::RequestType`).
enum RequestType : std::int32_t { kRequestPrescan = 0, kRequestDetection = 1, kRequestScan = 2 };

}  // namespace quillbay
