#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/tiff/ordered_team.h"
#include "channels/tiff/strip_encoders.h"
#include "channels/tiff/tile_reducer.h"

namespace quillbay {

/// Cuts a page of any length into square tiles and makes its reduced levels, each half of the one before, rounded
/// up, until one tile holds all of it. Holds the lines of a row of tiles (of several where the page is narrow), and
/// half of that for each level; whoever pushes waits while a row is encoded by all cores. Threads: used on one
/// thread. Errors: the first one is thrown from `push` or `finish`.
class TilePyramid {
 public:
  struct Setup {
    StripFormat format;           ///< of the page
    std::int32_t tileSize = 256;  ///< pixels, a multiple of 128
    bool hasLevels = true;
    std::vector<KXRGBQUAD> palette;
    /// Takes the next tile of a level, in the order of its rows; level 0 is the page. On the caller's thread.
    std::function<void(std::size_t level, const ByteBuffer&)> deliver;
  };
  explicit TilePyramid(Setup setup);

  void push(const QbBlock& block);
  void finish();

  struct Size {
    std::int32_t width;
    std::int64_t lines;
  };
  /// Of each level, the page first; complete after `finish`.
  [[nodiscard]] std::vector<Size> sizes() const;

 private:
  struct Level {
    std::int32_t width = 0, columns = 0;
    std::int32_t room = 0;    ///< lines that are encoded together
    std::int32_t filled = 0;  ///< of them
    std::int64_t lines = 0;   ///< before those
    KxColorSpace colorSpace = KxColorSpace::None;
    /// Where lines are copied to, all but those of tones of the page itself. A row is as long as its tiles.
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t stride = 0;
  };
  /// What a thread works with.
  struct Bench {
    std::unique_ptr<IBandEncoder> encoder;
    ByteBuffer tile;
    Band band;
  };
  /// A tile of those that are encoded together.
  struct Place {
    std::int32_t firstLine, lines;  ///< among the rows
    std::int32_t x, columns;        ///< that the page has
    std::int32_t column;            ///< of tiles
  };

  void addLevel(std::int32_t width, std::int32_t room);
  void encodeRows(std::size_t level, bool isLast);
  [[nodiscard]] bool isTop(const Level& level) const noexcept;
  [[nodiscard]] Place placeOf(const Level& level, std::size_t item) const noexcept;
  void makeTile(const Level& level, Level* next, const Place& place, Bench& bench, ByteBuffer& out) const;
  void cutTile(const Level& level, const Place& place, std::uint8_t* tile) const noexcept;
  void cutLine(const Level& level, const Place& place, const std::uint8_t* line, std::uint8_t* to) const noexcept;
  void halve(const Place& place, const std::uint8_t* tile, Level* next) const noexcept;
  [[nodiscard]] std::size_t lineBytes() const noexcept { return m_tileFormat.lineBytes(); }

  Setup m_setup;
  StripFormat m_tileFormat;
  std::optional<PaletteCells> m_cells;
  std::vector<std::unique_ptr<Level>> m_levels;
  Band m_band;                              // lines of the page that are filled
  std::vector<const std::uint8_t*> m_rows;  // what is encoded now, line by line
  std::vector<Bench> m_benches;
  OrderedTeam m_team;  // last: its threads use the others
};

}  // namespace quillbay
