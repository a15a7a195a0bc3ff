#pragma once
#include <string>
#include <string_view>

namespace quillbay {

/// The MD5 digest of `data` as 32 lower-case hexadecimal digits (RFC 1321). Only for protocols that ask for it.
[[nodiscard]] std::string md5Hex(std::string_view data);

}  // namespace quillbay
