#pragma once
#include <string>

#include "scan_options.h"

/// Where pages go, as the panel takes it.
struct OutputChoice {
  std::string folder;     ///< "m_Dir"
  std::string mask;       ///< "m_Mask"
  std::string format;     ///< a name of ListFormats()
  std::string extension;  ///< with its dot
  bool named = false;     ///< --output gave the file
  bool counter = true;    ///< "m_fUseAutoCounter"
};

/// Works the output options out. Throws Failure (usage) for an unknown format or extension, a format that holds one
/// page with --multipage, and a name that the panel would change.
[[nodiscard]] OutputChoice chooseOutput(const ScanOptions& options);
