#pragma once
#include <cstdint>
#include <optional>

#include "quillbay/view.h"

namespace quillbay {

/// What a view port takes from its host's settings.
struct ViewSettings {
  double arrowsScrollStep = 1.0;  ///< per cent of the client size
  double wheelScaleStep = 0.3;    ///< factor of one step of the wheel, forward
  int halfTonePaint = 1;
  std::optional<std::uint32_t> background;  ///< 0xBBGGRR; without one the system's window colour
  std::optional<std::uint32_t> cursor;      ///< without one the system's colour of window text
};

/// Missing values keep their defaults; `app` may be null.
[[nodiscard]] ViewSettings readViewSettings(IApp* app);

}  // namespace quillbay
