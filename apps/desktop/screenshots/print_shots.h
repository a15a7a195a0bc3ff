#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// The panel of Scan To Print, its print options, and the window "Print" with a page of the document. The printer
/// is the one of the address in $QUILLBAY_SHOWN_PRINTER; without it, "Auto Detect Printer".
bool shootPrint(Stage& stage);

}  // namespace desktop
