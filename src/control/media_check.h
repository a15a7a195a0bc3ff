#pragma once
#include "control/panel_parts.h"

namespace quillbay {

/// Asks for a document until the unit reports one, or the user gives up, or a stop was asked for. Returns whether
/// there is one; otherwise the unit's reason is in `*fault`. Runs event loops.
[[nodiscard]] bool waitForMedia(const PanelParts& parts, UnitFault* fault);

}  // namespace quillbay
