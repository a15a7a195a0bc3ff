#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// Presets: the menu of a page, and the dialog that makes one. False when a picture could not be taken.
bool shootPresets(Stage& stage);

}  // namespace desktop
