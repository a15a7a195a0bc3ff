#pragma once
#include <string>
#include <vector>

#include "quillbay/export.h"

namespace quillbay {

/// An option of a file format, for help texts and for checking what a person typed.
struct FormatOption {
  std::string key, help;
  std::vector<std::string> choices;  ///< allowed values, the default first; empty: free
};

struct FormatInfo {
  std::string name;                     ///< "TIFF"
  std::vector<std::string> extensions;  ///< with the leading dot, the usual one first
  bool paged = false;                   ///< several pages in one file
  std::vector<FormatOption> options;
};

/// The formats whose modules were found.
[[nodiscard]] QUILLBAY_API std::vector<FormatInfo> ListFormats();

}  // namespace quillbay
