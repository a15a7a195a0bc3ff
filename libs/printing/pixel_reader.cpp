#include "printing/pixel_reader.h"

#include <algorithm>

#include "quillbay/palette.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

/// Pixels of `step` bytes with red, green and blue at these places.
template <std::size_t step, std::size_t red, std::size_t blue>
void greyLine(const std::uint8_t* in, std::size_t count, std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i, in += step) out[i] = greyOf(in[red], in[1], in[blue]);
}

template <std::size_t step, std::size_t red, std::size_t blue>
void rgbLine(const std::uint8_t* in, std::size_t count, std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i, in += step, out += 3) {
    out[0] = in[red];
    out[1] = in[1];
    out[2] = in[blue];
  }
}

}  // namespace

PixelReader::PixelReader(KxColorSpace page, std::int32_t width, LineKind kind)
    : m_page(page), m_width(width), m_kind(kind), m_out(lineBytes(kind, width)) {
  if (isRunList(page) && kind == LineKind::Grey) m_bits.resize(lineBytes(LineKind::Bits, width));
}

void PixelReader::setPalette(const KXRGBQUAD* palette) {
  std::copy_n(palette, m_palette.size(), m_palette.begin());
  std::transform(m_palette.begin(), m_palette.end(), m_greyOf.begin(),
                 [](KXRGBQUAD c) { return greyOf(c.red, c.green, c.blue); });
}

const std::uint8_t* PixelReader::read(const std::uint8_t* line) {
  if (isRunList(m_page)) {
    std::vector<std::uint8_t>& bits = m_kind == LineKind::Bits ? m_out : m_bits;
    runsToBits(reinterpret_cast<const std::uint32_t*>(line), m_width, bits.data());
    return readBits(bits.data());
  }
  const bool isSame = (m_page == KxColorSpace::Grey && m_kind == LineKind::Grey) ||
                      (m_page == KxColorSpace::Rgb && m_kind == LineKind::Rgb);
  if (isSame) return line;
  if (m_kind == LineKind::Grey) {
    toGrey(line);
  } else {
    toRgb(line);
  }
  return m_out.data();
}

const std::uint8_t* PixelReader::readBits(const std::uint8_t* bits) {
  if (m_kind == LineKind::Bits) return bits;
  bitsToBytes(bits, static_cast<std::size_t>(m_width), 255, 0, m_out.data());
  return m_out.data();
}

void PixelReader::toGrey(const std::uint8_t* line) {
  const auto count = static_cast<std::size_t>(m_width);
  std::uint8_t* out = m_out.data();
  switch (m_page) {
    case KxColorSpace::Four:
      for (std::size_t i = 0; i + 1 < count; i += 2) {
        out[i] = static_cast<std::uint8_t>((line[i / 2] >> 4) * 17);
        out[i + 1] = static_cast<std::uint8_t>((line[i / 2] & 15) * 17);
      }
      // An odd line's last pixel has no place in its bytes.
      if (count % 2 != 0) out[count - 1] = 255;
      break;
    case KxColorSpace::Rgb: greyLine<3, 0, 2>(line, count, out); break;
    case KxColorSpace::Bgr: greyLine<3, 2, 0>(line, count, out); break;
    case KxColorSpace::Rgba: greyLine<4, 0, 2>(line, count, out); break;
    case KxColorSpace::Bgra: greyLine<4, 2, 0>(line, count, out); break;
    default:
      for (std::size_t i = 0; i < count; ++i) out[i] = m_greyOf[line[i]];
  }
}

void PixelReader::toRgb(const std::uint8_t* line) {
  const auto count = static_cast<std::size_t>(m_width);
  std::uint8_t* out = m_out.data();
  switch (m_page) {
    case KxColorSpace::Bgr: rgbLine<3, 2, 0>(line, count, out); break;
    case KxColorSpace::Rgba: rgbLine<4, 0, 2>(line, count, out); break;
    case KxColorSpace::Bgra: rgbLine<4, 2, 0>(line, count, out); break;
    default:
      for (std::size_t i = 0; i < count; ++i, out += 3) {
        const KXRGBQUAD c = m_palette[line[i]];
        out[0] = c.red;
        out[1] = c.green;
        out[2] = c.blue;
      }
  }
}

}  // namespace quillbay
