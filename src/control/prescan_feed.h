#pragma once
#include "control/panel_parts.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Takes a stripe of the whole-bed prescan: lengthens the area where the document sets its length, shows the
/// stripe, and keeps the frame at its end. `dpi` is the prescan's. User-interface thread only.
void takePrescanStripe(PanelParts& parts, IScanBuffer& stripe, int dpi);

}  // namespace quillbay
