#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/raster.h"

namespace quillbay {

/// An option of a file format, for help texts and for checking user input.
struct FormatOption {
  std::string key, help;
  std::vector<std::string> choices;  ///< allowed values, the default first; empty: a number or a text
  std::int32_t least = 0, most = 0;  ///< of a number; both 0 for a text
  std::string otherwise;             ///< the number or text that counts when none is set
};

struct FormatInfo {
  std::string name;                     ///< "TIFF"
  std::string description;              ///< for a list that people choose from: "TIFF pictures"
  std::vector<std::string> extensions;  ///< with the leading dot, the usual one first
  bool paged = false;                   ///< several pages in one file
  std::vector<FormatOption> options;
};

/// The formats whose modules were found.
[[nodiscard]] QUILLBAY_API std::vector<FormatInfo> ListFormats();

/// The number of pages of a picture file; the content gives the format. Throws CXFileException if it cannot be read
/// or no module knows its format.
[[nodiscard]] QUILLBAY_API int CountRasterPages(const std::string& path);

/// Position of the progress at the end of a reading.
inline constexpr int kLoadSteps = 1000;

/// Reads page `page` (from 0) of a picture file, upright for every orientation tag. `progress`
/// may be null; its positions range from 0 to `kLoadSteps`. Returns null if it was cancelled. Throws
/// CXFileException (for a truncated file it lists what can be read), or CXMemException when memory and scratch
/// space ran out.
[[nodiscard]] QUILLBAY_API KxPtr<IRStor> LoadRasterFile(const std::string& path, int page, IProgress* progress);

/// Writes the rasters as the pages of one file; the extension of `path` chooses the format, `app` gives its options
/// and the software tag (may be null). The file is written completely or not at all, and replaces an existing one
/// only with `mayReplace`. Returns 1, or 0 when it was cancelled. Throws CXFileException for pages that cannot be
/// written, also for several pages in a format with one.
QUILLBAY_API int SaveRasterFile(IApp* app, const std::vector<KxPtr<IRStor>>& pages, const std::string& path,
                                bool mayReplace, IProgress* progress);

}  // namespace quillbay
