#pragma once
#include <QIcon>
#include <QPalette>

namespace quillbay {

/// The pictures of the panel's commands and of its view's.
enum class ToolIcon {
  Scan,
  Batch,
  Preview,
  PreviewArea,
  Stop,
  StopAfterPage,
  Eject,
  Layout,
  View,
  ZoomIn,
  ZoomOut,
  ZoomPixels,
  ZoomAll,
  ZoomBack,
  ZoomForward,
  Help,
  NewArea,
  NewFragment,
  AreaFromFragment,
  ScanFragment,
  PauseUpdating,
  Dock,
  Float,
};

/// Draws a command's picture in the palette's text colour, so that it shows on light and dark windows alike, and in
/// its disabled colour. Sharp at every scale.
[[nodiscard]] QIcon toolIcon(ToolIcon icon, const QPalette& palette);

}  // namespace quillbay
