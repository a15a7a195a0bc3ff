#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "params/scan_values.h"
#include "quillbay/format_settings.h"

namespace quillbay {

/// Examines the module of an entry and notes in it what it can write; 0: it cannot be used now.
using FormatProbe = std::function<int(std::string_view name, IParam* entry)>;

/// The formats of the sections "AllSaveFileFormats" and "ExportedProject" that can be used; a later one of a name
/// stands in place of an earlier one. An entry that was never examined is, by `probe`.
[[nodiscard]] std::vector<SaveFormat> buildFormatTable(IFormatSettings& settings, const FormatProbe& probe);

/// The text that lists show and settings keep: "(*.tif) TIFF pictures".
[[nodiscard]] std::string formatItemText(const SaveFormat& format);

/// The colour space by which a class's options dialog begins.
[[nodiscard]] std::int32_t preferredColorSpace(ColorClass colorClass) noexcept;

/// The formats of a colour class's list, in the order of the table. `destinationMode` 0 and 2 write while they
/// scan; `multiPage`: one file takes several pages.
[[nodiscard]] std::vector<SaveFormat> formatsOfClass(const std::vector<SaveFormat>& table, ColorClass colorClass,
                                                     std::int32_t destinationMode, bool multiPage);

/// The index of the first format whose text begins with `text`; -1 when there is none, or no text.
[[nodiscard]] int findFormat(const std::vector<SaveFormat>& list, std::string_view text) noexcept;

}  // namespace quillbay
