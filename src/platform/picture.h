#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillbay {

/// A picture for the screen: rows of 32-bit pixels 0xffRRGGBB, top row first, `stride` bytes apart.
struct Picture {
  std::int32_t width = 0, height = 0;
  std::size_t stride = 0;
  std::vector<std::uint8_t> bytes;
};

}  // namespace quillbay
