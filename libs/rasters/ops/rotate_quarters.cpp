/// Exact turns by quarters, in blocks.
#include <cstring>

#include "rasters/ops/bit_lines.h"
#include "rasters/ops/line_ops.h"
#include "rasters/ops/op_workers.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

/// Source lines that are held at once: wide enough blocks of the result that its lines are not touched too often.
constexpr std::size_t kTurnBytes = std::size_t{64} << 20;
/// Source columns that are turned as one part of the work: a cache line of grey.
constexpr std::int32_t kPartColumns = 64;
/// Parts that are turned before they are written.
constexpr std::int32_t kPartsAtOnce = 8;

/// Turns 1 or 3 quarters clockwise: source column x becomes line x (or, turned the other way, the last but x).
struct Turn {
  bool clockwise;
  KxSize from;  // with the stored width
  [[nodiscard]] std::int32_t sourceLine(std::int32_t column) const noexcept {
    return clockwise ? from.height - 1 - column : column;
  }
  [[nodiscard]] std::int32_t sourceColumn(std::int32_t line) const noexcept {
    return clockwise ? line : from.width - 1 - line;
  }
};

template <std::size_t bytes>
void turnBlock(const std::uint8_t* source, std::size_t stride, std::ptrdiff_t columnStep, std::int32_t columns,
               std::int32_t lines, std::uint8_t* out, std::size_t outStride) noexcept {
  constexpr std::int32_t kLinesAtOnce = 32;
  for (std::int32_t top = 0; top < lines; top += kLinesAtOnce) {
    const std::int32_t count = std::min(kLinesAtOnce, lines - top);
    const std::uint8_t* from = source + static_cast<std::size_t>(top) * stride;
    std::uint8_t* to = out + static_cast<std::size_t>(top) * bytes;
    for (std::int32_t c = 0; c < columns; ++c, from += columnStep, to += outStride) {
      for (std::int32_t i = 0; i < count; ++i) {
        std::memcpy(to + static_cast<std::size_t>(i) * bytes, from + static_cast<std::size_t>(i) * stride, bytes);
      }
    }
  }
}

/// Turns lines of pixels: a band of source lines becomes a block of columns.
class PixelTurner {
 public:
  PixelTurner(IRStor& source, RasterBase& target, const Turn& turn)
      : m_turn(turn),
        m_four(source.GetColorSpace() == KxColorSpace::Four),
        m_bytes(pixelBytes(source.GetColorSpace())),
        // Neighbours down a column must not all fall into the same places of the cache.
        m_stride((static_cast<std::size_t>(turn.from.width) * m_bytes + 127) / 128 * 128 + 64),
        m_lines(std::min(bandLines(kTurnBytes, m_stride, 64) / 64 * 64, (turn.from.height + 1) / 2 * 2)),
        m_band(std::make_unique_for_overwrite<std::uint8_t[]>(m_stride * static_cast<std::size_t>(m_lines))),
        m_writer(KxPtr<IAccessContext>::adopt(target.GetAccessContext(1, 0))),
        m_white(whiteEntry(KxColorSpace::Four, paletteOf(source))) {
    m_out = std::make_unique_for_overwrite<std::uint8_t[]>(2 * kGroup * outStride());
    for (std::size_t i = 0; i < m_workers.count(); ++i) m_readers.emplace_back(source);
  }

  bool run(IProgress* progress) {
    OpProgress step(progress, std::int64_t{m_turn.from.height} * m_turn.from.width);
    for (std::int32_t column = 0; column < m_turn.from.height; column += m_lines) {
      m_column = column;
      m_count = std::min(m_lines, m_turn.from.height - column);
      readBand();
      if (!writeBlock(step)) return false;
    }
    return true;
  }

 private:
  static constexpr std::int32_t kGroup = kPartColumns * kPartsAtOnce;
  [[nodiscard]] std::size_t outStride() const noexcept { return static_cast<std::size_t>(m_lines) * m_bytes; }

  void readBand() {
    constexpr std::int32_t kLinesAtOnce = 16;
    m_workers.run((m_count + kLinesAtOnce - 1) / kLinesAtOnce, [this](std::int64_t part, std::size_t worker) {
      const auto first = static_cast<std::int32_t>(part) * kLinesAtOnce;
      for (std::int32_t i = first; i < std::min(first + kLinesAtOnce, m_count); ++i) {
        m_readers[worker].read(m_turn.sourceLine(m_column + i), 0, m_turn.from.width,
                               m_band.get() + static_cast<std::size_t>(i) * m_stride);
      }
    });
    if (m_four && m_count % 2 != 0) {  // code 4 is written in pairs
      std::memset(m_band.get() + static_cast<std::size_t>(m_count) * m_stride, m_white, m_stride);
      ++m_count;
    }
  }

  /// Turns lines of the result on all threads while those before are being written.
  bool writeBlock(OpProgress& step) {
    const std::int32_t lines = m_turn.from.width;
    const std::int64_t before = std::int64_t{m_column} * lines;
    for (std::int32_t line = 0, written = 0; written < lines; line += kGroup) {
      const std::int32_t count = std::clamp(lines - line, 0, kGroup);
      m_workers.run((count + kPartColumns - 1) / kPartColumns,
                    [&](std::int64_t part, std::size_t) {
                      const std::int32_t first = static_cast<std::int32_t>(part) * kPartColumns;
                      turnPart(line + first, std::min(kPartColumns, count - first), outLine(line + first));
                    },
                    [&] {
                      for (; written < line && written < lines; ++written) writeLine(written, outLine(written));
                    });
      if (!step.reached(before + std::int64_t{m_count} * written)) return false;
    }
    return true;
  }

  /// Where a line of the result is kept until it is written: in one of two groups.
  [[nodiscard]] std::uint8_t* outLine(std::int32_t line) noexcept {
    return m_out.get() + static_cast<std::size_t>(line % (2 * kGroup)) * outStride();
  }

  void turnPart(std::int32_t line, std::int32_t lines, std::uint8_t* out) const noexcept {
    const std::uint8_t* from = m_band.get() + static_cast<std::size_t>(m_turn.sourceColumn(line)) * m_bytes;
    const auto columnStep = static_cast<std::ptrdiff_t>(m_bytes) * (m_turn.clockwise ? 1 : -1);
    switch (m_bytes) {
      case 1: return turnBlock<1>(from, m_stride, columnStep, lines, m_count, out, outStride());
      case 3: return turnBlock<3>(from, m_stride, columnStep, lines, m_count, out, outStride());
      default: return turnBlock<4>(from, m_stride, columnStep, lines, m_count, out, outStride());
    }
  }

  void writeLine(std::int32_t line, const std::uint8_t* pixels) {
    if (m_four) {
      m_packed.resize(static_cast<std::size_t>(m_lines) / 2 + 1);
      packFour(pixels, m_count, m_packed.data());
      pixels = m_packed.data();
    }
    m_writer->WriteLine(line, m_column, m_count, pixels);
  }

  const Turn m_turn;
  const bool m_four;
  const std::size_t m_bytes;
  const std::size_t m_stride;
  const std::int32_t m_lines;  // of a band; even
  const std::unique_ptr<std::uint8_t[]> m_band;
  const KxPtr<IAccessContext> m_writer;
  const std::uint8_t m_white;
  std::unique_ptr<std::uint8_t[]> m_out;
  std::vector<std::uint8_t> m_packed;
  std::vector<PixelReader> m_readers;  // one for each worker
  std::int32_t m_column = 0, m_count = 0;
  OpWorkers m_workers;
};

/// Turns run lists: for a band of source columns all lines are looked through, and blocks of 64 x 64 pixels turned.
class RunTurner {
 public:
  RunTurner(IRStor& source, RasterBase& target, const Turn& turn)
      : m_reader(source), m_band(target), m_turn(turn), m_words(bitWords(turn.from.height)) {
    const std::size_t blocks = kBandBytes * 2 / std::max<std::size_t>(1, m_words * 64 * 8);
    m_columns = static_cast<std::int32_t>(std::clamp<std::size_t>(blocks, 1, 64) * 64);
    m_lines.resize(static_cast<std::size_t>(m_columns) * m_words);
    m_rows.resize(64 * bitWords(m_columns));
  }

  bool run(IProgress* progress) {
    OpProgress step(progress, std::int64_t{m_turn.from.height} * m_turn.from.width);
    for (std::int32_t line = 0; line < m_turn.from.width; line += m_columns) {
      const std::int32_t count = std::min(m_columns, m_turn.from.width - line);
      if (!fillBand(line, count, step)) return false;
      for (std::int32_t i = 0; i < count; ++i) {
        // Columns were taken from the left, lines go down along them, or up.
        const std::int32_t at = m_turn.clockwise ? i : count - 1 - i;
        m_band.addLine(m_lines.data() + static_cast<std::size_t>(at) * m_words);
      }
    }
    m_band.flush();
    return true;
  }

 private:
  /// Fills the bits of the result's lines from `line` on.
  bool fillBand(std::int32_t line, std::int32_t count, OpProgress& step) {
    const std::int32_t left = m_turn.clockwise ? line : m_turn.from.width - line - count;
    const std::int64_t before = std::int64_t{line} * m_turn.from.height;
    for (std::size_t word = 0; word < m_words; ++word) {
      const auto column = static_cast<std::int32_t>(word) * 64;
      fillWord(word, left, count);
      if (word % 16 == 15 && !step.reached(before + std::int64_t{column + 64} * count)) return false;
    }
    return step.reached(before + std::int64_t{m_turn.from.height} * count);
  }

  /// 64 columns of the result, from as many source lines.
  void fillWord(std::size_t word, std::int32_t left, std::int32_t count) {
    const std::size_t rowWords = bitWords(count);
    std::fill(m_rows.begin(), m_rows.end(), 0);
    bool any = false;
    for (std::size_t i = 0; i < 64; ++i) {
      const std::int64_t column = static_cast<std::int64_t>(word * 64 + i);
      if (column >= m_turn.from.height) break;
      std::uint64_t* row = m_rows.data() + i * rowWords;
      eachRunWithin(m_reader.read(m_turn.sourceLine(static_cast<std::int32_t>(column))),
                    static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(left + count),
                    [&](std::uint32_t first, std::uint32_t last) {
                      setBits(row, first, last);
                      any = true;
                    });
    }
    for (std::size_t block = 0; block < rowWords; ++block) {
      std::uint64_t square[64] = {};
      for (std::size_t i = 0; any && i < 64; ++i) square[i] = m_rows[i * rowWords + block];
      if (any) transpose64(square);
      for (std::size_t i = 0; i < 64; ++i) m_lines[(block * 64 + i) * m_words + word] = square[i];
    }
  }

  RunReader m_reader;
  RunBand m_band;
  const Turn m_turn;
  const std::size_t m_words;  // of a line of the result
  std::int32_t m_columns;     // of a band; a multiple of 64
  std::vector<std::uint64_t> m_lines;
  std::vector<std::uint64_t> m_rows;  // 64 source lines
};

KxPtr<IRStor> turnQuarter(IRStor& source, bool clockwise, IProgress* progress) {
  const Turn turn{clockwise, {storedWidth(source), source.GetHeight()}};
  if (isRunList(source.GetColorSpace())) {
    const auto target = newLike(source, turn.from.height, 0);
    return RunTurner(source, *target, turn).run(progress) ? target.as<IRStor>() : KxPtr<IRStor>{};
  }
  // Code 4 holds pairs of pixels: an odd number of columns gets a white one.
  const bool four = source.GetColorSpace() == KxColorSpace::Four;
  const std::int64_t width = four ? (std::int64_t{turn.from.height} + 1) / 2 * 2 : turn.from.height;
  const auto target = newLike(source, width, 0);
  target->addUnsetLines(turn.from.width);
  if (turn.from.width <= 0 || turn.from.height <= 0) return target.as<IRStor>();
  return PixelTurner(source, *target, turn).run(progress) ? target.as<IRStor>() : KxPtr<IRStor>{};
}

/// Turns by half when `reversed`, else copies.
KxPtr<IRStor> turnHalf(IRStor& source, bool reversed, IProgress* progress) {
  const auto target = newLike(source, source.GetWidth(), 0);
  const LineCopy copy{{0, 0, storedWidth(source), source.GetHeight()}, reversed};
  const auto end = static_cast<std::uint32_t>(copy.part.right);
  const std::size_t bytes = pixelBytes(source.GetColorSpace());
  bool whole = false;
  if (isRunList(source.GetColorSpace())) {
    whole = copyRunLines(source, *target, copy, progress, [&](const RunView& list, RunBand& band) {
      for (std::size_t i = 0; i < list.count; ++i) {
        const std::uint32_t* run = list.runs + 2 * (reversed ? list.count - 1 - i : i);
        if (reversed) {
          band.addRun(end - 1 - run[1], end - 1 - run[0]);
        } else {
          band.addRun(run[0], run[1]);
        }
      }
    });
  } else {
    whole = copyPixelLines(source, *target, copy, progress, [&](std::uint8_t* pixels, std::int32_t count) {
      if (reversed) reversePixels(pixels, count, bytes);
    });
  }
  return whole ? target.as<IRStor>() : KxPtr<IRStor>{};
}

}  // namespace

KxPtr<IRStor> rotateQuarters(IRStor* source, int quarters, IProgress* progress) {
  requireLines(source);
  const int turns = (quarters % 4 + 4) % 4;
  if (turns % 2 == 0) return turnHalf(*source, turns == 2, progress);
  return turnQuarter(*source, turns == 1, progress);
}

}  // namespace quillbay
