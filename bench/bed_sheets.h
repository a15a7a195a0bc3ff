#pragma once
/// Sheets on a scanner's bed as a grey prescan shows them, with the truth about where they lie.
#include <cstdint>
#include <vector>

#include "quillbay/geometry.h"

namespace quillbay::bench {

enum class Bed : int { Dark, Dirty, Grey, Light, NearlyWhite };
enum class SheetContent : int { Lines, Map, Text, Photograph, NearlyEmpty };
inline constexpr int kBeds = 5, kContents = 5;
[[nodiscard]] const char* nameOf(Bed bed) noexcept;

/// A sheet and where it lies. Lengths in millimetres; the same one always gives the same pixels.
struct BedSheet {
  tagRSIZE bed{900, 1300};
  tagRSIZE size{594, 841};
  tagRPOINT middle{450, 650};  ///< of the sheet, on the bed
  double degrees = 0;          ///< turn of the sheet about its middle, clockwise
  Bed ground = Bed::Dark;
  SheetContent content = SheetContent::Lines;
  std::uint64_t seed = 1;

  /// The upright box around it.
  [[nodiscard]] tagRRECT box() const noexcept;
  /// The angle that straightens it, in radians.
  [[nodiscard]] double angle() const noexcept;
};

struct GreyPicture {
  std::int32_t width = 0, height = 0;
  std::uint32_t dpi = 0;
  std::vector<std::uint8_t> pixels;  ///< row by row
  [[nodiscard]] const std::uint8_t* row(std::int32_t y) const noexcept {
    return pixels.data() + static_cast<std::ptrdiff_t>(y) * width;
  }
};

/// The whole bed at `dpi`: noise, dust and streaks where it is dirty, the sheet's shadow, the sheet and what is on
/// it.
[[nodiscard]] GreyPicture drawBed(const BedSheet& sheet, std::uint32_t dpi);

/// `count` sheets: all grounds and contents in turn, A4 to A0 both ways, -5 to 5 degrees, anywhere on beds that are
/// some centimetres larger than they.
[[nodiscard]] std::vector<BedSheet> manySheets(int count);

}  // namespace quillbay::bench
