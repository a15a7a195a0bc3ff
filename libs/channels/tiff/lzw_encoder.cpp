#include "channels/tiff/lzw_encoder.h"

#include <cstring>

namespace quillbay {
namespace {

constexpr std::uint32_t kClear = 256;
constexpr std::uint32_t kEnd = 257;
constexpr std::uint32_t kFirstFree = 258;
constexpr std::uint32_t kFull = 4094;  // the table is started again at this code

class CodeWriter {
 public:
  explicit CodeWriter(std::uint8_t* to) : m_to(to) {}
  void put(std::uint32_t code) noexcept {
    m_bits = m_bits << m_width | code;
    m_count += m_width;
    if (m_count < 32) return;
    m_count -= 32;
    const std::uint32_t word = __builtin_bswap32(static_cast<std::uint32_t>(m_bits >> m_count));
    std::memcpy(m_to, &word, 4);
    m_to += 4;
  }
  void clear() noexcept {
    put(kClear);
    m_width = 9;
    m_free = kFirstFree;
  }
  /// A string got the next code. Returns it, or 0 when the table was full and starts again.
  std::uint32_t added() noexcept {
    const std::uint32_t code = m_free++;
    if (m_free == kFull) {
      clear();
      return 0;
    }
    if (m_free > (1U << m_width) - 1) ++m_width;
    return code;
  }
  std::uint8_t* finish() noexcept {
    for (; m_count > 0; m_count -= 8) {
      const unsigned count = static_cast<unsigned>(m_count);
      *m_to++ = static_cast<std::uint8_t>(count >= 8 ? m_bits >> (count - 8) : m_bits << (8 - count));
    }
    return m_to;
  }

 private:
  std::uint8_t* m_to;
  std::uint64_t m_bits = 0;
  int m_count = 0;
  int m_width = 9;
  std::uint32_t m_free = kFirstFree;
};

}  // namespace

void LzwEncoder::encode(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) {
  std::uint8_t* base = out.room(size * 2 + 64);  // 12 bits a byte at worst, and the clears
  CodeWriter codes(base);
  std::uint32_t* table = m_table.get();
  std::memset(table, 0, kTableSize * sizeof *table);
  codes.clear();
  std::uint32_t prefix = size > 0 ? bytes[0] : kEnd;
  for (std::size_t i = 1; i < size; ++i) {
    const std::uint32_t key = prefix << 8 | bytes[i];
    std::size_t at = key * 2654435761U >> (32 - kTableBits);
    while (table[at] != 0 && table[at] >> 12 != key) at = (at + 1) & (kTableSize - 1);
    if (table[at] != 0) {
      prefix = table[at] & 0xfff;
      continue;
    }
    codes.put(prefix);
    prefix = bytes[i];
    const std::uint32_t code = codes.added();
    if (code != 0) {
      table[at] = key << 12 | code;
    } else {
      std::memset(table, 0, kTableSize * sizeof *table);
    }
  }
  if (size > 0) {
    codes.put(prefix);
    codes.added();
  }
  codes.put(kEnd);
  out.setSize(static_cast<std::size_t>(codes.finish() - base));
}

}  // namespace quillbay
