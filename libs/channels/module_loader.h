#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "channels/format_module.h"

namespace quillbay {

/// The folder of the format modules: `QUILLBAY_FORMATS` when set, else found from this library's own place.
[[nodiscard]] std::string formatFolder();

/// The formats of all modules of the folder; loaded at the first call and never unloaded. Any thread.
[[nodiscard]] const std::vector<const QbFormat*>& loadedFormats();

/// The format of a file name's extension, or null.
[[nodiscard]] const QbFormat* formatForName(std::string_view fileName);

/// The format of a file that starts with these bytes, or null.
[[nodiscard]] const QbFormat* formatForContent(const std::uint8_t* head, std::size_t size);

}  // namespace quillbay
