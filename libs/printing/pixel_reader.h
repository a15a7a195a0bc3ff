#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "printing/raster_type.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// Makes working lines from lines of a page. No allocation after the constructor; one thread.
class PixelReader {
 public:
  /// `kind` as of `workingKind` for this colour space.
  PixelReader(KxColorSpace page, std::int32_t width, LineKind kind);

  /// The palette of code 8, 256 entries; may change from stripe to stripe.
  void setPalette(const KXRGBQUAD* palette);
  /// A line as `IScanBuffer::GetLine` gives it. The result is that line itself, where nothing has to change, or
  /// lasts until the next call.
  [[nodiscard]] const std::uint8_t* read(const std::uint8_t* line);
  /// A line of packed bits, for run-list codes.
  [[nodiscard]] const std::uint8_t* readBits(const std::uint8_t* bits);

 private:
  void toGrey(const std::uint8_t* line);
  void toRgb(const std::uint8_t* line);

  const KxColorSpace m_page;
  const std::int32_t m_width;
  const LineKind m_kind;
  std::array<std::uint8_t, 256> m_greyOf{};
  std::array<KXRGBQUAD, 256> m_palette{};
  std::vector<std::uint8_t> m_out;
  std::vector<std::uint8_t> m_bits;  // of run lists, when they become grey
};

}  // namespace quillbay
