#pragma once
#include <QString>

#include "quillbay/app.h"
#include "quillbay/control.h"
#include "quillbay/scanner.h"

namespace desktop {

/// The current scanner, opened; null when the application has none. One that could not be opened is no unit.
[[nodiscard]] quillbay::KxPtr<quillbay::IScan> currentScanner(quillbay::IApp* app);

/// The device string of the scanner that is open or would be opened; empty without one.
[[nodiscard]] QString deviceOf(quillbay::IScanManager* manager);

/// Whether the settings hold choices for the current scanner, from a panel that was closed.
bool knowsScanner(quillbay::IApp* app);

/// What a user gets who meets a scanner for the first time: nothing of the document is cut off, and pages have a
/// place to go to. Colour at 200 dpi where the device has them, the whole bed to the document's end, files in the
/// user's folder for documents.
void makeFirstChoices(quillbay::IApp* app, quillbay::IQuillbayControl* control);

}  // namespace desktop
