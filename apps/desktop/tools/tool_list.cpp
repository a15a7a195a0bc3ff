#include "tools/tool_list.h"

#include <QCoreApplication>

namespace desktop {

namespace {

QString toolText(const char* text) { return QCoreApplication::translate("Tools", text); }

void addAreas(std::vector<Tool>* tools) {
  const auto work = ToolWork::MeasureArea;
  tools->push_back({work, ToolShape::Polygon, toolText("&Polygon"),
                    toolText("Measures the area and the perimeter of a polygon"), QKeySequence("Ctrl+Shift+A")});
  tools->push_back({work, ToolShape::Frame, toolText("&Frame"),
                    toolText("Measures the area and the sides of an upright frame")});
  tools->push_back({work, ToolShape::TurnedFrame, toolText("&Turned frame"),
                    toolText("Measures the area and the sides of a frame along any direction")});
  tools->push_back({work, ToolShape::Circle, toolText("&Circle by its radius"),
                    toolText("Measures the area and the perimeter of a circle around a centre")});
  tools->push_back({work, ToolShape::CircleByDiameter, toolText("Circle by its &diameter"),
                    toolText("Measures the area and the perimeter of a circle between two points")});
  tools->push_back({work, ToolShape::Freehand, toolText("Free&hand outline"),
                    toolText("Measures the area and the perimeter of an outline drawn with the button held")});
}

void addFills(std::vector<Tool>* tools, ToolWork work) {
  const bool erases = work == ToolWork::EraseInside;
  const auto add = [&](ToolShape shape, const char* text, const char* eraseTip, const char* keepTip,
                       const char* key) {
    tools->push_back({work, shape, toolText(text), toolText(erases ? eraseTip : keepTip), QKeySequence(key)});
  };
  add(ToolShape::Polygon, QT_TRANSLATE_NOOP("Tools", "&Polygon"),
      QT_TRANSLATE_NOOP("Tools", "Erases what lies in a polygon"),
      QT_TRANSLATE_NOOP("Tools", "Erases all but what lies in a polygon"), erases ? "Ctrl+B" : "Ctrl+Shift+B");
  add(ToolShape::Freehand, QT_TRANSLATE_NOOP("Tools", "Free&hand outline"),
      QT_TRANSLATE_NOOP("Tools", "Erases what lies in an outline drawn with the button held"),
      QT_TRANSLATE_NOOP("Tools", "Erases all but what lies in an outline drawn with the button held"), "");
  add(ToolShape::Polyhand, QT_TRANSLATE_NOOP("Tools", "Outline of c&orners and curves"),
      QT_TRANSLATE_NOOP("Tools", "Erases what lies in an outline: clicks make corners, dragging draws curves"),
      QT_TRANSLATE_NOOP("Tools",
                        "Erases all but what lies in an outline: clicks make corners, dragging draws curves"),
      "");
  add(ToolShape::Circle, QT_TRANSLATE_NOOP("Tools", "&Circle"),
      QT_TRANSLATE_NOOP("Tools", "Erases what lies in a circle"),
      QT_TRANSLATE_NOOP("Tools", "Erases all but what lies in a circle"), "");
  add(ToolShape::Frame, QT_TRANSLATE_NOOP("Tools", "&Frame"),
      QT_TRANSLATE_NOOP("Tools", "Erases what lies in an upright frame"),
      QT_TRANSLATE_NOOP("Tools", "Erases all but what lies in an upright frame"), "");
}

}  // namespace

std::vector<Tool> allTools() {
  std::vector<Tool> tools;
  tools.reserve(32);
  tools.push_back({ToolWork::MeasureLength, ToolShape::Line, toolText("Measure &length"),
                   toolText("Measures the distance between two points"), QKeySequence("Ctrl+L")});
  tools.push_back({ToolWork::MeasureLength, ToolShape::NextPoint, toolText("Measure from las&t point"),
                   toolText("Measures the distance from the end of the last measured length"),
                   QKeySequence("Ctrl+Alt+L")});
  tools.push_back({ToolWork::MeasurePath, ToolShape::Path, toolText("Measure &path"),
                   toolText("Measures the length of a line of segments"), QKeySequence("Ctrl+Shift+L")});
  tools.push_back({ToolWork::MeasureAngle, ToolShape::Angle, toolText("Measure a&ngle"),
                   toolText("Measures the angle at a point between two others"), QKeySequence("Ctrl+K")});
  tools.push_back({ToolWork::MeasurePlace, ToolShape::Point, toolText("&Measure place"),
                   toolText("Measures how far a point lies from the left and the upper edge of its page")});
  addAreas(&tools);
  tools.push_back({ToolWork::Crop, ToolShape::Frame, toolText("&Crop to frame"),
                   toolText("Cuts off the page what lies around a frame"), QKeySequence("Ctrl+T")});
  tools.push_back({ToolWork::Crop, ToolShape::TurnedFrame, toolText("Crop to t&urned frame"),
                   toolText("Cuts a frame along any direction out of the page, and straightens it")});
  tools.push_back({ToolWork::Straighten, ToolShape::Line, toolText("&Straighten by a line"),
                   toolText("Turns the page so that a line along an edge becomes level or upright"),
                   QKeySequence("Ctrl+D")});
  addFills(&tools, ToolWork::EraseInside);
  addFills(&tools, ToolWork::KeepInside);
  tools.push_back({ToolWork::CopyFrame, ToolShape::Frame, toolText("C&opy frame"),
                   toolText("Copies a part of the page to the clipboard"), QKeySequence("Ctrl+Shift+K")});
  tools.push_back({ToolWork::SaveFrame, ToolShape::Frame, toolText("Sa&ve frame as..."),
                   toolText("Saves a part of the page as a file"), QKeySequence("Ctrl+Alt+S")});
  tools.push_back({ToolWork::ScanAgain, ToolShape::Frame, toolText("Scan frame &again..."),
                   toolText("Scans a part of the page once more, at another resolution"), QKeySequence("Ctrl+F9")});
  return tools;
}

QString menuTitle(ToolWork work) {
  switch (work) {
    case ToolWork::MeasureArea: return toolText("Measure a&rea");
    case ToolWork::EraseInside: return toolText("&Erase inside");
    case ToolWork::KeepInside: return toolText("&Keep inside");
    default: return {};
  }
}

}  // namespace desktop
