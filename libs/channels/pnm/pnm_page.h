#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/module_support.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// A page on its way into a file: raw (P4 to P6), lines as they come. The height has a field of fixed width,
/// 0 until the page is complete; writing it is the one change to what was there before, so that a file whose
/// writing was cut short is never taken for a whole one.
class PnmPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  PnmPage(const EdgeFile& file, const QbPage& page, const QbOptions* options);
  /// Whether a file holds a page that was ended; an empty one does not.
  [[nodiscard]] static bool isFinishedIn(const EdgeFile& file);
  void write(const QbBlock& block);
  void finish();

 private:
  [[nodiscard]] std::size_t lineBytes() const noexcept;
  [[nodiscard]] bool isVerbatim(bool packed) const noexcept;
  void convert(const std::uint8_t* line, bool packed, std::uint8_t* out) const;

  EdgeFile m_file;
  KxColorSpace m_space;
  std::int32_t m_width;
  std::vector<std::uint8_t> m_palette;  // 256 entries of 3 bytes
  std::int64_t m_heightAt = 0, m_lines = 0;
  std::vector<std::uint8_t> m_band;
};

}  // namespace quillbay
