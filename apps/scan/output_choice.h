#pragma once
#include <string>

#include "scan_options.h"

/// Where pages go, as the panel takes it.
struct OutputChoice {
  std::string folder;        ///< `quillbay::key::Dir`
  std::string mask;          ///< `quillbay::key::Mask`
  std::string format;        ///< a name of ListFormats(); empty: what the panel's save page says
  std::string extension;     ///< with its dot; empty: the same
  bool named = false;        ///< --output gave the file
  bool changesMask = false;  ///< the panel replaces characters of --mask
  bool counter = true;       ///< `quillbay::key::UseAutoCounter`
};

/// Works the output options out. Throws Failure (usage) for an unknown format or extension, a format that holds one
/// page with --multipage, and a name that the panel would change.
[[nodiscard]] OutputChoice chooseOutput(const ScanOptions& options);

/// Where the options name no format: the one of the panel's files.
void completeOutput(OutputChoice& choice, const std::string& extension);
