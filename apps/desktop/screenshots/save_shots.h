#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// The save page, and the options of each format that colour pages can be saved in. False when a picture could not
/// be taken.
bool shootSave(Stage& stage);

}  // namespace desktop
