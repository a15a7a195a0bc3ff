#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/module_support.h"
#include "quillbay/color_space.h"

namespace quillbay {

extern const QbOptionInfo kBmpOptions[];

/// A bitmap that is written while its height is unknown: lines from the top (the head's height is negative), 0
/// lines until the page's end. Bits, bytes (grey or a palette) or 24 bits. The head of 40 bytes, which every reader
/// knows: those with a colour profile are refused by widespread ones.
class BmpPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  BmpPage(const EdgeFile& file, const QbPage& page, const QbOptions* options);
  /// A file that was ended says its height.
  [[nodiscard]] static bool isFinishedIn(const EdgeFile& file);
  void write(const QbBlock& block);
  void finish();

 private:
  void makeHead(const QbPage& page);
  void checkLines(std::int64_t lines) const;
  void convert(const std::uint8_t* line, bool packed, std::uint8_t* out) const;

  EdgeFile m_file;
  KxColorSpace m_space;
  std::int32_t m_width;
  std::size_t m_used = 0, m_stride = 0;  // bytes of a line, without and with those that fill it up
  std::vector<std::uint8_t> m_head;      // all before the pixels
  std::int64_t m_lines = 0;
  std::vector<std::uint8_t> m_band;
};

}  // namespace quillbay
