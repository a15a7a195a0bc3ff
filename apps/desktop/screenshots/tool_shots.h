#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// Tools that are being drawn with on the current page. Some of them; all with QUILLBAY_ALL_TOOLS in the
/// environment.
bool shootTools(Stage& stage);

}  // namespace desktop
