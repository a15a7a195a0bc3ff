/// The content's rectangle, found on a small picture: first what lies around the content is found, from the
/// picture's edge inwards, then what is left.
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "rasters/ops/op_support.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/small_picture.h"

namespace quillbay {
namespace {

constexpr double kContentShortSide = 2000, kSearchPixels = 16e6;
constexpr double kMarginMm = 1;
/// Of the picture's edge, how much is looked at for its tone.
constexpr double kBandMm = 2;
/// A dark bed is at least this wide somewhere; a drawing's frame is not.
constexpr double kBedMm = 3;
/// Smaller things are dust.
constexpr double kDustMm = 2;
/// Tones from here on are white without any grain: nothing that a scanner saw.
constexpr int kPure = 253;
/// Pixels of the soft step between two tones.
constexpr int kStep = 3;

/// Pixels whose tone lies within low..high.
PixPtr tonesWithin(PIX* grey, int low, int high) {
  PixPtr mask = madePix(pixCreate(pixGetWidth(grey), pixGetHeight(grey), 1));
  for (l_int32 y = 0; y < pixGetHeight(grey); ++y) {
    const l_uint32* from = pixGetData(grey) + std::ptrdiff_t{y} * pixGetWpl(grey);
    l_uint32* to = pixGetData(mask.get()) + std::ptrdiff_t{y} * pixGetWpl(mask.get());
    for (l_int32 x = 0; x < pixGetWidth(grey); ++x) {
      const auto tone = static_cast<int>(GET_DATA_BYTE(from, x));
      if (tone >= low && tone <= high) SET_DATA_BIT(to, x);
    }
  }
  return mask;
}

std::int64_t countOf(PIX* mask) {
  l_int32 count = 0;
  pixCountPixels(mask, &count, nullptr);
  return count;
}

PixPtr both(PIX* a, PIX* b) { return madePix(pixAnd(nullptr, a, b)); }
PixPtr either(PIX* a, PIX* b) { return madePix(pixOr(nullptr, a, b)); }
PixPtr without(PIX* a, PIX* b) { return madePix(pixSubtract(nullptr, a, b)); }
PixPtr grown(PIX* a, int pixels) { return madePix(pixDilateBrick(nullptr, a, 2 * pixels + 1, 2 * pixels + 1)); }
PixPtr opened(PIX* a, int pixels) { return madePix(pixOpenBrick(nullptr, a, pixels, pixels)); }
/// What of `mask` is connected with `seed`.
PixPtr connected(PIX* seed, PIX* mask) {
  return madePix(pixSeedfillBinary(nullptr, both(seed, mask).get(), mask, 8));
}

class ContentFinder {
 public:
  /// `pixelsPerMm` of the picture.
  ContentFinder(PixPtr grey, double pixelsPerMm)
      : m_grey(std::move(grey)),
        m_perMm(pixelsPerMm),
        m_size{pixGetWidth(m_grey.get()), pixGetHeight(m_grey.get())} {}

  /// In pixels of the picture.
  std::optional<KxRect> find() {
    findEdge();
    const PixPtr bed = darkBed();
    if (bed) return paperOn(bed.get());
    if (!m_whitePaper) {
      // A turned page reaches the edge on all sides; what does not lies on a white bed.
      const auto page = boundsOf(madePix(pixInvert(nullptr, m_white.get())));
      if (page && *page != KxRect{0, 0, m_size.width, m_size.height}) return page;
    }
    return boundsOf(inkOnEdge());
  }

 private:
  [[nodiscard]] int pixels(double mm) const noexcept {
    const double most = std::max(m_size.width, m_size.height);  // a file may tell any resolution
    return std::max(2, static_cast<int>(std::lround(std::min(mm * m_perMm, most))));
  }

  /// What is pure white from the edge on (turning a page leaves such corners), and a band of what follows it.
  void findEdge() {
    const PixPtr white = tonesWithin(m_grey.get(), kPure, 255);
    const PixPtr frame = madePix(pixCreate(m_size.width, m_size.height, 1));
    pixSetOrClearBorder(frame.get(), 1, 1, 1, 1, PIX_SET);
    m_white = connected(frame.get(), white.get());
    const PixPtr outside = either(m_white.get(), frame.get());
    // The soft step between white and what follows belongs to neither.
    const PixPtr soft = grown(outside.get(), kStep - 1);
    m_band = without(grown(soft.get(), pixels(kBandMm)).get(), soft.get());
    countBand();
    // White that has nothing behind it but lines is the paper.
    const std::int64_t around = countOf(without(grown(outside.get(), 1).get(), outside.get()).get());
    m_whitePaper = countOf(m_band.get()) * 2 <= around * pixels(kBandMm);
  }

  void countBand() {
    for (l_int32 y = 0; y < pixGetHeight(m_grey.get()); ++y) {
      const l_uint32* tones = pixGetData(m_grey.get()) + std::ptrdiff_t{y} * pixGetWpl(m_grey.get());
      const l_uint32* band = pixGetData(m_band.get()) + std::ptrdiff_t{y} * pixGetWpl(m_band.get());
      for (l_int32 x = 0; x < pixGetWidth(m_grey.get()); ++x) {
        if (GET_DATA_BIT(band, x)) ++m_tones[GET_DATA_BYTE(tones, x)];
      }
    }
  }

  /// The most frequent tone of the band within low..high, each taken with those beside it.
  [[nodiscard]] int commonTone(int low, int high) const noexcept {
    int best = low;
    std::int64_t most = -1;
    for (int tone = low; tone <= high; ++tone) {
      std::int64_t count = 0;
      for (int t = std::max(0, tone - 3); t <= std::min(255, tone + 3); ++t)
        count += m_tones[static_cast<std::size_t>(t)];
      if (count <= most) continue;
      most = count;
      best = tone;
    }
    return best;
  }

  /// The scanner's bed when it is dark: wide, of one tone, and along a good part of the edge. Empty when there is
  /// none.
  PixPtr darkBed() {
    constexpr int kDarkest = 120, kSpread = 22;
    constexpr double kLeastShare = 0.1;
    const int tone = commonTone(0, kDarkest);
    const PixPtr dark = tonesWithin(m_grey.get(), std::max(0, tone - kSpread), tone + kSpread);
    const PixPtr wide = opened(dark.get(), pixels(kBedMm));
    const PixPtr bed = connected(m_band.get(), wide.get());
    const auto share = static_cast<double>(countOf(both(bed.get(), m_band.get()).get()));
    if (share <= kLeastShare * static_cast<double>(countOf(m_band.get()))) return {};
    // With its slivers between paper and edge; dark parts of a drawing that touch it do no harm, paper is around
    // them.
    return connected(bed.get(), dark.get());
  }

  /// The paper on a dark bed: what the bed ends at, seen from each side.
  std::optional<KxRect> paperOn(PIX* bed) const {
    const auto at = [](PIX* mask, int x, int y) {
      return GET_DATA_BIT(pixGetData(mask) + std::ptrdiff_t{y} * pixGetWpl(mask), x) != 0;
    };
    const auto [w, h] = m_size;
    const auto side = [&](int lines, int depth, auto place) {
      return depthOfBed(
          lines, depth,
          [&, place](PIX* mask, int line, int i) {
            const auto [x, y] = place(line, i);
            return at(mask, x, y);
          },
          bed);
    };
    using Place = std::pair<int, int>;
    const KxRect paper{side(h, w,
                            [](int line, int i) {
                              return Place{i, line};
                            }),
                       side(w, h,
                            [](int line, int i) {
                              return Place{line, i};
                            }),
                       w - side(h, w,
                                [w = w](int line, int i) {
                                  return Place{w - 1 - i, line};
                                }),
                       h - side(w, h, [h = h](int line, int i) {
                         return Place{line, h - 1 - i};
                       })};
    if (paper.left >= paper.right || paper.top >= paper.bottom) return std::nullopt;
    return paper;
  }

  /// How far in from one side the paper starts: the least of the lines that go in from there, but for a few.
  template <class At>
  int depthOfBed(int lines, int depth, At at, PIX* bed) const {
    const int step = kStep + 2 * pixels(kDustMm);
    // A white corner's edge may run along the line nearly: its soft step is as long as it likes then.
    const PixPtr corner = grown(m_white.get(), kStep);
    std::vector<int> depths;
    for (int line = 0; line < lines; ++line) {
      int i = 0;
      while (i < depth && at(corner.get(), line, i)) ++i;
      const int white = std::max(0, i - kStep), start = i;
      while (i < depth && i < start + step && !at(bed, line, i)) ++i;
      if (i >= depth) continue;
      if (!at(bed, line, i)) {  // paper from the edge on; white paper cannot be distinguished from a white corner
        if (white == 0 || !m_whitePaper) depths.push_back(white);
        continue;
      }
      int end = i;  // of the bed; dust on it does not count
      for (; i < depth && i - end <= pixels(kDustMm); ++i) {
        if (at(bed, line, i)) end = i + 1;
      }
      const bool pastBed = i < depth && (m_whitePaper || !at(corner.get(), line, std::min(end + step, depth - 1)));
      if (pastBed) depths.push_back(end);
    }
    constexpr std::size_t kFewLines = 32, kFewDepths = 100;  // parts of all
    if (depths.empty() || depths.size() < static_cast<std::size_t>(lines) / kFewLines) return 0;
    const auto least = depths.begin() + static_cast<std::ptrdiff_t>(depths.size() / kFewDepths);
    std::nth_element(depths.begin(), least, depths.end());
    return *least;
  }

  /// What differs from a light bed, or from the paper's own margin.
  PixPtr inkOnEdge() {
    constexpr int kLeast = 12, kMost = 40;
    if (m_whitePaper) return tonesWithin(m_grey.get(), 0, 255 - kLeast);
    const int tone = commonTone(0, 255);
    const auto near = [&](int spread) {
      std::int64_t count = 0;
      for (int t = std::max(0, tone - spread); t <= std::min(255, tone + spread); ++t) {
        count += m_tones[static_cast<std::size_t>(t)];
      }
      return count;
    };
    int spread = 0;  // of nine tenths of the band
    while (spread < kMost / 3 && near(spread) * 10 < near(255) * 9) ++spread;
    const int limit = std::clamp(3 * spread, kLeast, kMost);
    const PixPtr same = tonesWithin(m_grey.get(), std::max(0, tone - limit), tone + limit);
    PixPtr differs = without(madePix(pixInvert(nullptr, same.get())).get(), grown(m_white.get(), kStep).get());
    // Where a white corner tapers off at the edge.
    pixSetOrClearBorder(differs.get(), kStep, kStep, kStep, kStep, PIX_CLR);
    return differs;
  }

  /// The bounds of all that is no dust.
  std::optional<KxRect> boundsOf(const PixPtr& content) const {
    const PixPtr large = madePix(pixSelectBySize(content.get(), pixels(kDustMm), pixels(kDustMm), 8,
                                                 L_SELECT_IF_EITHER, L_SELECT_IF_GT, nullptr));
    BOX* box = nullptr;
    if (countOf(large.get()) == 0 || pixClipToForeground(large.get(), nullptr, &box) != 0) return std::nullopt;
    l_int32 x = 0, y = 0, w = 0, h = 0;
    boxGetGeometry(box, &x, &y, &w, &h);
    boxDestroy(&box);
    const auto low = [](int v) { return v <= kStep ? 0 : v; };
    const auto high = [](int v, int end) { return v >= end - kStep ? end : v; };
    return KxRect{low(x), low(y), high(x + w, m_size.width), high(y + h, m_size.height)};
  }

  const PixPtr m_grey;
  const double m_perMm;
  const KxSize m_size;
  PixPtr m_white, m_band;
  bool m_whitePaper = false;
  std::array<std::int64_t, 256> m_tones{};  // of the band
};

}  // namespace

std::optional<KxRect> findContent(IRStor* source, IProgress* progress) {
  requireLines(source);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  OpProgress step(progress, 2);
  if (size.width <= 0 || size.height <= 0) return std::nullopt;
  const double area = static_cast<double>(size.width) * size.height;
  const double scale =
      std::min({1.0, kContentShortSide / std::min(size.width, size.height), std::sqrt(kSearchPixels / area)});
  SmallPicture small = drawSmall(*source, {0, 0, size.width, size.height}, scale, progress);
  if (!small.grey || !step.reached(1)) return std::nullopt;
  const double perMm = mmToPixels(1, resolutionOf(*source));
  const auto found = ContentFinder(std::move(small.grey), perMm * scale).find();
  if (!found || !step.reached(2)) return std::nullopt;
  const double margin = kMarginMm * perMm;
  const auto low = [&](std::int32_t v) { return std::max(0, roundHalfUp(v / scale - margin)); };
  const auto high = [&](std::int32_t v, std::int32_t end) {
    return std::min(end, roundHalfUp(v / scale + margin));
  };
  return KxRect{low(found->left), low(found->top), high(found->right, size.width),
                high(found->bottom, size.height)};
}

}  // namespace quillbay
