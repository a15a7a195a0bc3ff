#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// The bytes of an ICC profile; empty: none.
using ColorProfile = std::vector<std::uint8_t>;

/// The profile that a page's file gets. `choice` is what the format's option "Profile" says: "sRGB" (also empty),
/// "none", or the path of an ICC profile. Black-and-white pages have none. Grey pages get sRGB's tone curve, unless
/// the file named is a grey profile. Throws CXFileException for a file that is no profile of colours that a scanner
/// delivers.
[[nodiscard]] ColorProfile profileFor(KxColorSpace colorSpace, const std::string& choice);

}  // namespace quillbay
