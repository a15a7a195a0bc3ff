#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads the pages of a TIFF through libtiff: black and white as run lists, palettes and grey as bytes (16 bits by
/// their high byte), everything else as red, green, blue. The orientation tag is not applied.
class TiffReader {
 public:
  /// Throws ModuleError for a damaged file.
  explicit TiffReader(const QbFile* file);
  [[nodiscard]] std::int32_t pages() const noexcept { return static_cast<std::int32_t>(m_offsets.size()); }
  void read(std::int32_t page, const QbRasterSink& sink) const;

 private:
  const QbFile* m_file;
  std::vector<std::uint64_t> m_offsets;
};

}  // namespace quillbay
