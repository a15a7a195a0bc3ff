#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads the pages of a TIFF through libtiff: black and white as packed pixels, palettes and grey as bytes (16 bits
/// by their high byte), everything else as red, green, blue.
class TiffReader {
 public:
  /// Throws ModuleError for a damaged file.
  explicit TiffReader(const QbFile* file);
  ~TiffReader();
  TiffReader(const TiffReader&) = delete;
  TiffReader& operator=(const TiffReader&) = delete;
  /// Where the chain of pages breaks off, the last one is what cannot be read.
  [[nodiscard]] std::int32_t pages() const noexcept {
    return static_cast<std::int32_t>(m_offsets.size()) + (m_broken ? 1 : 0);
  }
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  class Page;
  const QbFile* m_file;
  std::vector<std::uint64_t> m_offsets;
  std::optional<ModuleError> m_broken;
  std::unique_ptr<Page> m_page;
};

}  // namespace quillbay
