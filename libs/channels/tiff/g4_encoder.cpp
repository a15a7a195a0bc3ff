#include "channels/tiff/g4_encoder.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "channels/tiff/g4_codes.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

/// Writes bits into memory, first bit highest. The caller sees to the room.
class BitWriter {
 public:
  explicit BitWriter(std::uint8_t* to) : m_to(to) {}
  void put(g4::Code c) noexcept {
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
  [[nodiscard]] std::uint8_t* end() const noexcept { return m_to; }
  /// Bits that `flush` would write.
  [[nodiscard]] int pending() const noexcept { return m_count; }
  void moved(std::uint8_t* to) noexcept { m_to = to; }

 private:
  std::uint8_t* m_to;
  std::uint64_t m_bits = 0;
  int m_count = 0;
};

void putRun(BitWriter& out, std::int32_t pixels, bool black) noexcept {
  const auto& makeUp = black ? g4::kBlackMakeUp : g4::kWhiteMakeUp;
  for (; pixels > 2623; pixels -= 2560) out.put(makeUp[39]);
  if (pixels > 63) out.put(makeUp[static_cast<std::size_t>(pixels / 64 - 1)]);
  out.put((black ? g4::kBlackEnd : g4::kWhiteEnd)[static_cast<std::size_t>(pixels % 64)]);
}

/// Where the colour changes: even places to black, odd ones to white, then the width five times, so that the coder
/// may look ahead.
void findChanges(const std::uint8_t* line, bool packed, std::int32_t width, std::vector<std::int32_t>& changes) {
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

void putLine(BitWriter& out, const std::int32_t* line, const std::int32_t* above, std::int32_t width) noexcept {
  const std::int32_t* const firstAbove = above;
  std::int32_t a0 = -1;
  bool black = false;
  while (a0 < width) {
    // `line` is at the next change of this line, `above` at a change of the line above to the other colour.
    while (*above <= a0 && *above < width) above += 2;
    const std::int32_t a1 = line[0], b1 = above[0], b2 = above[1];
    if (b2 < a1) {
      out.put(g4::kPass);
      a0 = b2;
      continue;
    }
    if (std::abs(a1 - b1) > 3) {
      const std::int32_t a2 = line[1];
      out.put(g4::kHorizontal);
      putRun(out, a1 - (a0 < 0 ? 0 : a0), black);
      putRun(out, a2 - a1, !black);
      a0 = a2;
      line += 2;
      continue;
    }
    const std::int32_t offset = a1 - b1 + 3;
    out.put(g4::kVertical[static_cast<std::size_t>(offset)]);
    a0 = a1;
    ++line;
    // The other colour's changes are at the other places; the one just before may still lie right of a0.
    above += above > firstAbove ? -1 : 1;
    black = !black;
  }
}

/// A line without regard to the one above.
void putFlatLine(BitWriter& out, const std::int32_t* line, std::int32_t width) noexcept {
  for (std::int32_t a0 = 0; a0 < width; a0 = line[1], line += 2) {
    out.put(g4::kHorizontal);
    putRun(out, line[0] - a0, false);
    putRun(out, line[1] - line[0], true);
  }
}

}  // namespace

void G4Encoder::encode(const Band& band, ByteBuffer& out) {
  // A pixel takes at most 7 bits of a vertical mode and 2 of passes.
  const std::size_t lineRoom = static_cast<std::size_t>(m_width) * 10 / 8 + 64;
  std::size_t room = lineRoom + static_cast<std::size_t>(m_width) / 8 * static_cast<std::size_t>(band.lines());
  std::uint8_t* base = out.room(room);
  BitWriter bits(base);
  m_above.assign(5, m_width);
  bool isFlat = m_output == G4Output::Piece;
  band.eachLine([&](const std::uint8_t* line, bool packed) {
    if (base + room < bits.end() + lineRoom) {
      const auto used = static_cast<std::size_t>(bits.end() - base);
      room = 2 * room + lineRoom;
      base = out.grow(used, room);
      bits.moved(base + used);
    }
    findChanges(line, packed, m_width, m_line);
    if (isFlat) {
      putFlatLine(bits, m_line.data(), m_width);
    } else {
      putLine(bits, m_line.data(), m_above.data(), m_width);
    }
    isFlat = false;
    std::swap(m_line, m_above);
  });
  if (m_output == G4Output::Block) {
    bits.put(g4::kEndOfBlockHalf);
    bits.put(g4::kEndOfBlockHalf);
  }
  const int rest = bits.pending() % 8;
  bits.flush();
  std::uint8_t* end = bits.end();
  if (m_output == G4Output::Piece) *end++ = static_cast<std::uint8_t>(rest == 0 ? 8 : rest);
  out.setSize(static_cast<std::size_t>(end - base));
}

}  // namespace quillbay
