#pragma once
#include <cstdint>
#include <vector>

#include "channels/format_module.h"
#include "channels/jp2/jp2_encoder.h"

namespace quillbay {

/// The boxes of a JP2 file before its codestream, up to the head of the codestream's box, which reaches to the
/// file's end. The height is 0. `hasProfile`: the page's profile describes the colours; else they are sRGB, or grey
/// with its tone curve.
[[nodiscard]] std::vector<std::uint8_t> jp2Boxes(const QbPage& page, const Jp2Format& format, bool hasProfile);

/// The place of the height in a file with boxes: four bytes, high byte first.
inline constexpr std::int64_t kBoxHeight = 12 + 20 + 8 + 8;

}  // namespace quillbay
