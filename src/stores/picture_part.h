#pragma once
#include "platform/picture.h"

namespace quillbay {

/// A reduced picture of some lines of a page, and the reduced lines that it stands for.
struct PicturePart {
  Picture picture;
  double top = 0, bottom = 0;  ///< its place, in reduced lines of the page
  bool isInk = false;          ///< black lines on white, which stay dark when shrunk
};

}  // namespace quillbay
