#pragma once
#include "quillbay/export.h"
#include "quillbay/geometry.h"
#include "quillbay/raster.h"

/// Finds the document on a page that shows it with the scanner's bed around it, as the panel finds it in a prescan.
namespace quillbay {

struct FoundDocument {
  KxRect box;  ///< upright, around the document; pixels of the page, right and bottom exclusive
  double angle =
      0;  ///< radians: the turn that straightens it, clockwise positive (`IBoundDetect`); 0: none was found
};

/// Looks for the document on a page of any colour space and size; a picture of at most some 40 megabytes is made of
/// it. `progress` may be null; it gets positions from 0 to 1000. Returns 1 and stores what was found; 0 when there
/// are no edges on the page or the user cancelled. It cannot know whether edges are those of a sheet or of a
/// drawing on a sheet that fills the page.
///
/// The threshold of detection is the panel's, where one is open. Any thread while no panel is open, else the
/// user-interface thread. Throws CXMemException, and CXIFaceException for a raster that cannot draw itself.
QUILLBAY_API int FindDocument(IRStor* page, IProgress* progress, FoundDocument* found);

}  // namespace quillbay
