#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// A run list and its length.
struct RunView {
  const std::uint32_t* runs = nullptr;
  std::size_t count = 0;
};

/// The list's length, if it ascends without overlap, lies within 0..width-1 and is ended by `RunEnd`; otherwise
/// false, and `*count` is what was found good.
[[nodiscard]] bool checkRuns(const std::uint32_t* runs, std::int32_t width, std::size_t* count) noexcept;

/// The valid list that is meant by one that is not: pixels count as signed; runs left of the line are dropped, the
/// rest is cut to 0..width-1; the first run that reaches `width` is the last; what overlaps the run before is cut.
/// Without `RunEnd`.
[[nodiscard]] std::vector<std::uint32_t> repairRuns(const std::uint32_t* runs, std::int32_t width);

}  // namespace quillbay
