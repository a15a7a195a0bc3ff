/// Turns by any angle, tile by tile: of the source only the boxes under the tiles at work are held.
#include <cmath>
#include <cstring>
#include <numbers>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "rasters/ops/bit_lines.h"
#include "rasters/ops/line_bands.h"
#include "rasters/ops/op_workers.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/rotate_frame.h"

namespace quillbay {
namespace {

/// Width and height of a tile: its box of colour cells fits a core's second cache.
constexpr std::int32_t kTile = 256;

/// The part of first..end-1 that lies within 0..length-1.
struct Inside {
  Inside(std::int32_t first, std::int32_t end, std::int32_t length)
      : from(std::clamp(0, first, end)), to(std::clamp(length, from, end)) {}
  std::int32_t from, to;
};

/// Goes through the result band by band: while the threads fill one, the one before goes to the raster.
/// `Bands` has `fillTile(band, tile, worker)` and `give(band, lines)`, band 0 or 1.
template <class Bands>
bool rotateBands(Bands& bands, const RotateFrame& frame, std::int32_t bandLines, OpWorkers& workers,
                 IProgress* progress) {
  const auto width = static_cast<std::int32_t>(frame.width());
  const auto height = static_cast<std::int32_t>(frame.height());
  OpProgress step(progress, height);
  std::size_t filling = 0;
  std::int32_t waiting = 0;  // lines of the other band
  for (std::int32_t top = 0; top < height; top += bandLines) {
    const std::int32_t bottom = std::min(height - top, bandLines) + top;
    workers.run(
        (width + kTile - 1) / kTile,
        [&](std::int64_t i, std::size_t worker) {
          const auto left = static_cast<std::int32_t>(i) * kTile;
          bands.fillTile(filling, frame.tile({left, top, std::min(width - left, kTile) + left, bottom}), worker);
        },
        [&] { bands.give(1 - filling, waiting); });
    waiting = bottom - top;
    filling = 1 - filling;
    if (!step.reached(bottom)) return false;
  }
  bands.give(1 - filling, waiting);
  return true;
}

/// The boxes of the tiles at work, one for each thread.
template <class Cell>
struct TileBox {
  std::vector<Cell> cells;
  std::size_t stride = 0;
  std::vector<std::uint8_t> pixels;  // of a line

  void resize(const KxRect& box, std::size_t bytes) {
    stride = static_cast<std::size_t>(box.right - box.left);
    cells.resize(stride * static_cast<std::size_t>(box.bottom - box.top));
    pixels.resize((stride + 1) * bytes);
  }
  [[nodiscard]] Cell* row(std::int32_t i) noexcept { return cells.data() + static_cast<std::size_t>(i) * stride; }
};

/// Bands of pixels, sampled by `Kernel`.
template <class Kernel>
class PixelBands {
 public:
  PixelBands(IRStor& source, RasterBase& target, const RotateFrame& frame, std::int32_t lines, std::size_t workers)
      : m_frame(frame),
        m_four(source.GetColorSpace() == KxColorSpace::Four),
        m_bands{{target, lines}, {target, lines}},
        m_boxes(workers) {
    const bool indexed = m_four || source.GetColorSpace() == KxColorSpace::Palette;
    if (indexed) m_white = whiteEntry(source.GetColorSpace(), paletteOf(source));
    for (std::size_t i = 0; i < workers; ++i) m_readers.emplace_back(source);
  }

  void give(std::size_t band, std::int32_t lines) { m_bands[band].give(lines); }

  void fillTile(std::size_t band, const RotateTile& tile, std::size_t worker) {
    TileBox<typename Kernel::Cell>& box = m_boxes[worker];
    const bool touched = loadBox(tile.box, box, m_readers[worker]);
    const auto left = static_cast<std::size_t>(tile.pixels.left);
    const std::int32_t count = tile.pixels.right - tile.pixels.left;
    for (std::int32_t y = tile.pixels.top; y < tile.pixels.bottom; ++y) {
      std::uint8_t* line = m_bands[band].line(y - tile.pixels.top);
      std::uint8_t indices[kTile];
      std::uint8_t* out = m_four ? indices : line + left * Kernel::kBytes;
      if (touched) {
        Kernel::sample(box.cells.data(), box.stride, m_frame.samples(tile, y), out);
      } else {
        std::memset(out, m_white, static_cast<std::size_t>(count) * Kernel::kBytes);
      }
      if (m_four) packFour(indices, count, line + left / 2);
    }
  }

 private:
  /// False when the box lies beside the source.
  bool loadBox(const KxRect& at, TileBox<typename Kernel::Cell>& box, PixelReader& reader) const {
    const Inside columns(at.left, at.right + 1, m_frame.from().width);
    const Inside rows(at.top, at.bottom, m_frame.from().height);
    if (columns.from >= columns.to || rows.from >= rows.to) return false;
    box.resize(at, Kernel::kBytes);
    std::uint8_t* inside = box.pixels.data() + static_cast<std::size_t>(columns.from - at.left) * Kernel::kBytes;
    for (std::int32_t y = at.top; y < at.bottom; ++y) {
      const bool blank = y < rows.from || y >= rows.to;
      // What lies left and right of the source stays white from line to line.
      if (blank || y == at.top || y == rows.from) std::memset(box.pixels.data(), m_white, box.pixels.size());
      if (!blank) reader.read(y, columns.from, columns.to - columns.from, inside);
      Kernel::load(box.pixels.data(), box.stride, box.row(y - at.top));
    }
    return true;
  }

  const RotateFrame& m_frame;
  const bool m_four;
  std::uint8_t m_white = 255;
  PixelBand m_bands[2];
  std::vector<TileBox<typename Kernel::Cell>> m_boxes;
  std::vector<PixelReader> m_readers;
};

/// Bands of bits, which become run lists.
class RunBands {
 public:
  RunBands(IRStor& source, RasterBase& target, const RotateFrame& frame, std::size_t workers)
      : m_frame(frame), m_runs(target), m_words(bitWords(frame.width())), m_boxes(workers) {
    for (auto& bits : m_bits) bits.resize(m_words * kTile);
    for (std::size_t i = 0; i < workers; ++i) m_readers.emplace_back(source);
  }

  void give(std::size_t band, std::int32_t lines) {
    for (std::int32_t i = 0; i < lines; ++i) m_runs.addLine(line(band, i));
    m_runs.flush();
  }

  void fillTile(std::size_t band, const RotateTile& tile, std::size_t worker) {
    TileBox<std::uint32_t>& box = m_boxes[worker];
    const bool touched = loadBox(tile.box, box, m_readers[worker]);
    const auto left = static_cast<std::size_t>(tile.pixels.left) / 64;
    const std::size_t words = bitWords(tile.pixels.right - tile.pixels.left);
    for (std::int32_t y = tile.pixels.top; y < tile.pixels.bottom; ++y) {
      std::uint64_t* out = line(band, y - tile.pixels.top) + left;
      if (touched) {
        BitKernel::sample(box.cells.data(), box.stride, m_frame.samples(tile, y), out);
      } else {
        std::fill_n(out, words, 0);
      }
    }
  }

 private:
  [[nodiscard]] std::uint64_t* line(std::size_t band, std::int32_t i) noexcept {
    return m_bits[band].data() + static_cast<std::size_t>(i) * m_words;
  }

  /// False when the box is blank.
  bool loadBox(const KxRect& at, TileBox<std::uint32_t>& box, RunReader& reader) const {
    const Inside columns(at.left, at.right + 1, m_frame.from().width);
    const Inside rows(at.top, at.bottom, m_frame.from().height);
    if (columns.from >= columns.to || rows.from >= rows.to) return false;
    box.resize(at, 1);
    std::uint8_t* inside = box.pixels.data() + (columns.from - at.left);
    bool any = false, dirty = true;
    for (std::int32_t y = at.top; y < at.bottom; ++y) {
      if (dirty) std::fill(box.pixels.begin(), box.pixels.end(), std::uint8_t{0});
      dirty = false;
      if (y >= rows.from && y < rows.to) {
        eachRunWithin(reader.read(y), static_cast<std::uint32_t>(columns.from),
                      static_cast<std::uint32_t>(columns.to), [&](std::uint32_t first, std::uint32_t last) {
                        std::memset(inside + first, 1, last - first + 1);
                        dirty = true;
                      });
      }
      any = any || dirty;
      BitKernel::load(box.pixels.data(), box.stride, box.row(y - at.top));
    }
    return any;
  }

  const RotateFrame& m_frame;
  RunBand m_runs;
  const std::size_t m_words;
  std::vector<std::uint64_t> m_bits[2];
  std::vector<TileBox<std::uint32_t>> m_boxes;
  std::vector<RunReader> m_readers;
};

template <class Kernel>
bool rotatePixels(IRStor& source, RasterBase& target, const RotateFrame& frame, IProgress* progress) {
  const std::size_t lineBytes = fixedLineBytes(source.GetColorSpace(), target.GetWidth());
  const std::int32_t lines = std::min(kTile, bandLines(kBandBytes, lineBytes));
  OpWorkers workers;
  PixelBands<Kernel> bands(source, target, frame, lines, workers.count());
  return rotateBands(bands, frame, lines, workers, progress);
}

bool rotateRuns(IRStor& source, RasterBase& target, const RotateFrame& frame, IProgress* progress) {
  OpWorkers workers;
  RunBands bands(source, target, frame, workers.count());
  return rotateBands(bands, frame, kTile, workers, progress);
}

bool rotate(IRStor& source, RasterBase& target, const RotateFrame& frame, IProgress* progress) {
  switch (source.GetColorSpace()) {
    case KxColorSpace::Four:
    case KxColorSpace::Palette: return rotatePixels<IndexKernel>(source, target, frame, progress);
    case KxColorSpace::Grey: return rotatePixels<GreyKernel>(source, target, frame, progress);
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return rotatePixels<ColorKernel<3>>(source, target, frame, progress);
    case KxColorSpace::Rgba:
    case KxColorSpace::Bgra: return rotatePixels<ColorKernel<4>>(source, target, frame, progress);
    default: return rotateRuns(source, target, frame, progress);
  }
}

}  // namespace

KxPtr<IRStor> rotateOnto(IRStor& source, RotateFrame frame, IProgress* progress) {
  // Code 4 holds pairs of pixels.
  if (source.GetColorSpace() == KxColorSpace::Four) frame.setWidth((frame.width() + 1) / 2 * 2);
  checkSize(frame.width(), frame.height());
  const auto target = newLike(source, frame.width(), 0);
  return rotate(source, *target, frame, progress) ? target.as<IRStor>() : KxPtr<IRStor>{};
}

KxPtr<IRStor> rotateRaster(IRStor* source, double radians, IProgress* progress) {
  requireLines(source);
  if (!std::isfinite(radians))
    throw CXIFaceException(Supp_Translate("The angle to rotate the page by is not a number."));
  constexpr double kExact = 1e-7;  // less than a tenth of a pixel at the end of the largest page
  const double quarters = std::remainder(radians, 2 * std::numbers::pi) / (std::numbers::pi / 2);
  const double whole = std::round(quarters);
  if (std::abs(quarters - whole) < kExact) return rotateQuarters(source, static_cast<int>(whole), progress);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  if (size.width <= 0 || size.height <= 0) return rotateQuarters(source, 0, progress);
  return rotateOnto(*source, RotateFrame(size, radians), progress);
}

}  // namespace quillbay
