#pragma once
#include "pages/tool_hold.h"

namespace quillbay {

/// The tab "Gamma": the host's curve editor.
class CGammaHold final : public ToolHold {
 public:
  explicit CGammaHold(QWidget* parent) : ToolHold(parent, "This program has no editor for curves.") {}
};

}  // namespace quillbay
