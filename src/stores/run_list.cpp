#include "stores/run_list.h"

#include <algorithm>

#include "quillbay/color_space.h"

namespace quillbay {

std::size_t trimRuns(const std::uint32_t* runs, std::int32_t width, std::uint32_t* out) noexcept {
  std::size_t kept = 0;
  std::int32_t next = 0;  // first pixel that a run may begin at
  for (std::size_t i = 0; runs[2 * i] != RunEnd; ++i) {
    const auto first = static_cast<std::int32_t>(runs[2 * i]);
    const auto last = static_cast<std::int32_t>(runs[2 * i + 1]);
    if (last < 0) continue;
    const std::int32_t from = std::max(first, next);
    const std::int32_t to = std::min(last, width - 1);
    if (from <= to) {
      out[2 * kept] = static_cast<std::uint32_t>(from);
      out[2 * kept + 1] = static_cast<std::uint32_t>(to);
      ++kept;
      next = to + 1;
    }
    if (last >= width) break;
  }
  out[2 * kept] = RunEnd;
  return kept;
}

}  // namespace quillbay
