#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// Makes a run list valid for a line of `width` pixels: ascending, inclusive, within 0..width-1, ended by `RunEnd`.
/// Pixel indices are taken as signed. A run that ends left of the line is dropped, the others are cut to the line;
/// the first run that reaches the line's end is the last one (dropped when it begins beyond the line). A run that
/// is turned round is dropped, one that begins within the run before it begins after it.
/// Reads up to the list's `RunEnd`, not beyond. `out` (which may be `runs`) takes at most as many words as the list
/// has. Answers the runs that are left.
std::size_t trimRuns(const std::uint32_t* runs, std::int32_t width, std::uint32_t* out) noexcept;

}  // namespace quillbay
