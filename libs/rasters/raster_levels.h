#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "quillbay/color_space.h"
#include "rasters/draw_tones.h"
#include "rasters/raster_space.h"
#include "rasters/run_lists.h"
#include "rasters/segment_store.h"

namespace quillbay {

/// Reduced pictures of a raster, each half as wide and high as the one before: what a shrunk picture is drawn from,
/// so that drawing costs what it shows and not what the raster holds.
///
/// A level's pixel is the exact average of the raster's pixels under it (grey as grey, all else as R, G, B); of
/// run lists it is the darkness 0..255 that `RunReducer` would give it, so that thin lines stay. The last column
/// averages the pixels that are there. A row comes to be when all its lines are there; the last lines of a raster
/// whose height is no multiple have no row.
///
/// Memory: the first level is a quarter as wide and high as the raster. With those above it, it takes a twelfth of
/// colour and grey, a quarter of indices, and of run lists a twelfth of a byte per pixel. Room is taken as a raster
/// takes it: from the budget, then from a scratch file.
///
/// Threads: one builder at a time; any number of readers of finished rows beside it.
class RasterLevels {
 public:
  /// `width` > 0.
  RasterLevels(const RasterPolicy& policy, KxColorSpace colorSpace, std::int32_t width);
  RasterLevels(const RasterLevels&) = delete;
  RasterLevels& operator=(const RasterLevels&) = delete;

  // Builder.
  /// The colours of indices from the next line on.
  void setPalette(const Palette& palette) { m_colors = pixelBytes(palette); }
  /// Takes the raster's next line in. Throws CXMemException; no line may be added afterwards (`setFailed`).
  void addLine(const std::uint8_t* line);
  void addLine(const RunView& runs);
  /// Forgets the lines from `line` on, and a few before it.
  void truncate(std::int32_t line);
  /// No more lines will be taken in.
  void setFailed() noexcept { m_failed.store(true, std::memory_order_relaxed); }

  // Any thread.
  [[nodiscard]] bool failed() const noexcept { return m_failed.load(std::memory_order_relaxed); }
  /// Lines that were taken in.
  [[nodiscard]] std::int32_t lines() const noexcept { return m_lines.load(std::memory_order_relaxed); }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(m_levels.size()); }
  /// The level is 1 << shift times as small as the raster.
  [[nodiscard]] int shift(int level) const noexcept { return kFirstShift + level; }
  /// Finished rows.
  [[nodiscard]] std::int32_t rows(int level) const noexcept {
    return at(level).rows.load(std::memory_order_acquire);
  }
  /// A finished row: a byte or three per pixel.
  [[nodiscard]] const std::uint8_t* row(int level, std::int32_t i) const;
  /// Darkness of run lists, not tones.
  [[nodiscard]] bool isInk() const noexcept { return m_ink; }
  /// How the rows of tones are to be read.
  [[nodiscard]] KxColorSpace rowSpace() const noexcept {
    return m_channels == 1 ? KxColorSpace::Grey : KxColorSpace::Rgb;
  }
  /// Room that the levels take.
  [[nodiscard]] std::int64_t bytes() const noexcept { return m_bytes.load(std::memory_order_relaxed); }

 private:
  static constexpr int kFirstShift = 2;

  struct Level {
    Level(RasterSpace& space, std::int32_t pixels, int channels);
    std::size_t rowBytes;
    SegmentStore store;
    std::atomic<std::int32_t> rows{0};
    std::vector<std::uint32_t> sums;  // of the raster's pixels, for the row that is being made
    int parts = 0;                    // rows of the finer level in `sums`
  };
  [[nodiscard]] Level& at(int level) const noexcept { return *m_levels[static_cast<std::size_t>(level)]; }
  void sumColumns() noexcept;
  void endLine();
  void finishRow(int level);
  void storeRow(int level, std::uint8_t* out) const noexcept;

  const KxColorSpace m_colorSpace;
  const std::int32_t m_width;
  const bool m_ink;
  const int m_channels;  // bytes per pixel of rows
  RasterSpace m_space;
  std::vector<std::unique_ptr<Level>> m_levels;
  std::atomic<std::int32_t> m_lines{0};
  std::atomic<std::int64_t> m_bytes{0};
  std::atomic<bool> m_failed{false};

  // Builder only.
  PixelBytes m_colors{};
  std::vector<std::uint8_t> m_expanded;   // a line of indices as R, G, B, 0
  std::vector<std::uint16_t> m_lineSums;  // the lines of the first level's row, byte by byte
  std::vector<std::uint8_t> m_row;
  const ToneLoops& m_loops = toneLoops();
};

}  // namespace quillbay
