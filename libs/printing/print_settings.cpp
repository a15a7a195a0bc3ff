#include "printing/print_settings.h"

#include <algorithm>

namespace quillbay {
namespace {

/// The value of an enumeration; its first for what it does not have.
template <class Enum>
Enum choiceOf(IParam* options, const char* key, Enum last) {
  const std::int32_t value = paramInt(options, key);
  return value < 0 || value > static_cast<std::int32_t>(last) ? Enum{} : static_cast<Enum>(value);
}

double lengthOf(IParam* options, const char* key) {
  constexpr double kMost = 500;
  const double value = paramDouble(options, key);
  return value > 0 ? std::min(value, kMost) : 0;  // NaN is none
}

}  // namespace

PrintSettings readPrintSettings(IParam* options) {
  PrintSettings s;
  s.copies = std::clamp(paramInt(options, print_key::Copies, 1), 1, 9999);
  s.isAutomatic = paramInt(options, print_key::AutoDetect) != 0;
  if (s.isAutomatic) return s;
  s.printer = paramString(options, print_key::PrinterName);
  s.media = paramString(options, print_key::Media);
  s.scaling = choiceOf(options, print_key::Scaling, PrintScaling::FitWidth);
  const double percent = paramDouble(options, print_key::Percent, 100);
  s.percent = percent >= 1 ? std::min(percent, 1000.0) : percent > 0 ? 1 : 100;
  s.turn = choiceOf(options, print_key::Turn, PrintTurn::Auto);
  s.place = choiceOf(options, print_key::Place, PrintPlace::Right);
  s.margins = {lengthOf(options, print_key::MarginLeft), lengthOf(options, print_key::MarginTop),
               lengthOf(options, print_key::MarginRight), lengthOf(options, print_key::MarginBottom)};
  s.color = choiceOf(options, print_key::Color, PrintColor::Bitonal);
  s.halftone = choiceOf(options, print_key::Halftone, PrintHalftone::Diffusion);
  s.resolution = static_cast<std::uint32_t>(std::clamp(paramInt(options, print_key::Resolution), 0, 9600));
  const int quality = paramInt(options, print_key::Quality);
  s.quality = quality >= 3 && quality <= 5 ? quality : 0;
  s.isTiled = paramInt(options, print_key::Tiled) != 0;
  s.overlap = lengthOf(options, print_key::Overlap);
  s.hasCropMarks = paramInt(options, print_key::CropMarks) != 0;
  const double piece = paramDouble(options, print_key::PieceLength);
  s.pieceLength = piece > 0 ? piece : 0;
  return s;
}

PageShape readPageShape(IParam* options) {
  const auto positive = [options](const char* key) { return std::max(0, paramInt(options, key)); };
  // Lines of a long roll pass 32 bits as a double.
  const double lines = paramDouble(options, print_key::PageLines);
  PageShape page;
  page.width = positive(print_key::PageWidth);
  page.lines = lines >= 1 && lines < 1e15 ? static_cast<std::int64_t>(lines) : 0;
  page.dpi = static_cast<std::uint32_t>(positive(print_key::PageDpi));
  return page;
}

}  // namespace quillbay
