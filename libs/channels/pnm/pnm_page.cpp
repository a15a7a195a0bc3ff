#include "channels/pnm/pnm_page.h"

#include <cstdio>

#include "channels/codec/line_bytes.h"
#include "channels/pnm/pnm_header.h"

namespace quillbay {
namespace {

constexpr std::size_t kBandBytes = std::size_t{512} << 10;
constexpr int kHeightDigits = 10;
constexpr std::int64_t kMaxLines = 0x7fffffff;

/// Blanks before a number are as good as one.
std::string heightField(std::int64_t lines) {
  char text[kHeightDigits + 1];
  std::snprintf(text, sizeof text, "%*lld", kHeightDigits, static_cast<long long>(lines));
  return text;
}

}  // namespace

bool PnmPage::isFinishedIn(const EdgeFile& file) {
  if (file.size() == 0) return false;
  ByteStream bytes(file);
  return readPnmHeader(bytes).height > 0;
}

PnmPage::PnmPage(const EdgeFile& file, const QbPage& page, const QbOptions*)
    : m_file(file), m_space(static_cast<KxColorSpace>(page.color_space)), m_width(page.width) {
  if (m_file.size() != 0) throw ModuleError(QB_E_REFUSED, "this format holds one page; choose another name");
  const char* kind = isRunList(m_space) ? "P4" : m_space == KxColorSpace::Grey ? "P5" : "P6";
  const std::string before = std::string(kind) + "\n" + std::to_string(m_width) + " ";
  const std::string head = before + heightField(0) + (isRunList(m_space) ? "\n" : "\n255\n");
  m_heightAt = static_cast<std::int64_t>(before.size());
  if (m_space == KxColorSpace::Palette) {
    m_palette.resize(std::size_t{3} * 256);
    for (int i = 0; i < std::min(page.palette_count, 256); ++i) {
      std::memcpy(m_palette.data() + 3 * i, page.palette + 4 * i, 3);
    }
  }
  m_file.append(head.data(), head.size());
}

std::size_t PnmPage::lineBytes() const noexcept {
  const auto width = static_cast<std::size_t>(m_width);
  return isRunList(m_space) ? (width + 7) / 8 : m_space == KxColorSpace::Grey ? width : 3 * width;
}

bool PnmPage::isVerbatim(bool packed) const noexcept {
  return m_space == KxColorSpace::Grey || m_space == KxColorSpace::Rgb || (isRunList(m_space) && packed);
}

void PnmPage::convert(const std::uint8_t* line, bool packed, std::uint8_t* out) const {
  if (m_palette.empty()) return lineToBytes(m_space, m_width, line, packed, out);
  for (std::int32_t i = 0; i < m_width; ++i, out += 3)
    std::memcpy(out, m_palette.data() + std::size_t{3} * line[i], 3);
}

void PnmPage::write(const QbBlock& block) {
  m_lines += block.lines;
  if (m_lines > kMaxLines) {
    throw ModuleError(QB_E_REFUSED, "the page has more lines than this format can hold; scan to a TIFF file");
  }
  const std::size_t size = lineBytes();
  if (block.bytes && block.stride == size && isVerbatim(block.packed != 0)) {
    return m_file.append(block.bytes, size * static_cast<std::size_t>(block.lines));
  }
  m_band.resize(std::max(kBandBytes / size, std::size_t{1}) * size);
  std::size_t used = 0;
  for (std::int32_t i = 0; i < block.lines; ++i) {
    if (used == m_band.size()) {
      m_file.append(m_band.data(), used);
      used = 0;
    }
    const std::uint8_t* line =
        block.bytes ? block.bytes + static_cast<std::size_t>(i) * block.stride : block.rows[i];
    convert(line, block.packed != 0, m_band.data() + used);
    used += size;
  }
  m_file.append(m_band.data(), used);
}

void PnmPage::finish() {
  const std::string height = heightField(m_lines);
  m_file.patch(m_heightAt, height.data(), height.size());
}

}  // namespace quillbay
