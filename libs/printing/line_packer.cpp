#include "printing/line_packer.h"

#include <cstring>

#include "quillbay/run_list.h"

namespace quillbay {
namespace {

/// Bits from any place to any place: whole bytes of the target from two of the source, then the rest bit by bit.
void copyBits(const std::uint8_t* line, std::size_t from, std::uint8_t* out, std::size_t to,
              std::size_t count) noexcept {
  const auto bitAt = [line](std::size_t i) { return (static_cast<unsigned>(line[i / 8]) >> (7 - i % 8)) & 1U; };
  const auto put = [&](std::size_t i) {
    const unsigned mask = 128U >> ((to + i) % 8);
    std::uint8_t& byte = out[(to + i) / 8];
    byte = static_cast<std::uint8_t>(bitAt(from + i) != 0 ? byte | mask : byte & ~mask);
  };
  std::size_t i = 0;
  for (; i < count && (to + i) % 8 != 0; ++i) put(i);
  const std::size_t bytes = (count - i) / 8;
  const std::uint8_t* in = line + (from + i) / 8;
  std::uint8_t* target = out + (to + i) / 8;
  if (const std::size_t shift = (from + i) % 8; shift == 0) {
    std::memcpy(target, in, bytes);
  } else {
    for (std::size_t k = 0; k < bytes; ++k) {
      target[k] = static_cast<std::uint8_t>(static_cast<unsigned>(in[k]) << shift | in[k + 1] >> (8 - shift));
    }
  }
  for (i += 8 * bytes; i < count; ++i) put(i);
}

}  // namespace

LinePacker::LinePacker(LineKind from, const RasterType& to, std::int64_t width, PrintHalftone halftone,
                       int threshold)
    : m_from(from), m_to(to), m_width(static_cast<std::size_t>(width)), m_out(lineBytes(to.kind, width)) {
  if (from != LineKind::Bits && to.kind == LineKind::Bits) m_halftone.emplace(halftone, width, threshold);
}

const std::uint8_t* LinePacker::pack(const std::uint8_t* line) {
  std::uint8_t* const out = m_out.data();
  if (m_halftone) {
    m_halftone->convert(line, out);
    return out;
  }
  if (m_from == LineKind::Bits && m_to.kind == LineKind::Grey) {
    const std::uint8_t white = m_to.white();
    bitsToBytes(line, m_width, white, static_cast<std::uint8_t>(255 - white), out);
    return out;
  }
  if (m_from == LineKind::Bits && m_to.kind == LineKind::Rgb) {
    for (std::size_t i = 0; i < m_width; ++i) {
      std::memset(out + 3 * i, (static_cast<unsigned>(line[i / 8]) >> (7 - i % 8)) & 1U ? 0 : 255, 3);
    }
    return out;
  }
  if (m_from == LineKind::Grey && m_to.kind == LineKind::Rgb) {
    for (std::size_t i = 0; i < m_width; ++i) std::memset(out + 3 * i, line[i], 3);
    return out;
  }
  if (!m_to.isInverted) return line;
  for (std::size_t i = 0; i < m_width; ++i) out[i] = static_cast<std::uint8_t>(255 - line[i]);
  return out;
}

void copyPixels(LineKind kind, const std::uint8_t* line, std::int64_t from, std::uint8_t* out, std::int64_t to,
                std::int64_t count) noexcept {
  if (count <= 0) return;
  if (kind == LineKind::Bits) {
    copyBits(line, static_cast<std::size_t>(from), out, static_cast<std::size_t>(to),
             static_cast<std::size_t>(count));
    return;
  }
  std::memcpy(out + lineBytes(kind, to), line + lineBytes(kind, from), lineBytes(kind, count));
}

}  // namespace quillbay
