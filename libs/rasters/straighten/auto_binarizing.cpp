#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/binarization.h"
#include "quillbay/run_list.h"
#include "rasters/ops/op_support.h"
#include "rasters/ops/small_picture.h"

namespace quillbay {
namespace {

/// Lines between two questions whether the user cancelled.
constexpr std::int32_t kPartLines = 256;

struct NumaDeleter {
  void operator()(NUMA* numbers) const noexcept { numaDestroy(&numbers); }
};

/// Every n-th line is counted, so that large pages take no longer than prescans.
constexpr std::int64_t kCountedPixels = 8 << 20;

[[nodiscard]] bool isCancelled(IProgress* progress) { return progress && progress->IsCancelled(); }

/// How often each tone occurs.
std::array<std::uint32_t, 256> countTones(IRStor& source, IAccessContext& lines) {
  const std::int32_t width = source.GetWidth(), height = source.GetHeight();
  const auto step = static_cast<std::int32_t>(1 + std::int64_t{width} * height / kCountedPixels);
  // Four tables: neighbouring pixels are often of the same tone, and would wait for each other.
  std::array<std::array<std::uint32_t, 256>, 4> counts{};
  std::vector<std::uint8_t> line(static_cast<std::size_t>(width) + 3);
  for (std::int32_t y = step / 2; y < height; y += step) {
    if (!lines.ReadLine(y, 0, width, line.data())) continue;
    for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x) ++counts[x % 4][line[x]];
  }
  for (std::size_t i = 0; i < 256; ++i) counts[0][i] += counts[1][i] + counts[2][i] + counts[3][i];
  return counts[0];
}

/// The least tone of the lighter class; nothing when all pixels are of one tone.
std::optional<std::uint8_t> thresholdOf(const std::array<std::uint32_t, 256>& counts) {
  const std::unique_ptr<NUMA, NumaDeleter> numbers(numaCreate(256));
  int darkest = 255, lightest = 0;
  for (int tone = 0; tone < 256; ++tone) {
    const std::uint32_t count = counts[static_cast<std::size_t>(tone)];
    numaAddNumber(numbers.get(), static_cast<l_float32>(count));
    if (count == 0) continue;
    darkest = std::min(darkest, tone);
    lightest = tone;
  }
  if (darkest >= lightest) return std::nullopt;
  l_int32 split = 0;  // the lightest tone of the darker class
  // The split lies at the least count near the best one, which a little grain does not move.
  constexpr l_float32 kNear = 0.1F;
  if (numaSplitDistribution(numbers.get(), kNear, &split, nullptr, nullptr, nullptr, nullptr, nullptr))
    return std::nullopt;
  return static_cast<std::uint8_t>(std::clamp(split + 1, darkest + 1, lightest));
}

/// Which of 64 pixels are darker than `threshold` (at least 1): pixel 0 in the lowest bit.
std::uint64_t darkOf(const std::uint8_t* pixels, std::uint8_t threshold) noexcept {
  std::uint64_t word = 0;
#ifdef __SSE2__
  const __m128i darkest = _mm_set1_epi8(static_cast<char>(threshold - 1));
  for (int part = 0; part < 4; ++part) {
    const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 16 * part));
    const int dark = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(p, darkest), p));
    word |= static_cast<std::uint64_t>(dark) << (16 * part);
  }
#else
  for (int i = 0; i < 64; ++i) word |= static_cast<std::uint64_t>(pixels[i] < threshold) << i;
#endif
  return word;
}

/// The run list of what is darker than `threshold`; behind the line's pixels lie 64 bytes of 255, and `runs` has
/// room for width + 3 words.
void darkRuns(const std::uint8_t* pixels, std::int32_t width, std::uint8_t threshold,
              std::uint32_t* runs) noexcept {
  RunListWriter writer(runs);
  const auto take = [&writer](std::uint32_t x) { writer(x); };
  BitChanges<Leftmost::LowestBit> changes;
  const auto end = static_cast<std::uint32_t>(width);
  for (std::uint32_t x = 0; x < end; x += 64) changes.word(darkOf(pixels + x, threshold), x, take);
  writer.finish(end);
}

}  // namespace

KxPtr<IRStor> AutoBinarizing(IRStor* source, IProgress* progress) {
  if (!source || source->GetColorSpace() != KxColorSpace::Grey) return {};
  const auto lines = readerOf(source);
  const std::int32_t width = source->GetWidth(), height = source->GetHeight();
  auto target = new_IRStor(KxColorSpace::Bitonal, width, height, source->GetResolution());
  const auto threshold = thresholdOf(countTones(*source, *lines));
  if (!threshold) return target;
  const auto writer = KxPtr<IAccessContext>::adopt(target->GetAccessContext(1, 0));
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) + 64, 255);
  std::vector<std::uint32_t> runs(static_cast<std::size_t>(width) + 3);
  for (std::int32_t y = 0; y < height; ++y) {
    if (y % kPartLines == 0 && isCancelled(progress)) return {};
    if (!lines->ReadLine(y, 0, width, pixels.data())) return {};
    darkRuns(pixels.data(), width, *threshold, runs.data());
    if (!writer->WriteLine(y, 0, width, runs.data())) return {};
  }
  return target;
}

}  // namespace quillbay
