#pragma once
#include "channels/picture_file.h"

namespace quillbay {

/// Reads page `page` (from 0) as a raster that is upright, whatever the orientation of the file's lines. Lines that
/// come bottom first, or right pixel first, are put in place one by one; lines that are columns make a raster that
/// is turned then, so that both exist for a moment. Returns null when it was cancelled; positions go from 0 to
/// `kLoadSteps`. Throws as `PictureFile`, and CXMemException when scratch space ran out.
[[nodiscard]] KxPtr<IRStor> loadPage(PictureFile& file, int page, IProgress* progress);

}  // namespace quillbay
