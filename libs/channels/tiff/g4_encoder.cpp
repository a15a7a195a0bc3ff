#include "channels/tiff/g4_encoder.h"

#include <cstdlib>
#include <utility>

#include "channels/tiff/fax_bits.h"

namespace quillbay {
namespace {

void putLine(g4::BitWriter& out, const std::int32_t* line, const std::int32_t* above, std::int32_t width) noexcept {
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
      g4::putRun(out, a1 - (a0 < 0 ? 0 : a0), black);
      g4::putRun(out, a2 - a1, !black);
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
void putFlatLine(g4::BitWriter& out, const std::int32_t* line, std::int32_t width) noexcept {
  for (std::int32_t a0 = 0; a0 < width; a0 = line[1], line += 2) {
    out.put(g4::kHorizontal);
    g4::putRun(out, line[0] - a0, false);
    g4::putRun(out, line[1] - line[0], true);
  }
}

}  // namespace

void G4Encoder::encode(const Band& band, ByteBuffer& out) {
  // A pixel takes at most 7 bits of a vertical mode and 2 of passes.
  const std::size_t lineRoom = static_cast<std::size_t>(m_width) * 10 / 8 + 64;
  std::size_t room = lineRoom + static_cast<std::size_t>(m_width) / 8 * static_cast<std::size_t>(band.lines());
  std::uint8_t* base = out.room(room);
  g4::BitWriter bits(base);
  m_above.assign(5, m_width);
  bool isFlat = m_output == G4Output::Piece;
  band.eachLine([&](const std::uint8_t* line, bool packed) {
    if (base + room < bits.end() + lineRoom) {
      const auto used = static_cast<std::size_t>(bits.end() - base);
      room = 2 * room + lineRoom;
      base = out.grow(used, room);
      bits.moved(base + used);
    }
    g4::findChanges(line, packed, m_width, m_line);
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
