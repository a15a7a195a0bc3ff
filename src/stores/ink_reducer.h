#pragma once
#include <cstdint>
#include <vector>

#include "platform/picture.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// A bitonal line, in one of two forms.
struct InkLine {
  const std::uint32_t* runs = nullptr;  ///< a run list, or null
  const std::uint8_t* bits = nullptr;   ///< packed pixels, bit 7 leftmost, 1 is black
};

/// Reduces bitonal lines. A reduced pixel of coverage c is black to the part min(1, c * r), where r is the larger
/// of the two reductions (at least 1): a black line of one source pixel keeps all of its black, in one pixel or
/// shared by two neighbours, and does not grow. One thread at a time.
class InkReducer {
 public:
  /// Lines of `width` pixels as a picture of `size`, black on white.
  void reduce(const std::vector<InkLine>& lines, std::int32_t width, KxSize size, Picture* out);

 private:
  void addLine(const InkLine& line, std::uint32_t weight);
  void finishRow(std::uint32_t weight, double gain, std::uint32_t* out);

  std::int32_t m_width = 0;
  std::uint64_t m_cellsPerPixel = 0;   // times 2^32
  std::vector<std::uint32_t> m_steps;  // of the coverage, from cell to cell
};

}  // namespace quillbay
