#pragma once
#include <optional>
#include <span>

#include "quillbay/geometry.h"
#include "quillbay/param.h"

namespace quillbay {

enum class WindowShow : int { Normal = 1, Minimised = 2, Maximised = 3 };

/// Where a window stands, in the screen's logical pixels.
struct WindowPlacement {
  int flags = 0;
  int showCommand = static_cast<int>(WindowShow::Normal);
  tagRPOINT minimised{-1, -1}, maximised{-1, -1};
  tagRRECT normal{};  ///< of its contents, while it is neither minimised nor maximised
  bool operator==(const WindowPlacement&) const = default;
};

/// Writes the five values under `placement_key`. `section` may be null.
void savePlacement(IParam* section, const WindowPlacement& placement);
/// The saved placement; none when one of its values is missing. A show command of 0 becomes 1.
[[nodiscard]] std::optional<WindowPlacement> loadPlacement(IParam* section);
/// How a restored window is shown on these screens: as it was, but one that is not minimised and lies off them all
/// (2 pixels of an edge do not count) is maximised.
[[nodiscard]] WindowShow shownOn(const WindowPlacement& placement, std::span<const tagRRECT> screens) noexcept;

}  // namespace quillbay
