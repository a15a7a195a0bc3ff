#include "scanners/lines/bw_loops.h"

#include <algorithm>

namespace quillbay::bw_loops {

void addRow(const std::uint8_t* row, std::size_t count, std::uint16_t* sums) noexcept {
  for (std::size_t x = 0; x < count; ++x) sums[x] = static_cast<std::uint16_t>(sums[x] + row[x]);
}

void exchangeRow(const std::uint8_t* in, const std::uint8_t* out, std::size_t count, std::uint16_t* sums) noexcept {
  for (std::size_t x = 0; x < count; ++x) sums[x] = static_cast<std::uint16_t>(sums[x] + in[x] - out[x]);
}

void windowMeans(const std::uint16_t* sums, std::size_t count, std::size_t reach, const std::uint8_t* table,
                 std::uint8_t* out) noexcept {
  // Division by multiplication: exact for sums up to 255.5 areas while 255.5 area^2 < 2^40.
  constexpr int kShift = 40;
  const std::size_t side = 2 * reach + 1;
  const std::uint64_t area = std::uint64_t{side} * side;
  const std::uint64_t inverse = ((std::uint64_t{1} << kShift) + area - 1) / area;
  std::uint64_t sum = area / 2;
  for (std::size_t i = 0; i + 1 < side; ++i) sum += sums[i];
  for (std::size_t x = 0; x < count; ++x) {
    sum += sums[x + side - 1];
    out[x] = table[sum * inverse >> kShift];
    sum -= sums[x];
  }
}

void blackBelow(const std::uint8_t* grey, const std::uint8_t* limits, std::size_t count,
                std::uint8_t* out) noexcept {
  for (std::size_t x = 0; x < count; ++x) out[x] = grey[x] < limits[x] ? 0 : 255;
}

void applyGain(const std::uint8_t* grey, std::size_t count, std::int32_t from, std::int32_t to, std::int32_t step,
               std::uint8_t* out) noexcept {
  const std::int32_t slope = (to - from) / step;
  for (std::size_t x = 0; x < count; ++x) {
    const std::int32_t gain = from + slope * static_cast<std::int32_t>(x);
    out[x] = static_cast<std::uint8_t>(std::min(grey[x] * gain >> 8, 255));
  }
}

namespace {

// `Step` is 1 or -1; the pointers are at the row's first pixel in that direction.
template <std::ptrdiff_t Step>
void diffuseAlong(const std::uint8_t* grey, std::size_t count, const std::uint8_t* tones,
                  const std::int16_t* errors, std::int16_t* next, std::uint8_t* out) noexcept {
  int carry = 0, behind = 0, below = 0;  // for the next pixel, and for those below the last one and this one
  for (std::size_t i = 0; i < count; ++i) {
    const int value = 16 * tones[*grey] + *errors + carry;
    const bool isBlack = value < 16 * 128;
    *out = isBlack ? 0 : 255;
    const int error = isBlack ? value : value - 16 * 255;
    carry = error * 7 >> 4;
    const int back = error * 3 >> 4, down = error * 5 >> 4;
    next[-Step] = static_cast<std::int16_t>(behind + back);
    behind = below + down;
    below = error - carry - back - down;
    grey += Step;
    out += Step;
    errors += Step;
    next += Step;
  }
  next[-Step] = static_cast<std::int16_t>(behind);
}

}  // namespace

void diffuse(const std::uint8_t* grey, std::size_t count, bool backwards, const std::uint8_t* tones,
             const std::int16_t* errors, std::int16_t* next, std::uint8_t* out) noexcept {
  if (!backwards) return diffuseAlong<1>(grey, count, tones, errors + 1, next + 1, out);
  diffuseAlong<-1>(grey + count - 1, count, tones, errors + count, next + count, out + count - 1);
}

}  // namespace quillbay::bw_loops
