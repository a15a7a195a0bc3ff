#include "rasters/run_lists.h"

#include <algorithm>

namespace quillbay {

bool checkRuns(const std::uint32_t* runs, std::int32_t width, std::size_t* count) noexcept {
  const auto end = static_cast<std::uint32_t>(width);
  std::uint32_t next = 0;  // the least first pixel that the next run may have
  std::size_t n = 0;
  for (; runs[2 * n] != RunEnd; ++n) {
    const std::uint32_t first = runs[2 * n];
    const std::uint32_t last = runs[2 * n + 1];
    if (first < next || last < first || last >= end) {
      *count = n;
      return false;
    }
    next = last + 1;
  }
  *count = n;
  return true;
}

std::vector<std::uint32_t> repairRuns(const std::uint32_t* runs, std::int32_t width) {
  std::vector<std::uint32_t> out;
  std::int32_t next = 0;
  for (std::size_t n = 0; runs[2 * n] != RunEnd; ++n) {
    const auto first = static_cast<std::int32_t>(runs[2 * n]);
    const auto last = static_cast<std::int32_t>(runs[2 * n + 1]);
    if (last < 0) continue;
    const std::int32_t from = std::max(first, next);
    const std::int32_t to = std::min(last, width - 1);
    if (from <= to) {
      out.push_back(static_cast<std::uint32_t>(from));
      out.push_back(static_cast<std::uint32_t>(to));
      next = to + 1;
    }
    if (last >= width) break;
  }
  return out;
}

}  // namespace quillbay
