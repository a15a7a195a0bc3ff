/// The colour along the outline of a shape.
#include <algorithm>
#include <array>
#include <cmath>

#include "quillbay/palette.h"
#include "rasters/ops/op_support.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/shape_spans.h"

namespace quillbay {
namespace {

constexpr double kRingMm = 1;
constexpr double kLeastRing = 3;               // pixels
constexpr std::int32_t kMostRingLines = 2000;  // that are looked at

/// The pixels along an outline, on one side of it, line by line: those of that side that a square of twice the
/// ring's width around them brings to the other side.
class Ring {
 public:
  Ring(const RasterShape& shape, ShapePart filled, KxSize size, std::int32_t width)
      : m_size(size), m_width(width), m_isOutside(filled == ShapePart::Inside), m_own(shape, size) {
    m_others.reserve(4);
    // Above, below and at the sides; the other lines of the square differ little.
    for (const std::int32_t by : {-width, -width / 2, width / 2, width}) m_others.push_back({by, {shape, size}});
  }
  [[nodiscard]] std::int32_t top() const noexcept { return std::max(0, m_own.top() - m_width); }
  [[nodiscard]] std::int32_t bottom() const noexcept { return std::min(m_size.height, m_own.bottom() + m_width); }

  /// The ring's pixels on a line; lines ascend.
  [[nodiscard]] const PixelSpans& at(std::int32_t line) {
    m_near.clear();
    const PixelSpans& inside = m_own.at(line);
    takeSide(inside, &m_side);
    addOther(inside);
    for (Other& other : m_others) {
      const std::int32_t y = line + other.by;
      if (y < 0 || y >= m_size.height) continue;
      addOther(other.spans.at(y));
    }
    mergeNear();
    intersect();
    return m_found;
  }

 private:
  struct Other {
    std::int32_t by;
    ShapeSpans spans;
  };

  void takeSide(const PixelSpans& inside, PixelSpans* out) const {
    if (m_isOutside) {
      complementOf(inside, m_size.width, out);
    } else {
      *out = inside;
    }
  }
  /// Adds what lies near the other side on a line. The raster's edge is no outline.
  void addOther(const PixelSpans& inside) {
    if (m_isOutside) {
      m_line = inside;
    } else {
      complementOf(inside, m_size.width, &m_line);
    }
    for (const PixelSpan& s : m_line) {
      m_near.push_back({std::max(0, s.first - m_width), std::min(m_size.width, s.end + m_width)});
    }
  }
  void mergeNear() {
    std::sort(m_near.begin(), m_near.end(),
              [](const PixelSpan& a, const PixelSpan& b) { return a.first < b.first; });
    std::size_t kept = 0;
    for (const PixelSpan& s : m_near) {
      if (kept > 0 && s.first <= m_near[kept - 1].end) {
        m_near[kept - 1].end = std::max(m_near[kept - 1].end, s.end);
      } else {
        m_near[kept++] = s;
      }
    }
    m_near.resize(kept);
  }
  void intersect() {
    m_found.clear();
    std::size_t i = 0;
    for (const PixelSpan& side : m_side) {
      while (i < m_near.size() && m_near[i].end <= side.first) ++i;
      for (std::size_t k = i; k < m_near.size() && m_near[k].first < side.end; ++k) {
        m_found.push_back({std::max(side.first, m_near[k].first), std::min(side.end, m_near[k].end)});
      }
    }
  }

  const KxSize m_size;
  const std::int32_t m_width;
  const bool m_isOutside;
  ShapeSpans m_own;
  std::vector<Other> m_others;
  PixelSpans m_side, m_line, m_near, m_found;
};

/// Counts of the values of up to three channels.
class ColorCounts {
 public:
  explicit ColorCounts(IRStor& source)
      : m_code(source.GetColorSpace()), m_bytes(pixelBytes(m_code)), m_palette(paletteOf(source)) {}

  void add(const std::uint8_t* pixels, std::int32_t count) noexcept {
    const std::size_t channels = std::min<std::size_t>(3, m_bytes);
    for (; count > 0; --count, pixels += m_bytes) {
      for (std::size_t c = 0; c < channels; ++c) ++m_counts[c][pixels[c]];
    }
  }
  void addBits(std::int64_t dark, std::int64_t all) noexcept {
    m_counts[0][0] += dark;
    m_counts[0][255] += all - dark;
  }
  [[nodiscard]] KXRGBQUAD prevailing() const {
    if (isRunList(m_code)) return m_counts[0][0] > m_counts[0][255] ? KXRGBQUAD{} : KXRGBQUAD{255, 255, 255, 0};
    const auto& first = m_counts[0];
    if (std::all_of(first.begin(), first.end(), [](std::int64_t n) { return n == 0; })) return {255, 255, 255, 0};
    if (m_code == KxColorSpace::Palette || m_code == KxColorSpace::Four)
      return m_palette[static_cast<std::size_t>(std::max_element(first.begin(), first.end()) - first.begin())];
    if (m_bytes == 1) return {median(0), median(0), median(0), 0};
    const bool isBgr = m_code == KxColorSpace::Bgr || m_code == KxColorSpace::Bgra;
    return {median(isBgr ? 2 : 0), median(1), median(isBgr ? 0 : 2), 0};
  }

 private:
  using Counts = std::array<std::int64_t, 256>;
  [[nodiscard]] std::uint8_t median(std::size_t channel) const {
    const Counts& counts = m_counts[channel];
    std::int64_t all = 0, below = 0;
    for (const std::int64_t n : counts) all += n;
    std::size_t value = 0;
    while (value < 255 && 2 * (below + counts[value]) < all) below += counts[value++];
    return static_cast<std::uint8_t>(value);
  }

  const KxColorSpace m_code;
  const std::size_t m_bytes;
  const std::array<KXRGBQUAD, 256> m_palette;
  std::array<Counts, 3> m_counts{};
};

/// Has `look(line, spans)` done for lines of the ring; false when it was cancelled.
template <class Look>
bool eachRingLine(Ring& ring, std::int32_t width, IProgress* progress, Look&& look) {
  // As many as the ring is thick at most, so that level sides are seen as well.
  const std::int32_t lines = ring.bottom() - ring.top();
  const std::int32_t every = std::clamp(lines / kMostRingLines, 1, std::max(1, width));
  OpProgress step(progress, lines);
  for (std::int32_t line = ring.top(); line < ring.bottom(); line += every) {
    look(line, ring.at(line));
    if (line / every % 16 == 0 && !step.reached(line - ring.top())) return false;
  }
  return step.reached(lines);
}

bool countRuns(IRStor& source, Ring& ring, std::int32_t width, ColorCounts& counts, IProgress* progress) {
  RunReader reader(source);
  return eachRingLine(ring, width, progress, [&](std::int32_t line, const PixelSpans& spans) {
    const RunView list = reader.read(line);
    for (const PixelSpan& span : spans) {
      std::int64_t dark = 0;
      eachRunWithin(list, static_cast<std::uint32_t>(span.first), static_cast<std::uint32_t>(span.end),
                    [&dark](std::uint32_t first, std::uint32_t last) { dark += last - first + 1; });
      counts.addBits(dark, span.end - span.first);
    }
  });
}

bool countPixels(IRStor& source, Ring& ring, std::int32_t width, ColorCounts& counts, IProgress* progress) {
  PixelReader reader(source);
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(source.GetWidth()) *
                                   pixelBytes(source.GetColorSpace()));
  return eachRingLine(ring, width, progress, [&](std::int32_t line, const PixelSpans& spans) {
    for (const PixelSpan& span : spans) {
      reader.read(line, span.first, span.end - span.first, pixels.data());
      counts.add(pixels.data(), span.end - span.first);
    }
  });
}

}  // namespace

int ColorAround(IRStor* source, const RasterShape& shape, ShapePart part, IProgress* progress, KXRGBQUAD* color) {
  requireLines(source);
  const double pixels = std::max(kLeastRing, mmToPixels(kRingMm, resolutionOf(*source)));
  const auto width = static_cast<std::int32_t>(std::lround(pixels));
  Ring ring(shape, part, {storedWidth(*source), source->GetHeight()}, width);
  ColorCounts counts(*source);
  const bool done = isRunList(source->GetColorSpace()) ? countRuns(*source, ring, width, counts, progress)
                                                       : countPixels(*source, ring, width, counts, progress);
  if (!done) return 0;
  *color = counts.prevailing();
  return 1;
}

}  // namespace quillbay
