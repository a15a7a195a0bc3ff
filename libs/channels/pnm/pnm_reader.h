#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/pnm/pnm_header.h"

namespace quillbay {

/// Reads the first picture of a portable anymap: bits as packed pixels, grey and colour by 8 bits; samples of other
/// sizes are brought to 0..255.
class PnmReader {
 public:
  explicit PnmReader(const QbFile* file) : m_file(file) {}
  [[nodiscard]] static std::int32_t pages() noexcept { return 1; }
  /// Goes to the first line. Throws ModuleError, as `readLine` does.
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  void readBits(std::uint8_t* out);
  [[nodiscard]] std::uint8_t level(std::int32_t sample) const noexcept;

  const QbFile* m_file;
  std::unique_ptr<ByteStream> m_bytes;
  PnmHeader m_header;
  std::vector<std::uint8_t> m_wide;  // a line of samples of 16 bits
};

}  // namespace quillbay
