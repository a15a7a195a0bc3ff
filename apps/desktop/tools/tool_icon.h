#pragma once
#include <QIcon>

#include "tools/tool_list.h"

namespace desktop {

/// The picture of a tool, of a work with several tools (`shape` null), in the colours of the palette at the time
/// that it is shown; sharp at any size.
[[nodiscard]] QIcon toolIcon(ToolWork work, const ToolShape* shape = nullptr);

}  // namespace desktop
