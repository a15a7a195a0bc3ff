#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Bytes of a file, front to back, in pieces of 256 KiB.
class ByteStream {
 public:
  explicit ByteStream(const EdgeFile& file) : m_file(file) {}
  /// The next byte, or -1 at the end. Throws ModuleError.
  int next() {
    if (m_at == m_filled && !fill()) return -1;
    return m_bytes.data()[m_at++];
  }
  /// Takes exactly `size` bytes; throws ModuleError for a file that ends before.
  void take(std::uint8_t* out, std::size_t size);

 private:
  bool fill();
  EdgeFile m_file;
  std::int64_t m_position = 0;
  std::size_t m_at = 0, m_filled = 0;
  std::vector<std::uint8_t> m_bytes;
};

/// What the head of a portable anymap says: P1 to P3 are plain text, P4 to P6 raw; bits, grey, colour.
struct PnmHeader {
  int kind = 0;                        ///< 1 to 6
  std::int32_t width = 0, height = 0;  ///< an incomplete file has 0 lines
  std::int32_t most = 1;               ///< the sample that is white, 1 to 65535
  [[nodiscard]] bool isPlain() const noexcept { return kind < 4; }
  [[nodiscard]] bool isBitonal() const noexcept { return kind == 1 || kind == 4; }
  [[nodiscard]] std::size_t samples() const noexcept {
    return static_cast<std::size_t>(width) * (kind == 3 || kind == 6 ? 3 : 1);
  }
};

/// Reads a head, with the one blank after it. Throws ModuleError.
[[nodiscard]] PnmHeader readPnmHeader(ByteStream& from);

/// The next number of plain text, with the one byte after it; remarks and blanks before it are skipped.
[[nodiscard]] std::int32_t readPnmNumber(ByteStream& from);

}  // namespace quillbay
