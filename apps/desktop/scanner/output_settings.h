#pragma once
#include <string>

#include "quillbay/control.h"
#include "quillbay/scan_mode.h"

namespace desktop {

class ProgramSettings;

/// How files are made beside folder and mask, which the panel shows itself.
struct OutputSettings {
  std::string extension = ".tif";  ///< with its dot; chooses the format
  bool isMultiPage = false;        ///< a batch makes one file
  bool addsCounter = true;         ///< the name ends in the counter
  int counter = 0;                 ///< from 0: of the next file
  int digits = 3;                  ///< 1 to 8
  int fate = quillbay::kFateIncrement;
  bool operator==(const OutputSettings&) const = default;
};

/// What the panel has.
[[nodiscard]] OutputSettings readOutput(quillbay::IQuillbayControl& control);
/// Gives them to the panel. False with the first reason in `*why` (may be null) when it refuses one; the others
/// hold.
bool applyOutput(quillbay::IQuillbayControl& control, const OutputSettings& output, std::string* why);

/// Keeps them for the next start; the counter is the one from which that starts.
void keepOutput(ProgramSettings& settings, const OutputSettings& output);
/// Keeps the number of the next file where settings are kept: a panel that opens later goes on from there.
void keepCounter(ProgramSettings& settings, quillbay::IQuillbayControl& control);
/// False when nothing was kept: `*output` stays as it was.
bool recallOutput(const ProgramSettings& settings, OutputSettings* output);

}  // namespace desktop
