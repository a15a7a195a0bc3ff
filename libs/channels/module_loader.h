#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "channels/format_module.h"
#include "channels/module_probe.h"

namespace quillbay {

/// The folder of the format modules: `QUILLBAY_FORMATS` when set, else found from this library's own place.
[[nodiscard]] std::string formatFolder();

/// The complete path of a module that settings name: in the formats' folder unless it has a path of its own.
[[nodiscard]] std::string moduleFile(const std::string& name);

/// What earlier runs found out of modules: those whose files are as they were are not examined again. A module
/// outside the format folder is used as well when it is among them. No effect once formats were asked for. Any
/// thread.
void rememberModules(std::vector<ModuleAnswer> known);

/// What is known of all modules, the bad ones too. Any thread.
[[nodiscard]] const std::vector<ModuleAnswer>& moduleAnswers();

/// The formats of all good modules, examined and loaded at the first call and never unloaded. One that is not known
/// to be good never comes into this process. Any thread.
[[nodiscard]] const std::vector<const QbFormat*>& loadedFormats();

/// The format of a file name's extension, or null.
[[nodiscard]] const QbFormat* formatForName(std::string_view fileName);

/// The format of a file that starts with these bytes, or null.
[[nodiscard]] const QbFormat* formatForContent(const std::uint8_t* head, std::size_t size);

}  // namespace quillbay
