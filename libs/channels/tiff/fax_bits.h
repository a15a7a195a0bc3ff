#pragma once
#include <cstdint>
#include <cstring>
#include <vector>

#include "channels/tiff/g4_codes.h"
#include "quillbay/run_list.h"

/// What the encoders of ITU-T T.4 and T.6 share.
namespace quillbay::g4 {

/// Writes bits into memory, first bit highest. The caller sees to the room.
class BitWriter {
 public:
  explicit BitWriter(std::uint8_t* to) : m_to(to) {}
  void put(Code c) noexcept {
    m_bits = m_bits << c.length | c.bits;
    m_count += c.length;
    if (m_count < 32) return;
    m_count -= 32;
    const std::uint32_t word = __builtin_bswap32(static_cast<std::uint32_t>(m_bits >> m_count));
    std::memcpy(m_to, &word, 4);
    m_to += 4;
  }
  void flush() noexcept {
    while (m_count > 0) {
      const int shift = m_count - 8;
      *m_to++ = static_cast<std::uint8_t>(shift >= 0 ? m_bits >> shift : m_bits << -shift);
      m_count -= 8;
    }
    m_count = 0;
  }
  /// Bits of the byte that is begun.
  [[nodiscard]] int bitsOfByte() const noexcept { return m_count % 8; }
  [[nodiscard]] std::uint8_t* end() const noexcept { return m_to; }
  /// Bits that `flush` would write.
  [[nodiscard]] int pending() const noexcept { return m_count; }
  void moved(std::uint8_t* to) noexcept { m_to = to; }

 private:
  std::uint8_t* m_to;
  std::uint64_t m_bits = 0;
  int m_count = 0;
};

inline void putRun(BitWriter& out, std::int32_t pixels, bool black) noexcept {
  const auto& makeUp = black ? kBlackMakeUp : kWhiteMakeUp;
  for (; pixels > 2623; pixels -= 2560) out.put(makeUp[39]);
  if (pixels > 63) out.put(makeUp[static_cast<std::size_t>(pixels / 64 - 1)]);
  out.put((black ? kBlackEnd : kWhiteEnd)[static_cast<std::size_t>(pixels % 64)]);
}

/// Where the colour changes: even places to black, odd ones to white, then the width five times, so that the coder
/// may look ahead.
inline void findChanges(const std::uint8_t* line, bool packed, std::int32_t width,
                        std::vector<std::int32_t>& changes) {
  changes.clear();
  if (packed) {
    eachBitChange(line, width, [&changes](std::uint32_t x) { changes.push_back(static_cast<std::int32_t>(x)); });
    changes.insert(changes.end(), 5, width);
    return;
  }
  const auto* runs = reinterpret_cast<const std::uint32_t*>(line);
  eachRun(runs, width, [&changes](std::uint32_t first, std::uint32_t last) {
    const auto begin = static_cast<std::int32_t>(first), end = static_cast<std::int32_t>(last) + 1;
    if (!changes.empty() && changes.back() == begin) {
      changes.back() = end;
    } else {
      changes.push_back(begin);
      changes.push_back(end);
    }
  });
  changes.insert(changes.end(), 5, width);
}

}  // namespace quillbay::g4
