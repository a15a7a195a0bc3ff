#include "stores/ink_reducer.h"

#include <algorithm>
#include <cstring>

#include "quillbay/run_list.h"
#include "stores/area_span.h"

namespace quillbay {
namespace {

/// Parts of a cell that the place of a change is rounded to.
constexpr int kPartBits = 12;
constexpr std::uint32_t kParts = 1U << kPartBits;

using Longs = std::int32_t __attribute__((vector_size(16)));
using Floats = float __attribute__((vector_size(16)));
constexpr std::size_t kLanes = 4;

/// Grey pixels of as many coverages, which are darkened by `darkness`.
void inkPixels(const std::uint32_t* coverage, float darkness, std::uint32_t* out) noexcept {
  Longs sums;
  std::memcpy(&sums, coverage, sizeof(sums));
  const Floats dark = __builtin_convertvector(sums, Floats) * darkness;
  const Floats most = {255, 255, 255, 255};
  const Longs tones = 255 - __builtin_convertvector((dark < most ? dark : most) + 0.5F, Longs);
  const Longs pixels = tones | tones << 8 | tones << 16 | static_cast<std::int32_t>(0xFF000000U);
  std::memcpy(out, &pixels, sizeof(pixels));
}

}  // namespace

void InkReducer::reduce(const std::vector<InkLine>& lines, std::int32_t width, KxSize size, Picture* out) {
  m_width = width;
  // Rounded up: the line's end is the last cell's.
  const auto pixels = static_cast<std::uint64_t>(width);
  m_cellsPerPixel = ((static_cast<std::uint64_t>(size.width) << 32) + pixels - 1) / pixels;
  m_steps.assign(static_cast<std::size_t>(size.width) + 2, 0);
  const auto count = static_cast<std::int64_t>(lines.size());
  const double down = static_cast<double>(count) / size.height;
  const double gain = std::max({1.0, static_cast<double>(width) / size.width, down});
  const std::uint32_t unit = std::max(1U, lineUnit(kParts / 255.0, down + 2));
  std::uint8_t* row = out->bytes.data();
  for (const AreaSpan& span : makeAreaSpans(count, size.height, unit)) {
    for (std::int32_t i = span.first; i <= span.last; ++i) {
      const std::uint32_t weight = i == span.first ? span.firstWeight : i == span.last ? span.lastWeight : unit;
      addLine(lines[static_cast<std::size_t>(i)], weight);
    }
    finishRow(span.weight(unit), gain, reinterpret_cast<std::uint32_t*>(row));
    row += out->stride;
  }
}

/// Each change of a line is a step of the coverage, shared by the cell that it falls into and the next one.
void InkReducer::addLine(const InkLine& line, std::uint32_t weight) {
  std::uint32_t* const steps = m_steps.data();
  const std::uint64_t scale = m_cellsPerPixel;
  const auto step = [steps, scale](std::uint32_t x, std::uint32_t by) {
    const std::uint64_t at = x * scale;
    const auto part = static_cast<std::uint32_t>(at >> (32 - kPartBits)) & (kParts - 1);
    std::uint32_t* cell = steps + (at >> 32);
    cell[0] += by * (kParts - part);
    cell[1] += by * part;
  };
  if (line.runs) {
    eachRun(line.runs, m_width, [&step, weight](std::uint32_t first, std::uint32_t last) {
      step(first, weight);
      step(last + 1, 0U - weight);
    });
    return;
  }
  std::uint32_t by = weight;
  eachBitChange(line.bits, m_width, [&step, &by](std::uint32_t x) {
    step(x, by);
    by = 0U - by;
  });
}

void InkReducer::finishRow(std::uint32_t weight, double gain, std::uint32_t* out) {
  std::uint32_t coverage = 0;
  for (std::uint32_t& step : m_steps) step = coverage += step;
  const std::size_t cells = m_steps.size() - 2;
  const auto darkness = static_cast<float>(255 * gain / (static_cast<double>(kParts) * weight));
  std::size_t i = 0;
  for (; i + kLanes <= cells; i += kLanes) inkPixels(m_steps.data() + i, darkness, out + i);
  std::uint32_t rest[kLanes] = {}, last[kLanes];
  std::copy_n(m_steps.data() + i, cells - i, rest);
  inkPixels(rest, darkness, last);
  std::copy_n(last, cells - i, out + i);
  std::fill(m_steps.begin(), m_steps.end(), 0U);
}

}  // namespace quillbay
