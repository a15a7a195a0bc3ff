#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/printing.h"

namespace quillbay {

/// Turns lines of grey into packed bits, 1 black. Black stays black and white stays white, whatever the method. No
/// allocation after the constructor; one thread.
class Halftone {
 public:
  /// `threshold`: grey below it becomes black, for `PrintHalftone::Threshold`.
  Halftone(PrintHalftone method, std::int64_t width, int threshold);

  /// `bits` takes (width + 7) / 8 bytes; bits beyond the width are 0.
  void convert(const std::uint8_t* grey, std::uint8_t* bits);

 private:
  void byThreshold(const std::uint8_t* grey, std::uint8_t* bits) const;
  void byPattern(const std::uint8_t* grey, std::uint8_t* bits) const;
  void byDiffusion(const std::uint8_t* grey, std::uint8_t* bits);

  const PrintHalftone m_method;
  const std::size_t m_width;
  const int m_threshold;
  std::uint64_t m_line = 0;
  std::vector<int> m_errors, m_next;  // in parts of 16, one pixel wider at both ends
};

}  // namespace quillbay
