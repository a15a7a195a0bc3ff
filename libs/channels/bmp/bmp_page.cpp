#include "channels/bmp/bmp_page.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "channels/bmp/bmp_head.h"
#include "channels/codec/line_bytes.h"

namespace quillbay {
namespace {

constexpr std::size_t kBandBytes = std::size_t{512} << 10;
constexpr std::int64_t kMostFile = 0xffffffff, kMostLines = 0x7fffffff;
constexpr double kInchesPerMetre = 1 / 0.0254;

std::int32_t bitsOf(KxColorSpace space) noexcept {
  return isRunList(space) ? 1 : space == KxColorSpace::Grey || space == KxColorSpace::Palette ? 8 : 24;
}

}  // namespace

const QbOptionInfo kBmpOptions[] = {{}};

bool BmpPage::isFinishedIn(const EdgeFile& file) {
  std::uint8_t height[4];
  if (file.size() < static_cast<std::int64_t>(kBmpFileHead + kBmpInfoHead)) return false;
  file.read(kBmpHeightAt, height, sizeof height);
  return little32(height) != 0;
}

BmpPage::BmpPage(const EdgeFile& file, const QbPage& page, const QbOptions*)
    : m_file(file), m_space(static_cast<KxColorSpace>(page.color_space)), m_width(page.width) {
  if (m_file.size() != 0) throw ModuleError(QB_E_REFUSED, "a bitmap file holds one page; choose another name");
  const auto bits = static_cast<std::size_t>(m_width) * static_cast<std::size_t>(bitsOf(m_space));
  m_used = (bits + 7) / 8;
  m_stride = (bits + 31) / 32 * 4;
  makeHead(page);
  checkLines(std::max<std::int64_t>(page.expected_lines, 1));
  m_band.resize(std::max(kBandBytes / m_stride, std::size_t{1}) * m_stride);
  m_file.append(m_head.data(), m_head.size());
}

/// Entries of the palette are blue, green, red, 0.
void BmpPage::makeHead(const QbPage& page) {
  const std::int32_t bits = bitsOf(m_space);
  const std::size_t colours = bits == 1 ? 2 : bits == 8 ? 256 : 0;
  const std::size_t paletteAt = kBmpFileHead + kBmpInfoHead;
  m_head.assign(paletteAt + 4 * colours, 0);
  std::uint8_t* to = m_head.data();
  to[0] = 'B';
  to[1] = 'M';
  putLittle32(to + 10, static_cast<std::uint32_t>(m_head.size()));
  std::uint8_t* info = to + kBmpFileHead;
  putLittle32(info, static_cast<std::uint32_t>(kBmpInfoHead));
  putLittle32(info + 4, static_cast<std::uint32_t>(m_width));
  info[12] = 1;  // plane
  info[14] = static_cast<std::uint8_t>(bits);
  const auto perMetre = static_cast<std::uint32_t>(std::lround(page.dpi * kInchesPerMetre));
  putLittle32(info + 24, perMetre);
  putLittle32(info + 28, perMetre);
  putLittle32(info + 32, static_cast<std::uint32_t>(colours));
  for (std::size_t i = 0; i < colours; ++i) {
    std::uint8_t* entry = to + paletteAt + 4 * i;
    const bool isOfPage = m_space == KxColorSpace::Palette && i < static_cast<std::size_t>(page.palette_count);
    const auto grey = static_cast<std::uint8_t>(m_space == KxColorSpace::Palette ? 0 : i * 255 / (colours - 1));
    for (std::size_t c = 0; c < 3; ++c) entry[c] = isOfPage ? page.palette[4 * i + 2 - c] : grey;
  }
}

void BmpPage::checkLines(std::int64_t lines) const {
  const std::int64_t room = kMostFile - static_cast<std::int64_t>(m_head.size());
  const std::int64_t most = std::min(kMostLines, room / static_cast<std::int64_t>(m_stride));
  if (lines <= most) return;
  throw ModuleError(QB_E_REFUSED, "a bitmap file holds 4 GB, which are " + std::to_string(most) +
                                      " lines of this page, and it has " + std::to_string(lines) +
                                      "; scan to a TIFF file, or at a lower resolution");
}

void BmpPage::convert(const std::uint8_t* line, bool packed, std::uint8_t* out) const {
  lineToBytes(m_space, m_width, line, packed, out);
  if (isRunList(m_space)) {
    for (std::size_t i = 0; i < m_used; ++i) out[i] = static_cast<std::uint8_t>(~out[i]);  // 1 is white
  } else if (bitsOf(m_space) == 24) {
    for (std::size_t i = 0; i < m_used; i += 3) std::swap(out[i], out[i + 2]);
  }
  std::fill(out + m_used, out + m_stride, std::uint8_t{0});
}

void BmpPage::write(const QbBlock& block) {
  m_lines += block.lines;
  checkLines(m_lines);
  const bool isVerbatim =
      m_space == KxColorSpace::Grey || m_space == KxColorSpace::Palette || m_space == KxColorSpace::Bgr;
  if (isVerbatim && block.bytes && block.stride == m_stride && m_used == m_stride)
    return m_file.append(block.bytes, m_stride * static_cast<std::size_t>(block.lines));
  std::size_t used = 0;
  for (std::int32_t i = 0; i < block.lines; ++i) {
    if (used == m_band.size()) {
      m_file.append(m_band.data(), used);
      used = 0;
    }
    const std::uint8_t* line =
        block.bytes ? block.bytes + static_cast<std::size_t>(i) * block.stride : block.rows[i];
    std::uint8_t* to = m_band.data() + used;
    if (m_space == KxColorSpace::Bgr) {
      std::memcpy(to, line, m_used);
      std::fill(to + m_used, to + m_stride, std::uint8_t{0});
    } else {
      convert(line, block.packed != 0, to);
    }
    used += m_stride;
  }
  m_file.append(m_band.data(), used);
}

void BmpPage::finish() {
  if (m_lines == 0) throw ModuleError(QB_E_REFUSED, "a page without lines cannot be a bitmap file");
  const auto pixels = static_cast<std::uint32_t>(m_lines * static_cast<std::int64_t>(m_stride));
  putLittle32(m_head.data() + 2, static_cast<std::uint32_t>(m_head.size()) + pixels);
  putLittle32(m_head.data() + kBmpHeightAt, static_cast<std::uint32_t>(-m_lines));
  putLittle32(m_head.data() + kBmpHeightAt + 12, pixels);
  m_file.patch(0, m_head.data(), kBmpFileHead + kBmpInfoHead);
}

}  // namespace quillbay
