#pragma once
#include <QKeySequence>
#include <QString>
#include <vector>

namespace desktop {

/// What is done with the shape that a person draws.
enum class ToolWork {
  MeasurePlace,
  MeasureLength,
  MeasurePath,
  MeasureAngle,
  MeasureArea,
  Crop,
  Straighten,
  EraseInside,
  KeepInside,
  CopyFrame,
  SaveFrame,
  ScanAgain
};

/// What is drawn.
enum class ToolShape {
  Point,
  Line,
  NextPoint,  ///< a line from where the last one ended; the first one is an ordinary line
  Path,
  Angle,
  Polygon,
  Freehand,
  Polyhand,
  Frame,
  TurnedFrame,
  Circle,
  CircleByDiameter
};

/// A tool of the menu "Tools".
struct Tool {
  ToolWork work;
  ToolShape shape;
  QString text;  ///< of its command, with a mnemonic
  QString tip;
  QKeySequence key{};

  /// The text without its mnemonic.
  [[nodiscard]] QString title() const { return QString(text).remove('&').remove("..."); }
  /// It tells something of what it is drawn over, and stays for the next measure.
  [[nodiscard]] bool measures() const { return work <= ToolWork::MeasureArea; }
  /// It changes a page.
  [[nodiscard]] bool changesPage() const { return work >= ToolWork::Crop && work <= ToolWork::KeepInside; }
};

/// All of them, in the menu's order; those of one work follow each other.
[[nodiscard]] std::vector<Tool> allTools();
/// The title of a menu of several tools of one work; empty for a work that has but one tool.
[[nodiscard]] QString menuTitle(ToolWork work);

}  // namespace desktop
