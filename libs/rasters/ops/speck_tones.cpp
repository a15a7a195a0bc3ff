#include "rasters/ops/speck_tones.h"

#include <algorithm>
#include <cstring>

namespace quillbay {
namespace {

/// Pixels around a speck that its ground is taken from, and its soft edge.
constexpr std::int32_t kAround = 3, kEdge = 1;
/// A speck is somewhere darker than the limit by this; less is the paper's grain.
constexpr std::uint32_t kLeastPeak = 16;

}  // namespace

SpeckTones::SpeckTones(IRStor& source, std::int32_t size)
    : m_pixels{storedWidth(source), source.GetHeight()},
      m_bytes(pixelBytes(source.GetColorSpace())),
      m_reader(source),
      m_brightness(source),
      // A speck is less than a quarter of a block.
      m_ground(source, std::max(32, 2 * size)),
      m_finder(size, 0),
      m_ring(static_cast<std::size_t>(m_finder.delay() + kEdge + 2 * kAround + 2)),
      m_limitRing(m_ring.size()) {
  for (Line& line : m_ring) {
    line.tones.resize(static_cast<std::size_t>(m_pixels.width));
    line.pixels.resize(line.tones.size() * m_bytes);
  }
}

const std::uint8_t* SpeckTones::line(std::int32_t line) {
  while (m_finder.lines() - m_finder.delay() - kEdge < line) markNext();
  return at(line).pixels.data();
}

void SpeckTones::readNext() {
  Line& line = at(m_read);
  m_reader.read(m_read, 0, m_pixels.width, line.pixels.data());
  m_brightness(line.pixels.data(), line.tones.size(), line.tones.data());
  m_limitRing[static_cast<std::size_t>(m_read) % m_ring.size()] = m_ground.limits(m_read);
  ++m_read;
}

/// Finds the dark runs of the next line, and erases the specks that have ended.
void SpeckTones::markNext() {
  const std::int32_t line = m_finder.lines();
  while (m_read < m_pixels.height && m_read <= line + kAround) readNext();
  if (line < m_pixels.height) markLine(at(line), m_limitRing[static_cast<std::size_t>(line) % m_ring.size()]);
  for (const SpeckFinder::Speck& speck : m_finder.endLine()) {
    if (speck.peak >= kLeastPeak) erase(speck);
  }
}

void SpeckTones::markLine(const Line& line, const std::vector<std::uint8_t>& limits) {
  const auto size = static_cast<std::size_t>(m_ground.blockSize());
  const std::uint8_t* const tones = line.tones.data();
  std::size_t first = 0;
  bool open = false;
  std::uint32_t peak = 0;
  const auto close = [&](std::size_t end) {
    if (open) m_finder.addRun(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end - 1), peak);
    open = false;
    peak = 0;
  };
  for (std::size_t block = 0; block < limits.size(); ++block) {
    const std::uint8_t limit = limits[block];
    const std::size_t from = block * size, to = std::min(from + size, line.tones.size());
    std::uint8_t darkest = 255;
    for (std::size_t x = from; x < to; ++x) darkest = std::min(darkest, tones[x]);
    if (darkest >= limit) {
      close(from);
      continue;
    }
    for (std::size_t x = from; x < to; ++x) {
      if (tones[x] >= limit) {
        close(x);
        continue;
      }
      if (!open) first = x;
      open = true;
      peak = std::max<std::uint32_t>(peak, static_cast<std::uint32_t>(limit - tones[x]));
    }
  }
  close(line.tones.size());
}

void SpeckTones::erase(const SpeckFinder::Speck& speck) {
  std::uint8_t pixel[4];
  groundAround(speck.bounds, pixel);
  for (std::int32_t y = speck.bounds.top; y < speck.bounds.bottom; ++y) {
    const auto& runs = m_finder.runs(y);
    auto run = std::lower_bound(runs.begin(), runs.end(), static_cast<std::uint32_t>(speck.bounds.left),
                                [](const SpeckFinder::Run& r, std::uint32_t x) { return r.last < x; });
    for (; run != runs.end() && static_cast<std::int32_t>(run->first) < speck.bounds.right; ++run) {
      if (!m_finder.isPartOf(*run, speck)) continue;
      for (std::int32_t line = y - kEdge; line <= y + kEdge; ++line) {
        paint(line, static_cast<std::int32_t>(run->first) - kEdge, static_cast<std::int32_t>(run->last) + 1 + kEdge,
              pixel);
      }
    }
  }
}

void SpeckTones::paint(std::int32_t line, std::int32_t first, std::int32_t end, const std::uint8_t* pixel) {
  if (line < 0 || line >= m_pixels.height) return;
  std::uint8_t* pixels = at(line).pixels.data();
  for (std::int32_t x = std::max(0, first); x < std::min(end, m_pixels.width); ++x) {
    std::memcpy(pixels + static_cast<std::size_t>(x) * m_bytes, pixel, m_bytes);
  }
}

/// What the ground looks like around a speck; what was erased beside it before is ground as well.
void SpeckTones::groundAround(const KxRect& bounds, std::uint8_t* pixel) {
  std::uint32_t sums[4] = {}, entries[256] = {}, count = 0;
  const auto size = static_cast<std::size_t>(m_ground.blockSize());
  const std::int32_t bottom = std::min(bounds.bottom + kAround, m_read);
  for (std::int32_t y = std::max(0, bounds.top - kAround); y < bottom; ++y) {
    const Line& line = at(y);
    const auto& limits = m_limitRing[static_cast<std::size_t>(y) % m_ring.size()];
    const auto end = static_cast<std::size_t>(std::min(bounds.right + kAround, m_pixels.width));
    for (auto x = static_cast<std::size_t>(std::max(0, bounds.left - kAround)); x < end; ++x) {
      if (line.tones[x] < limits[x / size]) continue;
      const std::uint8_t* p = line.pixels.data() + x * m_bytes;
      for (std::size_t b = 0; b < m_bytes; ++b) sums[b] += p[b];
      ++entries[p[0]];
      ++count;
    }
  }
  if (m_brightness.isIndexed()) {
    *pixel = static_cast<std::uint8_t>(std::max_element(std::begin(entries), std::end(entries)) - entries);
    return;
  }
  for (std::size_t b = 0; b < m_bytes; ++b) {
    pixel[b] = static_cast<std::uint8_t>(count == 0 ? 255 : (sums[b] + count / 2) / count);
  }
}

}  // namespace quillbay
