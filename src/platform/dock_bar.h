#pragma once
#include <cstdint>
#include <string>

#include "quillbay/quillbay.h"

namespace quillbay {

/// What a docking bar can do, added up.
enum DockBarStyle : std::uint32_t {
  kBarDocksAtSides = 16,  ///< left and right of the main window's middle, never above or below
  kBarFloats = 128,       ///< the user may take it off the main window
};

/// Where a docking bar is at first.
enum DockBarPlace : std::uint32_t {
  kBarAtLeft = 8,
  kBarAtRight = 16,
};

/// The type of the event that is sent (never posted) to the window in a docking bar before the bar closes because
/// somebody asked it to: the user-message base plus 101. A window that ignores it stays open; one that accepts it,
/// or does not know it, lets the bar close.
inline constexpr int kDockBarClosing = 1000 + 101;

/// What the window means by its answer.
enum class BarAnswer : int { StaysOpen = 1, Closes = 2 };

/// A new, hidden docking bar: it shows itself when a window is attached, docked when `mainWindow` is a QMainWindow,
/// otherwise (null too) as a floating tool window that docks nowhere. It belongs to `mainWindow`, and goes with its
/// window: when the user closed it, when `mainWindow` is destroyed, or by `delete bar->GetWindow()`. Without a main
/// window it goes at the latest when the event loop of the program ends.
[[nodiscard]] KxDockBar* new_DocBar(QWidget* mainWindow, const std::string& caption, std::uint32_t style,
                                    std::uint32_t place);

}  // namespace quillbay
