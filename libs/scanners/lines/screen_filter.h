#pragma once
#include "scanners/lines/box_filters.h"

namespace quillbay {

/// Screens grey rows to 0 or 255 by error diffusion, every second row backwards. It depends on the rows alone.
class ScreenFilter final : public RowFilter {
 public:
  /// `level`: what becomes half black. `contrast` in per cent, around it.
  ScreenFilter(std::size_t width, int level, int contrast);
  const std::uint8_t* push(const std::uint8_t* row) override;

 private:
  LevelTable m_tones;
  bool m_backwards = false;
  std::vector<std::int16_t> m_errors, m_next;
  std::vector<std::uint8_t> m_out;
};

}  // namespace quillbay
