#pragma once
#include <string>

#include "quillbay/geometry.h"

namespace quillbay {

/// Where a found scan area comes from.
enum class DetectedBy : int {
  Nothing = 0,     ///< no area was found
  Device = 1,      ///< the scanner measured its document
  Prescan = 2,     ///< the document was found in a prescan of the bed
  SecondLook = 3,  ///< the same, after the picture of the prescan was prepared once more
  WholeBed = 4,    ///< nothing was found, and the user wants the whole bed
  User = 5,        ///< the user corrected what was found
};

/// The document as it was found on the bed. Millimetres.
struct DetectedArea {
  DetectedBy by = DetectedBy::Nothing;
  tagRRECT box;  ///< upright, around the document
  double angle =
      0;           ///< radians: the turn that straightens the document, clockwise positive; 0: it stays as it lies
  tagRSIZE sheet;  ///< of the page when it is straight
  std::string paper;  ///< the standard paper of this size; empty without one
  bool operator==(const DetectedArea&) const = default;
};

}  // namespace quillbay
