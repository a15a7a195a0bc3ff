#pragma once

namespace quillbay {

/// Where the preview page stands.
enum class PreviewSpot { Hidden, Tab, Column, Window };

struct PreviewRoom {
  bool full = true;     ///< the layout with the settings pages
  bool floats = false;  ///< the user took the page out of the panel
  int width = 0;        ///< of the panel, pixels
  int least = 0;        ///< of a panel with two columns
};

/// In a narrow panel a tab, where there is room a second column, a window of its own when it floats.
[[nodiscard]] constexpr PreviewSpot spotOf(const PreviewRoom& room) noexcept {
  if (!room.full) return PreviewSpot::Hidden;
  if (room.floats) return PreviewSpot::Window;
  return room.width >= room.least ? PreviewSpot::Column : PreviewSpot::Tab;
}

}  // namespace quillbay
