#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// The panel of Scan To Net while pages wait for a server, and the dialog that sets one up.
bool shootNet(Stage& stage);

}  // namespace desktop
