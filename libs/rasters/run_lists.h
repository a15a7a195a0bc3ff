#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "quillbay/run_list.h"

namespace quillbay {

/// A valid run list and its length.
struct RunView {
  const std::uint32_t* runs = nullptr;
  std::size_t count = 0;
};

/// The list's first run that does not end before pixel `x`.
[[nodiscard]] inline std::size_t firstRunFrom(const RunView& list, std::uint32_t x) noexcept {
  std::size_t low = 0, high = list.count;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (list.runs[2 * middle + 1] < x) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

/// Calls `take(first, last)` for what of the list lies in begin..end-1, relative to `begin`.
template <class Take>
void eachRunWithin(const RunView& list, std::uint32_t begin, std::uint32_t end, Take&& take) {
  for (std::size_t i = firstRunFrom(list, begin); i < list.count && list.runs[2 * i] < end; ++i) {
    take(std::max(list.runs[2 * i], begin) - begin, std::min(list.runs[2 * i + 1], end - 1) - begin);
  }
}

}  // namespace quillbay
