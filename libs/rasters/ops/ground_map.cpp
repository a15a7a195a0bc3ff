#include "rasters/ops/ground_map.h"

#include <algorithm>

#include "quillbay/palette.h"

namespace quillbay {
namespace {

/// A pixel differs when it is darker than the ground by this, or by so many halves of what the middle half of the
/// block's pixels spans.
constexpr int kLeastContrast = 24, kSpreadHalves = 3;

std::uint8_t limitOf(const std::array<std::uint32_t, 256>& histogram) noexcept {
  std::uint64_t count = 0;
  for (const std::uint32_t n : histogram) count += n;
  const auto quantile = [&](std::uint64_t quarters) {
    std::uint64_t below = 0;
    int tone = 0;
    while (tone < 255 && (below += histogram[static_cast<std::size_t>(tone)]) * 4 <= count * quarters) ++tone;
    return tone;
  };
  const int ground = quantile(3), spread = ground - quantile(1);
  return static_cast<std::uint8_t>(std::max(0, ground - std::max(kLeastContrast, spread * kSpreadHalves / 2)));
}

}  // namespace

BrightnessOf::BrightnessOf(IRStor& source)
    : m_bytes(pixelBytes(source.GetColorSpace())),
      m_indexed(source.GetColorSpace() == KxColorSpace::Four || source.GetColorSpace() == KxColorSpace::Palette) {
  const KxColorSpace colorSpace = source.GetColorSpace();
  if (colorSpace == KxColorSpace::Bgr || colorSpace == KxColorSpace::Bgra) std::swap(m_red, m_blue);
  if (!m_indexed) return;
  const auto palette = paletteOf(source);
  std::transform(palette.begin(), palette.end(), m_entries.begin(),
                 [](const KXRGBQUAD& c) { return greyOf(c.red, c.green, c.blue); });
}

void BrightnessOf::operator()(const std::uint8_t* pixels, std::size_t count, std::uint8_t* out) const noexcept {
  if (m_bytes == 1) {
    if (m_indexed) {
      for (std::size_t i = 0; i < count; ++i) out[i] = m_entries[pixels[i]];
    } else {
      std::copy_n(pixels, count, out);
    }
    return;
  }
  for (std::size_t i = 0; i < count; ++i, pixels += m_bytes) {
    out[i] = greyOf(pixels[m_red], pixels[1], pixels[m_blue]);
  }
}

GroundMap::GroundMap(IRStor& source, std::int32_t blockSize)
    : m_size(blockSize),
      m_pixels{storedWidth(source), source.GetHeight()},
      m_blocks(static_cast<std::size_t>((m_pixels.width + blockSize - 1) / blockSize)),
      m_reader(source),
      m_brightness(source),
      m_line(static_cast<std::size_t>(m_pixels.width) * pixelBytes(source.GetColorSpace())),
      m_tones(static_cast<std::size_t>(m_pixels.width)),
      m_histograms(m_blocks),
      m_limits(m_blocks) {
  for (auto& row : m_rows) row.resize(m_blocks);
}

/// The limits of a row of blocks on its own, from some of its lines; zeros beside the page.
void GroundMap::measureRow(std::int32_t row, std::vector<std::uint8_t>& out) {
  constexpr std::int32_t kLines = 16;
  const std::int64_t top = std::int64_t{row} * m_size;
  if (row < 0 || top >= m_pixels.height) {
    std::fill(out.begin(), out.end(), std::uint8_t{0});
    return;
  }
  for (auto& histogram : m_histograms) histogram.fill(0);
  const std::int64_t bottom = std::min<std::int64_t>(top + m_size, m_pixels.height);
  for (std::int64_t y = top; y < bottom; y += std::max(1, m_size / kLines)) {
    m_reader.read(static_cast<std::int32_t>(y), 0, m_pixels.width, m_line.data());
    m_brightness(m_line.data(), m_tones.size(), m_tones.data());
    const std::uint8_t* tone = m_tones.data();
    for (std::size_t block = 0; block < m_blocks; ++block) {
      auto& histogram = m_histograms[block];
      const auto end = std::min((block + 1) * static_cast<std::size_t>(m_size), m_tones.size());
      for (std::size_t x = block * static_cast<std::size_t>(m_size); x < end; ++x) ++histogram[*tone++];
    }
  }
  std::transform(m_histograms.begin(), m_histograms.end(), out.begin(), limitOf);
}

const std::vector<std::uint8_t>& GroundMap::limits(std::int32_t line) {
  const std::int32_t row = line / m_size;
  if (row == m_row) return m_limits;
  const auto rowAt = [this](std::int32_t r) -> auto& { return m_rows[static_cast<std::size_t>(r + 3) % 3]; };
  if (m_row < 0) {
    measureRow(row - 1, rowAt(row - 1));
    measureRow(row, rowAt(row));
  }
  measureRow(row + 1, rowAt(row + 1));
  m_row = row;
  for (std::size_t i = 0; i < m_blocks; ++i) {
    std::uint8_t most = 0;
    for (const auto& limits : m_rows) {
      for (std::size_t k = i == 0 ? 0 : i - 1; k < std::min(i + 2, m_blocks); ++k) most = std::max(most, limits[k]);
    }
    m_limits[i] = most;
  }
  return m_limits;
}

}  // namespace quillbay
