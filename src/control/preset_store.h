#pragma once
#include "quillbay/presets.h"

namespace quillbay {

/// Presets in the host's profile beside those of quillbay/presets.h.
namespace preset_store {

/// The preset of an id, without its values.
[[nodiscard]] bool find(IApp* app, std::int32_t id, PresetEntry* out);
/// Deletes it and writes the profile. False when there is none.
bool remove(IApp* app, std::int32_t id);

}  // namespace preset_store

}  // namespace quillbay
