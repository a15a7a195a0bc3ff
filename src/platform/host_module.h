#pragma once
#include "quillbay/app.h"

namespace quillbay {

/// The host's module, as far as the panel asks it for something. User-interface thread only.
class KxAcApp {
 public:
  /// The process's application object with a reference: the one registered last (`RegisterApp`) of those that still
  /// live; null without one.
  [[nodiscard]] static IApp* GetApp();
};

}  // namespace quillbay
