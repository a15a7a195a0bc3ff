#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "channels/format_module.h"
#include "channels/pdf/byte_source.h"
#include "channels/pdf/qpdf.h"
#include "quillbay/color_space.h"

namespace quillbay {

enum class PdfColors { Grey, Rgb, Inks, Indexed };

/// How an image of a document is read exactly.
struct ImagePlan {
  enum class Picture { Samples, Jpeg, G4 };
  std::int32_t width = 0, height = 0;
  int bits = 8;  ///< of a sample
  PdfColors colors = PdfColors::Grey;
  bool isInverse = false;             ///< the image says that its samples count the other way round
  std::vector<std::uint8_t> palette;  ///< red, green, blue for each index
  Picture picture = Picture::Samples;
  bool isDeflated = false;  ///< the picture's bytes are in a Deflate stream
  Prediction prediction;
  bool fax1IsBlack = false, faxAligns = false;
  std::int64_t from = 0, size = 0;  ///< of its stream in the file

  [[nodiscard]] int samples() const noexcept {
    return colors == PdfColors::Inks ? 4 : colors == PdfColors::Rgb ? 3 : 1;
  }
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(samples() * bits) + 7) / 8;
  }
  /// What its lines become: 1, 8, 16 or 256. Two indices that are black and white make a bitonal picture.
  [[nodiscard]] KxColorSpace colorSpace() const noexcept;
  /// Whether lines of the other follow those of this one in one page.
  [[nodiscard]] bool joins(const ImagePlan& other) const noexcept {
    return width == other.width && colorSpace() == other.colorSpace() && palette == other.palette;
  }
};

/// The plan for an image; none for a kind that is only rendered. `base` is added to places, `end` is the
/// document's. Throws ModuleError for one that is damaged.
[[nodiscard]] std::optional<ImagePlan> planFor(QPDFObjectHandle image, std::int64_t base, std::int64_t end);

}  // namespace quillbay
