#pragma once
#include <cstdint>
#include <vector>

#include "channels/bmp/bmp_head.h"

namespace quillbay {

/// The lines of a bitmap whose pixels are runs. The last line of the picture stands first: where each one begins is
/// looked for at first.
class BmpRuns {
 public:
  /// Throws ModuleError.
  BmpRuns(const EdgeFile& file, const BmpHead& head);
  /// Decodes a stored line, 0 is the picture's last one: a byte for each pixel. What was left out is 0.
  void line(std::int64_t stored, std::uint8_t* out);

 private:
  struct Start {
    std::int64_t line, offset, x;  // the line has its first codes there
  };
  /// Reads bytes of the file in pieces, from anywhere.
  class Cursor {
   public:
    explicit Cursor(const EdgeFile& file) : m_file(file) {}
    void seek(std::int64_t offset) noexcept { m_at = offset; }
    [[nodiscard]] std::int64_t at() const noexcept { return m_at; }
    /// The next byte; throws ModuleError at the file's end.
    std::uint8_t next() {
      if (m_at < m_begin || m_at >= m_begin + static_cast<std::int64_t>(m_bytes.size())) fill();
      return m_bytes[static_cast<std::size_t>(m_at++ - m_begin)];
    }

   private:
    void fill();
    EdgeFile m_file;
    std::int64_t m_at = 0, m_begin = 0;
    std::vector<std::uint8_t> m_bytes;
  };
  void decode(const Start& from, std::uint8_t* out);
  void plainPixels(unsigned count, std::int64_t x, std::uint8_t* out);

  Cursor m_cursor;
  std::int64_t m_width, m_height;
  bool m_isHalf;  // two pixels to a byte
  std::vector<Start> m_starts;
};

}  // namespace quillbay
