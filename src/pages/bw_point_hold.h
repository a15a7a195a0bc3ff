#pragma once
#include "pages/tool_hold.h"

namespace quillbay {

/// The point area: the host's setup of the scanner's black and white points.
class CBWPointHold final : public ToolHold {
 public:
  explicit CBWPointHold(QWidget* parent)
      : ToolHold(parent, "This program cannot set the black and white points of the scanner.") {}
};

}  // namespace quillbay
