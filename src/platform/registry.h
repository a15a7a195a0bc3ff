#pragma once
#include <string>
#include <string_view>

#include "quillbay/param.h"

namespace quillbay {

/// A key of the current user's settings that programs share, as a parameter set: keys within it are sub-stores,
/// values are values. `key` is a path whose names are parted by backslashes. With `create` 0 null when it does not
/// exist; otherwise it is made. They are one file, `shared-settings.json` in the settings folder, that is read at
/// each call. A file that cannot be read is logged, and counts as empty.
[[nodiscard]] KxPtr<IParam> new_IParamCUReg(std::string_view key, int create);

/// Writes a set that `new_IParamCUReg` made, if it was changed. Throws CXFileException.
void saveIParamCUReg(IParam* key);

}  // namespace quillbay
