#pragma once
#include <cstdint>
#include <string>

#include "printing/printer_info.h"
#include "quillbay/param.h"
#include "quillbay/printing.h"

namespace quillbay {

/// A set of print options as values (`print_key` says what they mean), checked and with automatic ones resolved.
struct PrintSettings {
  bool isAutomatic = false;  ///< `AutoDetect`
  std::string printer;       ///< empty: the default one
  std::int32_t copies = 1;
  std::string media;
  PrintScaling scaling = PrintScaling::TrueSize;
  double percent = 100;
  PrintTurn turn = PrintTurn::None;
  PrintPlace place = PrintPlace::Centred;
  PrintMargins margins;
  PrintColor color = PrintColor::AsScanned;
  PrintHalftone halftone = PrintHalftone::Threshold;
  std::uint32_t resolution = 0;
  int quality = 0;
  bool isTiled = false;
  double overlap = 0;
  bool hasCropMarks = false;
  double pieceLength = 0;  ///< of a page of unknown length; 0: 2 m, or what the medium takes
};

/// Reads a set; null and missing keys are the defaults. Values out of range are held to it: 1 to 9999 copies, 1 to
/// 1000 %, margins and overlap 0 to 500 mm.
[[nodiscard]] PrintSettings readPrintSettings(IParam* options);

/// What is known of a page before it comes.
struct PageShape {
  std::int64_t width = 0;  ///< pixels; 0: unknown
  std::int64_t lines = 0;  ///< 0: unknown
  std::uint32_t dpi = 0;

  [[nodiscard]] double widthMm() const noexcept { return toMm(width); }
  [[nodiscard]] double lengthMm() const noexcept { return toMm(lines); }

 private:
  [[nodiscard]] double toMm(std::int64_t pixels) const noexcept {
    return dpi == 0 ? 0 : static_cast<double>(pixels) * 25.4 / dpi;
  }
};

[[nodiscard]] PageShape readPageShape(IParam* options);

}  // namespace quillbay
