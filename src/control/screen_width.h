#pragma once
#include <cstdint>

namespace quillbay {

/// Of the primary screen, in its own pixels. 0 without a screen: there is nothing to fill.
[[nodiscard]] std::int32_t screenWidth();

}  // namespace quillbay
