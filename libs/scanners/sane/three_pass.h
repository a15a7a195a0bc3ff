#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/raster.h"

namespace quillbay {

/// Puts the three passes of a colour page together: keeps the lines of the first two, and answers whole colour
/// lines during the third. The kept lines lie in rasters, which go to a scratch file beyond the process's budget.
class ThreePassPage {
 public:
  /// `lines` -1: unknown. Throws CXMemException when there is no space.
  ThreePassPage(std::int32_t width, std::int64_t lines, std::uint32_t dpi);
  /// Takes the next line of the current pass for `channel` (0 red, 1 green, 2 blue), `depth` 1 (1 is full
  /// intensity), 8 or 16 bits a sample. Returns the colour line in the third pass (valid until the next call), else
  /// null; a third pass that is longer than the others gets null as well.
  const std::uint8_t* takeLine(int channel, const std::uint8_t* bytes, int depth);
  void nextPass() noexcept;

 private:
  struct Kept {
    int channel = 0;
    std::int32_t lines = 0;
    KxPtr<IRStor> raster;
    KxPtr<IAccessContext> context;
  };
  void keepLine(int channel);
  void growTo(Kept& kept, std::int32_t lines);
  void toBytes(const std::uint8_t* bytes, int depth) noexcept;

  std::int32_t m_width;
  int m_pass = 0;
  std::int32_t m_line = 0;
  Kept m_kept[2];
  std::vector<std::uint8_t> m_samples;  // the line that was taken
  std::vector<std::uint8_t> m_other;
  std::vector<std::uint8_t> m_rgb;
};

}  // namespace quillbay
