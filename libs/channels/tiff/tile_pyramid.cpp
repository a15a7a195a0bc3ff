#include "channels/tiff/tile_pyramid.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "channels/codec/line_bytes.h"

namespace quillbay {
namespace {

constexpr std::size_t kTilesPerMember = 8;                    // in rows that are encoded together
constexpr std::size_t kMostTogether = std::size_t{16} << 20;  // bytes of such rows, if more than one
constexpr std::size_t kMostLevels = 24;

void holdTile(void*) {}

constexpr std::int32_t half(std::int32_t n) noexcept { return n / 2 + n % 2; }

/// Tiles that so many pixels take.
constexpr std::int32_t tilesOf(std::int32_t pixels, std::int32_t tileSize) noexcept {
  return (pixels - 1) / tileSize + 1;
}

}  // namespace

TilePyramid::TilePyramid(Setup setup)
    : m_setup(std::move(setup)), m_tileFormat(m_setup.format), m_team(encoderThreads()) {
  m_tileFormat.width = m_setup.tileSize;
  if (isRunList(m_tileFormat.colorSpace)) {
    m_tileFormat.colorSpace = KxColorSpace::Bitonal;
  } else if (m_tileFormat.samples() == 3) {
    m_tileFormat.colorSpace = KxColorSpace::Rgb;
  } else if (m_tileFormat.colorSpace == KxColorSpace::Palette && m_setup.hasLevels) {
    m_cells.emplace(m_setup.palette);
  }
  m_benches = std::vector<Bench>(m_team.members());
  const auto columns = static_cast<std::size_t>(tilesOf(m_setup.format.width, m_setup.tileSize));
  const std::size_t rowBytes = columns * lineBytes() * static_cast<std::size_t>(m_setup.tileSize);
  std::int32_t rows = 1;
  while (static_cast<std::size_t>(rows) * columns < kTilesPerMember * m_team.members() &&
         2 * static_cast<std::size_t>(rows) * rowBytes <= kMostTogether) {
    rows *= 2;
  }
  addLevel(m_setup.format.width, rows * m_setup.tileSize);
}

void TilePyramid::addLevel(std::int32_t width, std::int32_t room) {
  auto level = std::make_unique<Level>();
  const bool isPage = m_levels.empty();
  level->width = width;
  level->columns = tilesOf(width, m_setup.tileSize);
  level->room = room;
  level->colorSpace =
      isPage && !isRunList(m_setup.format.colorSpace) ? m_setup.format.colorSpace : m_tileFormat.colorSpace;
  level->stride = static_cast<std::size_t>(level->columns) * lineBytes();
  if (!isPage || isRunList(m_setup.format.colorSpace)) {
    level->bytes = std::make_unique_for_overwrite<std::uint8_t[]>(level->stride * static_cast<std::size_t>(room));
  }
  m_levels.push_back(std::move(level));
}

void TilePyramid::push(const QbBlock& block) {
  Level& page = *m_levels.front();
  for (std::int32_t first = 0; first < block.lines;) {
    const std::int32_t count = std::min(block.lines - first, page.room - page.filled);
    m_band.add(block, first, count);
    if (page.bytes) {
      std::uint8_t* to = page.bytes.get() + static_cast<std::size_t>(page.filled) * page.stride;
      m_band.eachLine([&](const std::uint8_t* line, bool packed) {
        lineToBytes(m_setup.format.colorSpace, page.width, line, packed, to);
        to += page.stride;
      });
      m_band.clear();
    }
    first += count;
    page.filled += count;
    if (page.filled == page.room) encodeRows(0, false);
  }
}

void TilePyramid::finish() {
  for (std::size_t i = 0; i < m_levels.size(); ++i) {
    encodeRows(i, true);
    if (!isTop(*m_levels[i])) continue;
    m_levels.resize(i + 1);  // what was halved before the page's length was known
  }
}

std::vector<TilePyramid::Size> TilePyramid::sizes() const {
  std::vector<Size> sizes;
  sizes.reserve(m_levels.size());
  for (const auto& level : m_levels) sizes.push_back({level->width, level->lines});
  return sizes;
}

/// Of a level that is complete.
bool TilePyramid::isTop(const Level& level) const noexcept {
  return !m_setup.hasLevels || (level.columns == 1 && level.lines + level.filled <= m_setup.tileSize);
}

TilePyramid::Place TilePyramid::placeOf(const Level& level, std::size_t item) const noexcept {
  const auto columns = static_cast<std::size_t>(level.columns);
  const std::int32_t size = m_setup.tileSize;
  Place place{};
  place.firstLine = static_cast<std::int32_t>(item / columns) * size;
  place.lines = std::min(size, level.filled - place.firstLine);
  place.column = static_cast<std::int32_t>(item % columns);
  place.x = place.column * size;
  place.columns = std::min(size, level.width - place.x);
  return place;
}

/// Encodes the rows that a level has, and gives their halves to the next one.
void TilePyramid::encodeRows(std::size_t index, bool isLast) {
  Level& level = *m_levels[index];
  if (level.filled == 0) return;
  const bool isHalved = m_setup.hasLevels && index < kMostLevels && !(isLast && isTop(level));
  if (isHalved && index + 1 == m_levels.size()) {
    addLevel(half(level.width), std::max(level.room / 2, m_setup.tileSize));
  }
  Level* const next = isHalved ? m_levels[index + 1].get() : nullptr;
  m_rows.clear();
  if (level.bytes) {
    for (std::int32_t y = 0; y < level.filled; ++y) {
      m_rows.push_back(level.bytes.get() + static_cast<std::size_t>(y) * level.stride);
    }
  } else {
    m_band.eachLine([this](const std::uint8_t* line) { m_rows.push_back(line); });
  }
  const std::int32_t tileRows = tilesOf(level.filled, m_setup.tileSize);
  m_team.run(
      static_cast<std::size_t>(tileRows) * static_cast<std::size_t>(level.columns),
      [&](std::size_t item, unsigned member, ByteBuffer& out) {
        makeTile(level, next, placeOf(level, item), m_benches[member], out);
      },
      [&](const ByteBuffer& tile) { m_setup.deliver(index, tile); });
  if (!level.bytes) m_band.clear();
  level.lines += level.filled;
  const std::int32_t halved = half(level.filled);
  level.filled = 0;
  if (!next) return;
  next->filled += halved;
  if (next->filled == next->room) encodeRows(index + 1, false);
}

void TilePyramid::makeTile(const Level& level, Level* next, const Place& place, Bench& bench,
                           ByteBuffer& out) const {
  const std::size_t size = lineBytes() * static_cast<std::size_t>(m_setup.tileSize);
  const bool isPlain = m_tileFormat.compression == TiffCompression::None;
  std::uint8_t* const tile = (isPlain ? out : bench.tile).room(size);
  cutTile(level, place, tile);
  if (next) halve(place, tile, next);
  if (isPlain) return out.setSize(size);
  if (!bench.encoder) bench.encoder = makeStripEncoder(m_tileFormat);
  QbBlock block{};
  block.lines = m_setup.tileSize;
  block.bytes = tile;
  block.stride = lineBytes();
  block.packed = 1;
  block.add_hold = block.release_hold = holdTile;
  bench.band.add(block, 0, block.lines);
  bench.encoder->encode(bench.band, out);
  bench.band.clear();
}

/// The tile's lines as the file has them. Tones beyond the page's edges repeat the last pixel and line, which costs
/// least in every compression; bits are white there.
void TilePyramid::cutTile(const Level& level, const Place& place, std::uint8_t* tile) const noexcept {
  const std::uint8_t* const* rows = m_rows.data() + place.firstLine;
  for (std::int32_t y = 0; y < place.lines; ++y) {
    cutLine(level, place, rows[y], tile + static_cast<std::size_t>(y) * lineBytes());
  }
  for (std::int32_t y = place.lines; y < m_setup.tileSize; ++y) {
    std::uint8_t* to = tile + static_cast<std::size_t>(y) * lineBytes();
    if (m_tileFormat.colorSpace == KxColorSpace::Bitonal) {
      std::memset(to, 0, lineBytes());
    } else {
      std::memcpy(to, to - lineBytes(), lineBytes());
    }
  }
}

void TilePyramid::cutLine(const Level& level, const Place& place, const std::uint8_t* line,
                          std::uint8_t* to) const noexcept {
  const auto columns = static_cast<std::size_t>(place.columns), x = static_cast<std::size_t>(place.x);
  if (level.colorSpace == KxColorSpace::Bitonal) {
    const std::size_t used = (columns + 7) / 8;
    std::memcpy(to, line + x / 8, used);
    if (columns % 8 != 0) to[used - 1] = static_cast<std::uint8_t>(to[used - 1] & 0xff00 >> columns % 8);
    std::memset(to + used, 0, lineBytes() - used);
    return;
  }
  const auto step = static_cast<std::size_t>(bitsPerPixel(level.colorSpace)) / 8;
  lineToBytes(level.colorSpace, place.columns, line + x * step, false, to);
  const auto samples = static_cast<std::size_t>(m_tileFormat.samples());
  for (std::size_t i = columns * samples; i < lineBytes(); ++i) to[i] = to[i - samples];
}

void TilePyramid::halve(const Place& place, const std::uint8_t* tile, Level* next) const noexcept {
  const std::int32_t line = next->filled + place.firstLine / 2;
  const TileHalving halving{tile,
                            lineBytes(),
                            next->bytes.get() + static_cast<std::size_t>(line) * next->stride +
                                static_cast<std::size_t>(place.column) * (lineBytes() / 2),
                            next->stride,
                            m_setup.tileSize,
                            half(place.lines)};
  if (m_cells) return halvePalette(halving, *m_cells);
  if (m_tileFormat.colorSpace == KxColorSpace::Bitonal) return halveInk(halving);
  halveTones(halving, m_tileFormat.samples());
}

}  // namespace quillbay
