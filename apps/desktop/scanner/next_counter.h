#pragma once
#include "quillbay/control.h"

namespace desktop {

class ProgramSettings;

/// Keeps the number of the next file: a panel that opens later goes on from there. The save page keeps only where
/// counting starts.
void keepCounter(ProgramSettings& settings, quillbay::IQuillbayControl& control);
/// Gives it to a panel that was opened.
void recallCounter(const ProgramSettings& settings, quillbay::IQuillbayControl& control);

}  // namespace desktop
