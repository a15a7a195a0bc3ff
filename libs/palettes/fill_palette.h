#pragma once
#include <cstddef>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// Adds colours that a palette lacks until it has `count` entries (at most 256): white and black, which blank lines
/// and ink look for; the other corners of the colour cube; then the colours of ever finer grids.
void fillPalette(std::size_t count, std::vector<KXRGBQUAD>& palette);

}  // namespace quillbay
