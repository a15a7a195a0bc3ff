#include "rasters/ops/page_tones.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "rasters/ops/op_support.h"
#include "rasters/ops/small_picture.h"

namespace quillbay {
namespace {

constexpr double kMostTonePixels = 1e6;
/// Tones from here on are white without any grain: nothing that a scanner saw.
constexpr int kNoGrain = 253;
/// Beds of less difference cannot be distinguished from paper.
constexpr int kLeastDifference = 3;
/// Of the picture's pixels, how many have to lie around the document to tell their tone.
constexpr double kLeastAround = 0.001;

class ToneCounts {
 public:
  void add(std::uint8_t tone) noexcept { ++m_counts[tone]; }
  [[nodiscard]] std::int64_t total(int end) const noexcept {
    std::int64_t sum = 0;
    for (int t = 0; t < end; ++t) sum += m_counts[static_cast<std::size_t>(t)];
    return sum;
  }
  /// The most frequent tone below `end`, each taken with those beside it.
  [[nodiscard]] int common(int end) const noexcept {
    int best = 0;
    std::int64_t most = -1;
    for (int tone = 0; tone < end; ++tone) {
      std::int64_t sum = 0;
      for (int t = std::max(0, tone - 2); t <= std::min(255, tone + 2); ++t)
        sum += m_counts[static_cast<std::size_t>(t)];
      if (sum <= most) continue;
      most = sum;
      best = tone;
    }
    return best;
  }

 private:
  std::array<std::int64_t, 256> m_counts{};
};

}  // namespace

std::optional<PageTones> PageTones::of(IRStor* page, IProgress* progress) {
  requireLines(page);
  const KxSize size{storedWidth(*page), page->GetHeight()};
  if (size.width <= 0 || size.height <= 0) return std::nullopt;
  const double scale = std::min(1.0, std::sqrt(kMostTonePixels / (static_cast<double>(size.width) * size.height)));
  const SmallPicture small = drawSmall(*page, {0, 0, size.width, size.height}, scale, progress);
  if (!small.grey) return std::nullopt;
  PageTones tones({pixGetWidth(small.grey.get()), pixGetHeight(small.grey.get())}, scale);
  tones.m_grey.reserve(static_cast<std::size_t>(tones.m_size.width) *
                       static_cast<std::size_t>(tones.m_size.height));
  for (l_int32 y = 0; y < tones.m_size.height; ++y) {
    const l_uint32* line = pixGetData(small.grey.get()) + std::ptrdiff_t{y} * pixGetWpl(small.grey.get());
    for (l_int32 x = 0; x < tones.m_size.width; ++x) tones.m_grey.push_back(GET_DATA_BYTE(line, x));
  }
  return tones;
}

bool PageTones::hasWhiteCorners() const noexcept {
  const std::int32_t right = m_size.width - 1, bottom = m_size.height - 1;
  return std::min({at(0, 0), at(right, 0), at(0, bottom), at(right, bottom)}) >= kNoGrain;
}

bool PageTones::showsBedAround(const KxRect& part) const {
  ToneCounts inside, around;
  for (std::int32_t y = 0; y < m_size.height; ++y) {
    const double pageY = (y + 0.5) / m_scale;
    const bool isBeside = pageY >= part.top && pageY < part.bottom;
    for (std::int32_t x = 0; x < m_size.width; ++x) {
      const double pageX = (x + 0.5) / m_scale;
      const bool isIn = isBeside && pageX >= part.left && pageX < part.right;
      (isIn ? inside : around).add(at(x, y));
    }
  }
  const double least = kLeastAround * m_size.width * m_size.height;
  const auto lies = [&](int end) { return static_cast<double>(around.total(end)) >= least; };
  if (!lies(256)) return false;
  const int paper = inside.common(256);
  // White paper cannot be distinguished from white corners: most of what lies around it has to be bed.
  if (paper >= kNoGrain && 2 * around.total(kNoGrain) < around.total(256)) return false;
  const int bed = around.common(lies(kNoGrain) ? kNoGrain : 256);
  return std::abs(bed - paper) >= kLeastDifference;
}

}  // namespace quillbay
