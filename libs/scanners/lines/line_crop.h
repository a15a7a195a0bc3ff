#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "scanners/lines/line_pipeline.h"

namespace quillbay {

/// The part of a page that is wanted of a device that delivers more: columns and rows, in pixels.
struct PageCut {
  std::int32_t left = 0, width = 0;
  std::int64_t top = 0;
  std::int64_t lines = -1;  ///< -1: to the page's end
};

/// Cuts a device's lines, one after another; nothing is allocated per line, and lines of whole bytes are not
/// copied.
class LineCrop {
 public:
  /// `cut` lies within the device's lines.
  LineCrop(const PageCut& cut, DeviceSamples samples);
  /// The wanted part of the next line, valid until the next call; null for a line that is not wanted.
  [[nodiscard]] const std::uint8_t* take(const std::uint8_t* line) noexcept;
  /// Whether no further line is wanted.
  [[nodiscard]] bool isDone() const noexcept { return m_cut.lines >= 0 && m_line >= m_cut.top + m_cut.lines; }

 private:
  PageCut m_cut;
  std::size_t m_offset;  // bytes before the first that is wanted
  int m_shift = 0;       // bits in it that are not
  std::int64_t m_line = 0;
  std::vector<std::uint8_t> m_bits;  // room for a shifted line
};

}  // namespace quillbay
