#include "analysis/bound_extents.h"

#include <algorithm>
#include <cstring>

namespace quillbay {

namespace {

constexpr std::size_t kLeastSmoothed = 7, kLeastContrast = 9;
constexpr std::size_t kMargin = 3;             // columns at both ends that are not smoothed
constexpr std::ptrdiff_t kContrastMargin = 4;  // columns at both ends without a contrast
constexpr int kTogether = 5;                   // qualifying columns that count as an edge
constexpr std::size_t kRoom = BoundRowLoops::kLook + 16;

static_assert(kRoom > BoundRowLoops::kBefore && kRoom > BoundRowLoops::kBehind);

}  // namespace

RowExtentFinder::RowExtentFinder(std::int32_t width, std::int32_t threshold, const BoundRowLoops& loops)
    : m_loops(loops),
      m_width(static_cast<std::size_t>(std::max(width, 0))),
      m_all(threshold < 0 || threshold > 254),
      m_least(static_cast<std::int16_t>(m_all ? 0 : 255 - threshold)),
      m_previous(std::make_unique<std::uint8_t[]>(m_width)),
      m_smoothed(std::make_unique<std::uint8_t[]>(m_width)),
      m_memory(std::make_unique<std::uint16_t[]>(m_width + 2 * kRoom)),
      m_sums(m_memory.get() + kRoom) {}

void RowExtentFinder::begin(const std::uint8_t* row) noexcept { std::memcpy(m_previous.get(), row, m_width); }

void RowExtentFinder::smoothNarrow(const BoundBand& band, std::size_t x, std::size_t end) noexcept {
  for (; x < end; ++x) {
    const std::uint8_t *p = band.previous + x, *c = band.current + x, *n = band.next + x;
    const int sum = p[-1] + p[0] + p[1] + m_smoothed[x - 1] + 2 * c[0] + c[1] + n[-1] + n[0] + n[1];
    m_smoothed[x] = static_cast<std::uint8_t>(sum / 10);
    m_sums[x] = static_cast<std::uint16_t>(p[0] + m_smoothed[x] + n[0]);
  }
}

void RowExtentFinder::smooth(const BoundBand& band) noexcept {
  const auto keep = [&](std::size_t x) {
    m_smoothed[x] = band.current[x];
    m_sums[x] = static_cast<std::uint16_t>(band.previous[x] + band.current[x] + band.next[x]);
  };
  if (m_width < kLeastSmoothed) {
    for (std::size_t x = 0; x < m_width; ++x) keep(x);
    return;
  }
  for (std::size_t x = 0; x < kMargin; ++x) keep(x);
  const std::size_t end = m_width - kMargin;
  if (end - kMargin < BoundRowLoops::kPiece) {
    smoothNarrow(band, kMargin, end);
  } else {
    const std::size_t last = end - BoundRowLoops::kPiece;
    for (std::size_t x = kMargin; x < last; x += BoundRowLoops::kPiece) {
      m_loops.smooth(band, x, m_smoothed.get(), m_sums);
    }
    // The last piece overlaps the one before, and makes the same of what they share.
    m_loops.smooth(band, last, m_smoothed.get(), m_sums);
  }
  for (std::size_t x = end; x < m_width; ++x) keep(x);
}

// Where the scan from the left stops: the column that completes the first edge; -1 without one.
std::ptrdiff_t RowExtentFinder::firstEnd() noexcept {
  constexpr auto kLook = static_cast<std::ptrdiff_t>(BoundRowLoops::kLook);
  std::uint8_t ends[BoundRowLoops::kLook];
  const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(m_width) - 1 - kContrastMargin;
  for (std::ptrdiff_t x = kContrastMargin; x <= last; x += kLook) {
    if (!m_loops.findEdges(m_sums, x, kContrastMargin, last, m_least, ends)) continue;
    return x + (std::find_if(ends, ends + kLook, [](std::uint8_t e) { return e != 0; }) - ends);
  }
  return -1;
}

// The column that ends the last edge; there is one.
std::ptrdiff_t RowExtentFinder::lastEnd() noexcept {
  constexpr auto kLook = static_cast<std::ptrdiff_t>(BoundRowLoops::kLook);
  std::uint8_t ends[BoundRowLoops::kLook];
  const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(m_width) - 1 - kContrastMargin;
  for (std::ptrdiff_t x = last - kLook + 1; x + kLook > kContrastMargin; x -= kLook) {
    if (!m_loops.findEdges(m_sums, x, kContrastMargin, last, m_least, ends)) continue;
    std::ptrdiff_t i = kLook - 1;
    while (ends[i] == 0) --i;
    return x + i;
  }
  return -1;
}

RowExtent RowExtentFinder::everywhere() const noexcept {
  const auto w = static_cast<std::int32_t>(m_width);
  if (w - 2 < kTogether) return {};
  return {0, w - 1 - kTogether >= kTogether ? w - 1 : 0};
}

RowExtent RowExtentFinder::extentOf(const std::uint8_t* current, const std::uint8_t* next) noexcept {
  if (m_all) return everywhere();
  if (m_width < kLeastContrast) return {};
  smooth({m_previous.get(), current, next});
  std::swap(m_previous, m_smoothed);
  const std::ptrdiff_t first = firstEnd();
  if (first < 0) return {};
  const std::ptrdiff_t start = lastEnd() - (kTogether - 1);
  return {static_cast<std::int32_t>(first) - kTogether,
          start >= first ? static_cast<std::int32_t>(start) + kTogether : 0};
}

std::optional<KxRect> uniteExtents(std::span<const RowExtent> extents, std::int32_t width) noexcept {
  std::optional<KxRect> all;
  for (std::size_t y = 0; y < extents.size(); ++y) {
    if (extents[y].isEmpty()) continue;
    const auto row = static_cast<std::int32_t>(y);
    if (!all) all = {extents[y].left, row, extents[y].right, 0};
    all->left = std::min(all->left, extents[y].left);
    all->right = std::max(all->right, extents[y].right);
    all->bottom = row + 1;
  }
  if (!all) return all;
  all->left = std::max(all->left, 0);
  all->right = std::min(all->right, width);
  return all;
}

}  // namespace quillbay
