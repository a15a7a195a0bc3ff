#include "channels/tiff/g3_encoder.h"

#include "channels/tiff/fax_bits.h"

namespace quillbay {
namespace {

constexpr g4::Code kFill{0, 1};
constexpr int kEndOfLineStart = 4;  // bits of a byte before an end of line of 12 bits that ends with a byte

void putG3Line(g4::BitWriter& out, const std::int32_t* changes, std::int32_t width) noexcept {
  while (out.bitsOfByte() != kEndOfLineStart) out.put(kFill);
  out.put(g4::kEndOfBlockHalf);
  std::int32_t from = 0;
  bool black = false;
  while (from < width) {
    g4::putRun(out, *changes - from, black);
    from = *changes++;
    black = !black;
  }
}

}  // namespace

void G3Encoder::encode(const Band& band, ByteBuffer& out) {
  // Two runs of one pixel, one of each colour, take 9 bits.
  const std::size_t lineRoom = static_cast<std::size_t>(m_width) * 5 / 8 + 64;
  std::size_t room = lineRoom + static_cast<std::size_t>(m_width) / 8 * static_cast<std::size_t>(band.lines());
  std::uint8_t* base = out.room(room);
  g4::BitWriter bits(base);
  band.eachLine([&](const std::uint8_t* line, bool packed) {
    if (base + room < bits.end() + lineRoom) {
      const auto used = static_cast<std::size_t>(bits.end() - base);
      room = 2 * room + lineRoom;
      base = out.grow(used, room);
      bits.moved(base + used);
    }
    g4::findChanges(line, packed, m_width, m_line);
    putG3Line(bits, m_line.data(), m_width);
  });
  bits.flush();
  out.setSize(static_cast<std::size_t>(bits.end() - base));
}

}  // namespace quillbay
