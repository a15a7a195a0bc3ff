#include "screenshots/tool_shots.h"

#include <QAction>
#include <QApplication>
#include <QMouseEvent>
#include <QToolBar>
#include <cmath>

#include "tools/measure_dock.h"
#include "tools/tool_commands.h"
#include "tools/tool_entry.h"
#include "view/document_view.h"

namespace desktop {

namespace {

/// A tool with places to click, in parts of the view; the pointer rests at the last one. With `drags` the button is
/// held between the first two.
struct ToolShot {
  const char* name;
  ToolWork work;
  ToolShape shape;
  std::vector<QPointF> places;
  bool drags = false;
  bool isKept = false;  // in the usual set
};

void sendMouse(QWidget* to, QEvent::Type type, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons down) {
  QMouseEvent event(type, at, to->mapToGlobal(at), button, down, Qt::NoModifier);
  QApplication::sendEvent(to, &event);
}

void draw(QWidget* view, const ToolShot& shot) {
  const auto at = [&](const QPointF& part) { return QPointF(part.x() * view->width(), part.y() * view->height()); };
  const Qt::MouseButtons held = shot.drags ? Qt::LeftButton : Qt::NoButton;
  for (std::size_t i = 0; i + 1 < shot.places.size(); ++i) {
    if (shot.drags && i > 0) {
      sendMouse(view, QEvent::MouseMove, at(shot.places[i]), Qt::NoButton, held);
      continue;
    }
    sendMouse(view, QEvent::MouseButtonPress, at(shot.places[i]), Qt::LeftButton, Qt::LeftButton);
    if (!shot.drags) sendMouse(view, QEvent::MouseButtonRelease, at(shot.places[i]), Qt::LeftButton, Qt::NoButton);
  }
  sendMouse(view, QEvent::MouseMove, at(shot.places.back()), Qt::NoButton, held);
}

std::vector<QPointF> stroke() {
  std::vector<QPointF> places;
  constexpr int kSteps = 90;
  places.reserve(kSteps);
  for (int i = 0; i < kSteps; ++i) {
    const double turn = i * 6.2 / kSteps, radius = 0.2 + 0.04 * std::sin(5 * turn);
    places.emplace_back(0.5 + radius * std::cos(turn), 0.5 + radius * std::sin(turn));
  }
  return places;
}

std::vector<ToolShot> shots() {
  using W = ToolWork;
  using S = ToolShape;
  const std::vector<QPointF> line{{0.25, 0.3}, {0.7, 0.62}}, frame{{0.3, 0.3}, {0.7, 0.66}};
  const std::vector<QPointF> polygon{{0.3, 0.35}, {0.52, 0.25}, {0.7, 0.4}, {0.62, 0.68}, {0.38, 0.62}};
  const std::vector<QPointF> turned{{0.3, 0.62}, {0.62, 0.5}, {0.58, 0.3}};
  return {{"tool-length", W::MeasureLength, S::Line, line},
          {"tool-path", W::MeasurePath, S::Path, polygon},
          {"tool-angle", W::MeasureAngle, S::Angle, {{0.7, 0.35}, {0.35, 0.6}, {0.72, 0.62}}},
          {"tool-area", W::MeasureArea, S::Polygon, polygon, false, true},
          {"tool-area-frame", W::MeasureArea, S::Frame, frame},
          {"tool-area-turned", W::MeasureArea, S::TurnedFrame, turned},
          {"tool-area-circle", W::MeasureArea, S::Circle, {{0.5, 0.5}, {0.64, 0.58}}},
          {"tool-area-diameter", W::MeasureArea, S::CircleByDiameter, {{0.35, 0.42}, {0.64, 0.58}}},
          {"tool-area-freehand", W::MeasureArea, S::Freehand, stroke(), true},
          {"tool-crop", W::Crop, S::Frame, frame},
          {"tool-crop-turned", W::Crop, S::TurnedFrame, turned, false, true},
          {"tool-straighten", W::Straighten, S::Line, line},
          {"tool-erase", W::EraseInside, S::Polyhand, stroke(), true},
          {"tool-keep", W::KeepInside, S::Circle, {{0.5, 0.5}, {0.64, 0.58}}},
          {"tool-scan-again", W::ScanAgain, S::Frame, frame}};
}

/// Some measures in the list.
void fillList(MeasureDock& dock) {
  dock.add(measureLine({{0, 0}, {99.9, 0}}));
  dock.add(measureAngle({10, 0}, {0, 0}, {3, 9}));
  dock.add(measureCircle({{0, 0}, 24.5}));
  dock.add(measurePolygon({{{0, 0}, {80, 4}, {70, 60}, {6, 51}}, true}));
}

}  // namespace

bool shootTools(Stage& stage) {
  const bool all = qEnvironmentVariableIsSet("QUILLBAY_ALL_TOOLS");
  ToolCommands& tools = stage.window().tools();
  QWidget* view = stage.window().view().surface();
  fillList(*tools.dock());
  tools.dock()->show();
  QCoreApplication::processEvents();
  stage.window().view().fitPage(stage.window().view().current());
  for (const ToolShot& shot : shots()) {
    if (!all && !shot.isKept) continue;
    QAction* action = tools.action(shot.work, shot.shape);
    action->setEnabled(true);
    action->trigger();
    draw(view, shot);
    if (!stage.save(stage.window(), shot.name)) return false;
    tools.running()->stop();
    QCoreApplication::processEvents();
  }
  tools.dock()->hide();
  QCoreApplication::processEvents();
  return stage.save(stage.withMenu(ToolCommands::tr("Too&ls")), "tools-menu");
}

}  // namespace desktop
