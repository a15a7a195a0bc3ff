/// Fills the inside or the outside of a shape.
#include <bitset>
#include <optional>

#include "quillbay/palette.h"
#include "rasters/ops/line_ops.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/span_fill.h"

namespace quillbay {
namespace {

constexpr std::uint8_t kMiddleGrey = 128;
static_assert(kEditSteps == kOpSteps);

/// The spans to fill, line by line.
class FillSpans {
 public:
  FillSpans(const RasterShape& shape, ShapePart part, KxSize size)
      : m_shape(shape, size), m_outside(part == ShapePart::Outside), m_size(size) {}
  [[nodiscard]] const PixelSpans& at(std::int32_t line) {
    const PixelSpans& inside = m_shape.at(line);
    if (!m_outside) return inside;
    complementOf(inside, m_size.width, &m_spans);
    return m_spans;
  }
  /// The line from `line` on in which something may change; the height when there is none.
  [[nodiscard]] std::int32_t nextChange(std::int32_t line) const noexcept {
    if (m_outside) return line;
    if (line >= m_shape.bottom()) return m_size.height;
    return std::max(line, m_shape.top());
  }

 private:
  ShapeSpans m_shape;
  const bool m_outside;
  const KxSize m_size;
  PixelSpans m_spans;
};

bool fillRuns(IRStor& source, RasterBase& target, FillSpans& spans, bool isDark, IProgress* progress) {
  const LineCopy copy{{0, 0, source.GetWidth(), source.GetHeight()}};
  std::int32_t line = 0;
  return copyRunLines(source, target, copy, progress, [&](const RunView& list, RunBand& band) {
    const PixelSpans& fill = spans.at(line++);
    if (fill.empty()) {
      band.addRuns(list);
    } else if (isDark) {
      darkenSpans(list, fill, band);
    } else {
      clearSpans(list, fill, band);
    }
  });
}

bool fillPixels(IRStor& source, RasterBase& target, FillSpans& spans, const SpanFiller& filler,
                IProgress* progress) {
  const KxSize size{storedWidth(source), source.GetHeight()};
  const auto stored = query<RasterBase>(&source);
  const auto reader = readerOf(&source);
  // Still in a core's second cache when the raster takes it over.
  constexpr std::size_t kFillBytes = std::size_t{256} << 10;
  PixelBand band(target, bandLines(kFillBytes, fixedLineBytes(source.GetColorSpace(), size.width)));
  const std::int32_t block = stored ? target.sharedBlock() : 0;
  OpProgress step(progress, size.height);
  for (std::int32_t line = 0; line < size.height;) {
    std::int32_t end = std::min(size.height, line + band.room());
    if (block > 0 && line % block == 0) {
      band.flush();
      line += target.shareLines(*stored, spans.nextChange(line));
      end = std::max(end, line);
    }
    // What changes, and with it the rest of its block.
    if (block > 0) end = std::min(end, line / block * block + block);
    for (; line < end; ++line) {
      std::uint8_t* out = band.next();
      const PixelSpans& fill = spans.at(line);
      const bool isWhole = fill.size() == 1 && fill.front() == PixelSpan{0, size.width};
      if (!isWhole && !reader->ReadLine(line, 0, size.width, out)) cannotReadLine(line);
      for (const PixelSpan& span : fill) filler.fill(out, span);
    }
    if (!step.reached(line)) return false;
  }
  band.flush();
  return step.reached(size.height);
}

/// The entries that pixels use; complete only as far as one is missing.
std::optional<std::bitset<256>> usedEntries(IRStor& source, std::size_t entries, IProgress* progress) {
  std::bitset<256> used;
  PixelReader reader(source);
  const std::int32_t width = storedWidth(source), height = source.GetHeight();
  std::vector<std::uint8_t> line(static_cast<std::size_t>(width));
  for (std::int32_t y = 0; y < height && used.count() < entries; ++y) {
    reader.read(y, 0, width, line.data());
    bool seen[256] = {};
    for (const std::uint8_t index : line) seen[index] = true;
    for (std::size_t i = 0; i < 256; ++i) used[i] = used[i] || seen[i];
    if (y % 64 == 63 && progress && progress->IsCancelled()) return std::nullopt;
  }
  return used;
}

/// The palette's entry of a colour, which may become one; nothing when it was cancelled.
std::optional<std::uint8_t> entryFor(IRStor& source, RasterBase& target, KXRGBQUAD color, IProgress* progress) {
  auto palette = paletteOf(source);
  const std::size_t entries = source.GetColorSpace() == KxColorSpace::Four ? 16 : 256;
  std::size_t best = 0;
  for (std::size_t i = 1; i < entries; ++i) {
    if (colorDistance(palette[i], color) < colorDistance(palette[best], color)) best = i;
  }
  if (colorDistance(palette[best], color) == 0) return static_cast<std::uint8_t>(best);
  const auto used = usedEntries(source, entries, progress);
  if (!used) return std::nullopt;
  // From the end: programs fill a palette from its beginning.
  for (std::size_t i = entries; i-- > 0;) {
    if ((*used)[i]) continue;
    palette[i] = {color.red, color.green, color.blue, 0};
    target.setPalette(palette.data(), static_cast<int>(entries));
    return static_cast<std::uint8_t>(i);
  }
  return static_cast<std::uint8_t>(best);
}

bool fillColors(IRStor& source, RasterBase& target, FillSpans& spans, KXRGBQUAD color, IProgress* progress) {
  const KxColorSpace code = source.GetColorSpace();
  std::uint8_t pixel[4] = {color.red, color.green, color.blue, 255};
  if (code == KxColorSpace::Bgr || code == KxColorSpace::Bgra) std::swap(pixel[0], pixel[2]);
  if (code == KxColorSpace::Grey) pixel[0] = greyOf(color.red, color.green, color.blue);
  if (code == KxColorSpace::Palette || code == KxColorSpace::Four) {
    const auto entry = entryFor(source, target, color, progress);
    if (!entry) return false;
    pixel[0] = *entry;
  }
  return fillPixels(source, target, spans, SpanFiller(code, source.GetWidth(), pixel), progress);
}

}  // namespace

KxPtr<IRStor> FillShape(IRStor* source, const RasterShape& shape, ShapePart part, KXRGBQUAD color,
                        IProgress* progress) {
  requireLines(source);
  const auto target = newLike(*source, source->GetWidth(), 0);
  FillSpans spans(shape, part, {storedWidth(*source), source->GetHeight()});
  const bool isDark = greyOf(color.red, color.green, color.blue) < kMiddleGrey;
  const bool whole = isRunList(source->GetColorSpace()) ? fillRuns(*source, *target, spans, isDark, progress)
                                                        : fillColors(*source, *target, spans, color, progress);
  return whole ? target.as<IRStor>() : KxPtr<IRStor>{};
}

}  // namespace quillbay
