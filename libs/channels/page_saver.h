#pragma once
#include <string>

#include "channels/writing_file.h"
#include "quillbay/app.h"
#include "quillbay/raster.h"

namespace quillbay {

/// What a page is saved with.
struct PageRequest {
  const QbFormat* format = nullptr;
  IIOParams* params = nullptr;     ///< may be null
  std::string fileName;            ///< for texts
  std::string title;               ///< of the document
  std::int64_t expectedLines = 0;  ///< 0: unknown
  bool paged = false;
};

/// What became of a page; `Cut`: it holds the lines that its format has room for, and the scan delivered more.
enum class SavedPage : int { Dropped = 0, Whole = 1, Cut = 2 };

/// Writes the lines of `raster` as the next page of `file`; the page is complete but not yet part of the file
/// (`WritingFile::finishPage`). A page that was cancelled or abandoned is dropped, as it is when this throws
/// (CXFileException, CXMemException, CXIFaceException, and what the raster throws).
[[nodiscard]] SavedPage savePage(WritingFile& file, const PageRequest& request, IRStor* raster,
                                 IProgress* progress);

/// The moment as a tag has it: "YYYY:MM:DD HH:MM:SS", local time.
[[nodiscard]] std::string dateTimeText(std::int64_t secondsSince1970);

}  // namespace quillbay
