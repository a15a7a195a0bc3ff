#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/raster.h"

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

/// The pages of a picture file; its content tells the format. Throws CXFileException when it cannot be read or is
/// no picture that a module knows.
[[nodiscard]] QUILLBAY_API int CountRasterPages(const std::string& path);

/// Position of the progress at the end of a reading.
inline constexpr int kLoadSteps = 1000;

/// Reads page `page` (from 0) of a picture file, upright whatever the orientation that the file names. `progress`
/// may be null; its positions go from 0 to `kLoadSteps`. Answers null soon after it was cancelled. Throws
/// CXFileException (of a truncated file it says what can be read), or CXMemException when memory and scratch space
/// ran out.
[[nodiscard]] QUILLBAY_API KxPtr<IRStor> LoadRasterFile(const std::string& path, int page, IProgress* progress);

/// Writes the rasters as the pages of one file; the extension of `path` chooses the format, `app` gives its options
/// and the software tag (may be null). The file appears whole or not at all, and takes the place of an existing one
/// only when `mayReplace`. Answers 1, or 0 when it was cancelled. Throws CXFileException for what cannot be
/// written, also several pages where the format has one.
QUILLBAY_API int SaveRasterFile(IApp* app, const std::vector<KxPtr<IRStor>>& pages, const std::string& path,
                                bool mayReplace, IProgress* progress);

}  // namespace quillbay
