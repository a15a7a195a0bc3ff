#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// How a picture's lines lie, 1 to 8 as TIFF counts, from the content of an Exif segment; 0 when it does not say.
[[nodiscard]] int exifOrientation(const std::uint8_t* segment, std::size_t size) noexcept;

}  // namespace quillbay
