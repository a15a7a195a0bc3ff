#include "channels/bmp/bmp_reader.h"

#include <algorithm>
#include <cstring>

#include "quillbay/color_space.h"

namespace quillbay {
namespace {

constexpr std::int64_t kHeldBytes = std::int64_t{1} << 20;
constexpr unsigned kMostFieldBits = 10;  // more of them are cut off

}  // namespace

void BmpReader::openPage(std::int32_t, QbPicture* out) {
  m_head = readBmpHead(m_file);
  checkLineBytes(static_cast<std::uint64_t>(m_head.width) * 3);
  m_next = m_first = m_held = 0;
  m_isBitonal = m_head.isBitonal();
  m_turned = m_isBitonal && m_head.palette[0] == 0 ? 0xff : 0;
  m_runs = nullptr;
  if (m_head.coding != BmpHead::Coding::Plain) m_runs = std::make_unique<BmpRuns>(m_file, m_head);
  for (std::size_t c = 0; c < 3; ++c) {
    const unsigned bits = std::min(m_head.fields[c].bits, kMostFieldBits);
    const unsigned most = (1U << bits) - 1;
    m_tones[c].resize(most + 1);
    for (unsigned i = 0; i <= most; ++i)
      m_tones[c][i] = static_cast<std::uint8_t>(most == 0 ? 0 : (i * 255 + most / 2) / most);
  }
  const KxColorSpace space = m_isBitonal       ? KxColorSpace::Bitonal
                             : m_head.bits > 8 ? KxColorSpace::Rgb
                             : m_head.isGrey() ? KxColorSpace::Grey
                                               : KxColorSpace::Palette;
  *out = {};
  out->color_space = static_cast<std::int32_t>(space);
  out->width = m_head.width;
  out->height = m_head.height;
  out->dpi = m_head.dpi;
  out->orientation = 1;
  if (space != KxColorSpace::Palette) return;
  out->palette_count = m_head.paletteCount;
  std::memcpy(out->palette, m_head.palette.data(), m_head.palette.size());
}

/// The stored lines around the next one: below it in a file that begins at the bottom.
void BmpReader::fill() {
  const std::int64_t stride = m_head.stride(), height = m_head.height;
  const std::int64_t stored = m_head.isTopDown ? m_next : height - 1 - m_next;
  const std::int64_t bytes = m_file.size() - m_head.pixelsAt;
  // The last line need not be filled up.
  const std::int64_t used = (std::int64_t{m_head.width} * m_head.bits + 7) / 8;
  const std::int64_t there = bytes / stride + (bytes % stride >= used ? 1 : 0);
  if (stored >= there) throw ModuleError(QB_E_TRUNCATED, "");
  const std::int64_t most = std::clamp<std::int64_t>(kHeldBytes / stride, 1, height);
  m_first = m_head.isTopDown ? stored : std::max<std::int64_t>(stored + 1 - most, 0);
  m_held = m_head.isTopDown ? std::min(most, std::min(there, height) - stored) : stored + 1 - m_first;
  m_lines.resize(static_cast<std::size_t>(m_held * stride));
  const std::int64_t at = m_head.pixelsAt + m_first * stride;
  const std::int64_t size = std::min(m_held * stride, m_file.size() - at);
  m_file.read(at, m_lines.data(), static_cast<std::size_t>(size));
}

const std::uint8_t* BmpReader::storedLine() {
  const std::int64_t stored = m_head.isTopDown ? m_next : m_head.height - 1 - m_next;
  if (m_runs) {
    m_lines.resize(static_cast<std::size_t>(m_head.width));
    m_runs->line(stored, m_lines.data());
    return m_lines.data();
  }
  if (stored < m_first || stored >= m_first + m_held) fill();
  return m_lines.data() + (stored - m_first) * m_head.stride();
}

/// Numbers of fewer than 8 bits as bytes.
void BmpReader::spread(const std::uint8_t* line, std::uint8_t* out) const noexcept {
  const auto bits = static_cast<unsigned>(m_head.bits), each = 8 / bits, mask = (1U << bits) - 1;
  for (unsigned x = 0; x < static_cast<unsigned>(m_head.width); ++x)
    out[x] = static_cast<std::uint8_t>(line[x / each] >> (8 - bits - x % each * bits) & mask);
}

void BmpReader::toColours(const std::uint8_t* line, std::uint8_t* out) const noexcept {
  const auto step = static_cast<std::size_t>(m_head.bits / 8);
  for (std::int32_t x = 0; x < m_head.width; ++x, line += step, out += 3) {
    const std::uint32_t pixel = step == 2 ? little16(line) : little32(line);
    for (std::size_t c = 0; c < 3; ++c) {
      const BmpHead::Field& field = m_head.fields[c];
      const unsigned cut = field.bits > kMostFieldBits ? field.bits - kMostFieldBits : 0;
      out[c] = m_tones[c][pixel >> (field.shift + cut) & (m_tones[c].size() - 1)];
    }
  }
}

void BmpReader::readLine(std::uint8_t* out) {
  const std::uint8_t* line = storedLine();
  const auto width = static_cast<std::size_t>(m_head.width);
  ++m_next;
  if (m_isBitonal) {
    for (std::size_t i = 0; i < (width + 7) / 8; ++i) out[i] = static_cast<std::uint8_t>(line[i] ^ m_turned);
  } else if (m_runs || m_head.bits == 8) {
    std::memcpy(out, line, width);
  } else if (m_head.bits < 8) {
    spread(line, out);
  } else if (m_head.bits == 24) {
    for (std::size_t x = 0; x < width; ++x) {
      for (std::size_t c = 0; c < 3; ++c) out[3 * x + c] = line[3 * x + 2 - c];
    }
  } else {
    toColours(line, out);
  }
}

}  // namespace quillbay
