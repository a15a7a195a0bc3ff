#include "rasters/raster_levels.h"

#include <algorithm>

namespace quillbay {
namespace {

/// Rows of a level that are allocated together.
constexpr std::int32_t kSegmentRows = 64;
/// What stays mapped of a level that lives in a scratch file.
constexpr std::size_t kResidentBytes = std::size_t{64} << 20;
/// A level narrower than this is not reduced further.
constexpr std::int32_t kLeastWidth = 32;
/// Sums of 255 over 4^shift pixels fit 32 bits.
constexpr int kMostShift = 10;

bool isIndexed(KxColorSpace c) noexcept { return c == KxColorSpace::Four || c == KxColorSpace::Palette; }

int rowChannels(KxColorSpace c) noexcept { return isRunList(c) || c == KxColorSpace::Grey ? 1 : 3; }

std::size_t segmentBytes(std::size_t rowBytes) noexcept {
  return rowBytes * static_cast<std::size_t>(kSegmentRows);
}

std::size_t residentSegments(std::size_t rowBytes) noexcept {
  return std::max<std::size_t>(8, kResidentBytes / segmentBytes(rowBytes));
}

/// Adds each two pixels of a row to one of the next level.
template <std::size_t channels>
void addPairs(std::uint32_t* __restrict next, const std::uint32_t* __restrict sums, std::size_t pixels) noexcept {
  for (std::size_t i = 0; i < pixels / 2; ++i, next += channels, sums += 2 * channels) {
    for (std::size_t c = 0; c < channels; ++c) next[c] += sums[c] + sums[channels + c];
  }
  if (pixels % 2 == 0) return;
  for (std::size_t c = 0; c < channels; ++c) next[c] += sums[c];
}

}  // namespace

RasterLevels::Level::Level(RasterSpace& space, std::int32_t pixels, int channels)
    : rowBytes(static_cast<std::size_t>(pixels) * static_cast<std::size_t>(channels)),
      store(space, segmentBytes(rowBytes), residentSegments(rowBytes)),
      sums(rowBytes) {}

RasterLevels::RasterLevels(const RasterPolicy& policy, KxColorSpace colorSpace, std::int32_t width)
    : m_colorSpace(colorSpace),
      m_width(width),
      m_ink(isRunList(colorSpace)),
      m_channels(rowChannels(colorSpace)),
      m_space(policy) {
  for (int s = kFirstShift; s <= kMostShift; ++s) {
    const auto pixels = static_cast<std::int32_t>((std::int64_t{width} + (1 << s) - 1) >> s);
    if (s > kFirstShift && pixels < kLeastWidth) break;
    m_levels.push_back(std::make_unique<Level>(m_space, pixels, m_channels));
  }
  m_row.resize(at(0).rowBytes);
  if (m_ink) return;
  if (isIndexed(colorSpace)) m_expanded.resize(static_cast<std::size_t>(width) * 4);
  const int sourceBytes = isIndexed(colorSpace) ? 4 : bitsPerPixel(colorSpace) / 8;
  m_lineSums.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(sourceBytes));
}

void RasterLevels::addLine(const std::uint8_t* line) {
  if (!m_expanded.empty()) {
    expandIndices(m_colorSpace, m_colors, line, 0, static_cast<std::size_t>(m_width), m_expanded.data());
    line = m_expanded.data();
  }
  m_loops.addWhole(m_lineSums.data(), line, m_lineSums.size());
  if (((lines() + 1) & ((1 << kFirstShift) - 1)) == 0) sumColumns();
  endLine();
}

void RasterLevels::addLine(const RunView& runs) {
  std::uint32_t* sums = at(0).sums.data();
  const auto s = static_cast<std::uint32_t>(kFirstShift);
  const std::uint32_t whole = 1U << s;
  for (std::size_t i = 0; i < runs.count; ++i) {
    const std::uint32_t from = runs.runs[2 * i];
    const std::uint32_t to = runs.runs[2 * i + 1] + 1;
    const std::uint32_t last = (to - 1) >> s;
    std::uint32_t x = from >> s;
    if (x == last) {
      sums[x] += to - from;
      continue;
    }
    sums[x] += ((x + 1) << s) - from;
    while (++x < last) sums[x] += whole;
    sums[last] += to - (last << s);
  }
  endLine();
}

/// Adds the sums of lines up across, and empties them.
void RasterLevels::sumColumns() noexcept {
  const bool swapped = m_colorSpace == KxColorSpace::Bgr || m_colorSpace == KxColorSpace::Bgra;
  const std::size_t step = m_lineSums.size() / static_cast<std::size_t>(m_width);
  const auto channels = static_cast<std::size_t>(m_channels);
  const std::int32_t group = 1 << kFirstShift;
  std::uint32_t* out = at(0).sums.data();
  const std::uint16_t* in = m_lineSums.data();
  for (std::int32_t x = 0; x < m_width; x += group, out += channels) {
    const std::int32_t pixels = std::min(group, m_width - x);
    std::uint32_t total[3] = {0, 0, 0};
    for (std::int32_t i = 0; i < pixels; ++i, in += step) {
      for (std::size_t c = 0; c < channels; ++c) total[c] += in[c];
    }
    if (swapped) std::swap(total[0], total[2]);
    std::copy_n(total, channels, out);
  }
  std::fill(m_lineSums.begin(), m_lineSums.end(), std::uint16_t{0});
}

void RasterLevels::endLine() {
  const std::int32_t line = lines() + 1;
  if ((line & ((1 << kFirstShift) - 1)) == 0) finishRow(0);
  m_lines.store(line, std::memory_order_relaxed);
}

void RasterLevels::storeRow(int level, std::uint8_t* out) const noexcept {
  const Level& l = at(level);
  const int s = shift(level);
  const auto channels = static_cast<std::size_t>(m_channels);
  const std::size_t inner = l.rowBytes - channels;  // the last column may cover fewer pixels
  if (m_ink) {
    const std::int32_t full = 1 << s;  // all the darkness there is
    for (std::size_t i = 0; i < inner; ++i) {
      const std::int32_t ink = std::min(static_cast<std::int32_t>(l.sums[i]), full);
      out[i] = static_cast<std::uint8_t>((ink * 255 + full / 2) >> s);
    }
  } else {
    const std::uint32_t half = (1U << (2 * s)) / 2;
    for (std::size_t i = 0; i < inner; ++i) out[i] = static_cast<std::uint8_t>((l.sums[i] + half) >> (2 * s));
  }
  const auto columns = static_cast<std::int64_t>(l.rowBytes / channels);
  const std::int64_t left = m_width - ((columns - 1) << s);
  const std::int64_t pixels = m_ink ? left : left << s;  // ink: the gain of 1 << s is in it
  for (std::size_t i = inner; i < l.rowBytes; ++i) {
    const std::int64_t sum = std::int64_t{l.sums[i]} * (m_ink ? 255 : 1);
    out[i] = static_cast<std::uint8_t>(std::min<std::int64_t>(255, (sum + pixels / 2) / pixels));
  }
}

void RasterLevels::finishRow(int level) {
  Level& l = at(level);
  const std::int32_t i = l.rows.load(std::memory_order_relaxed);
  const auto segment = static_cast<std::uint64_t>(i / kSegmentRows);
  if (segment >= l.store.count()) {
    l.store.grow(segment + 1);
    m_bytes.fetch_add(static_cast<std::int64_t>(l.store.segmentBytes()), std::memory_order_relaxed);
  }
  storeRow(level, m_row.data());
  l.store.write(segment, static_cast<std::size_t>(i % kSegmentRows) * l.rowBytes, m_row.data(), l.rowBytes);
  l.rows.store(i + 1, std::memory_order_release);
  l.parts = 0;
  if (level + 1 < count()) {
    Level& next = at(level + 1);
    if (m_channels == 1) {
      addPairs<1>(next.sums.data(), l.sums.data(), l.rowBytes);
    } else {
      addPairs<3>(next.sums.data(), l.sums.data(), l.rowBytes / 3);
    }
    if (++next.parts == 2) finishRow(level + 1);
  }
  std::fill(l.sums.begin(), l.sums.end(), 0U);
}

void RasterLevels::truncate(std::int32_t line) {
  if (line >= lines()) return;
  const int top = shift(count() - 1);
  line = line >> top << top;
  for (int i = 0; i < count(); ++i) {
    Level& l = at(i);
    l.rows.store(line >> shift(i), std::memory_order_release);
    l.parts = 0;
    std::fill(l.sums.begin(), l.sums.end(), 0U);
  }
  std::fill(m_lineSums.begin(), m_lineSums.end(), std::uint16_t{0});
  m_lines.store(line, std::memory_order_relaxed);
}

const std::uint8_t* RasterLevels::row(int level, std::int32_t i) const {
  const Level& l = at(level);
  return l.store.at(static_cast<std::uint64_t>(i / kSegmentRows)) +
         static_cast<std::size_t>(i % kSegmentRows) * l.rowBytes;
}

}  // namespace quillbay
