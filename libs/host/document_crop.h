#pragma once
#include <optional>

#include "quillbay/geometry.h"
#include "quillbay/raster.h"

namespace quillbay {

/// What `findDocumentOn` found.
enum class DocumentOnPage {
  Found,
  FillsPage,
  NoBed,    ///< what was found lies on paper, not on a bed
  Nothing,  ///< no edges
  Cancelled,
};

/// Looks for the sheet on a page that shows the scanner's bed around it, as scanned or straightened since.
/// `*box` gets its upright box in pixels when it was found. `progress` may be null. Throws CXException.
[[nodiscard]] DocumentOnPage findDocumentOn(IRStor* page, IProgress* progress, KxRect* box);

}  // namespace quillbay
