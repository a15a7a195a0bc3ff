// What is done with a shape that was drawn.
#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <algorithm>

#include "scanner/panel_dock.h"
#include "tools/frame_scan.h"
#include "tools/measure_dock.h"
#include "tools/tool_commands.h"
#include "view/document_view.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/status_line.h"

namespace desktop {

using quillbay::CRCircle;
using quillbay::CRFrame;
using quillbay::CRLine;
using quillbay::CRPoint;
using quillbay::CRPolygon;
using quillbay::CRRect;

namespace {

/// A polygon, a circle or a frame; a line is none.
std::optional<ViewShape> drawnArea(const DrawnShape& shape) {
  if (const auto* polygon = std::get_if<CRPolygon>(&shape)) return *polygon;
  if (const auto* circle = std::get_if<CRCircle>(&shape)) return *circle;
  if (const auto* rect = std::get_if<CRRect>(&shape)) return *rect;
  if (const auto* frame = std::get_if<CRFrame>(&shape)) return *frame;
  return std::nullopt;
}

Measure measureOf(const Tool& tool, const DrawnShape& shape, const CRPoint& corner) {
  if (const auto* place = std::get_if<CRPoint>(&shape)) return measurePlace(*place, corner);
  if (const auto* line = std::get_if<CRLine>(&shape)) return measureLine(*line);
  if (const auto* circle = std::get_if<CRCircle>(&shape)) return measureCircle(*circle);
  if (const auto* frame = std::get_if<CRFrame>(&shape)) return measureFrame(*frame);
  if (const auto* rect = std::get_if<CRRect>(&shape))
    return measureFrame({{rect->left, rect->top}, rect->width(), rect->height(), 0});
  const auto& polygon = std::get<CRPolygon>(shape);
  if (tool.shape == ToolShape::Path) return measurePolyline(polygon);
  if (tool.shape == ToolShape::Angle && polygon.points.size() >= 3)
    return measureAngle(polygon.points[0], polygon.points[1], polygon.points[2]);
  return measurePolygon(polygon, tool.shape == ToolShape::Freehand ? MeasureKind::Outline : MeasureKind::Polygon);
}

}  // namespace

void ToolCommands::drawn(const DrawnShape& shape, const std::optional<DrawnPage>& page) {
  if (m_running->tool().measures()) return measure(shape, page);
  if (!page || page->id == 0) return say(tr("Begin on a page."));
  const auto corner = m_window->view().cornerOf(page->id);
  if (!corner || *corner != page->corner) return say(tr("The pages have moved meanwhile. Draw it again."));
  switch (m_running->tool().work) {
    case ToolWork::CopyFrame: return copyFrame(shape, *page);
    case ToolWork::SaveFrame: return saveFrame(shape, *page);
    case ToolWork::ScanAgain:
      if (const auto* frame = std::get_if<CRRect>(&shape)) scanAgain(*frame, *page);
      return;
    default: return change(shape, *page);
  }
}

void ToolCommands::measure(const DrawnShape& shape, const std::optional<DrawnPage>& page) {
  if (std::holds_alternative<CRPoint>(shape) && !page) return say(tr("Click on a page."));
  Measure measure = measureOf(m_running->tool(), shape, page ? page->corner : CRPoint{});
  const Page* known = page ? m_window->document().page(page->id) : nullptr;
  measure.pageId = known ? known->id : 0;
  measure.page = known ? known->name : page ? tr("Being scanned") : QString();
  m_dock->add(measure);
  say(kindText(measure.kind) + ": " + measureText(measure, m_dock->list().unit()));
}

void ToolCommands::change(const DrawnShape& shape, const DrawnPage& drawnOn) {
  const Tool tool = m_running->tool();
  const ToolPage page{drawnOn.id, drawnOn.corner};
  const Page* before = m_window->document().page(page.id);
  const int version = before ? before->version : 0;
  bool done = false;
  if (tool.work == ToolWork::Straighten) {
    const auto* edge = std::get_if<CRLine>(&shape);
    done = edge && m_pages->straighten(page, *edge);
  } else if (const auto area = drawnArea(shape)) {
    const auto part =
        tool.work == ToolWork::EraseInside ? quillbay::ShapePart::Inside : quillbay::ShapePart::Outside;
    done = tool.work == ToolWork::Crop ? m_pages->crop(page, *area) : m_pages->erase(page, *area, part, m_ground);
  }
  if (!done) return;
  const Page* after = m_window->document().page(page.id);
  const auto* rect = std::get_if<CRRect>(&shape);
  if (tool.work == ToolWork::Crop && rect && after) {
    // The document's y points up: the upper edge of the frame is its `bottom`.
    const double right = std::max(0.0, rect->left - page.topLeft.x),
                 down = std::max(0.0, page.topLeft.y - rect->bottom);
    m_frames->noteCut(version, *after, {right, down});
  }
  m_window->view().setCurrent(page.id);
  say(tr("Done: %1").arg(tool.title()));
  emit stateChanged();
}

void ToolCommands::copyFrame(const DrawnShape& shape, const DrawnPage& page) {
  const auto area = drawnArea(shape);
  const QImage picture = area ? m_pages->copyFrame({page.id, page.corner}, *area) : QImage();
  if (picture.isNull()) return;
  QGuiApplication::clipboard()->setImage(picture);
  say(tr("Copied: %1 × %2 pixels").arg(picture.width()).arg(picture.height()));
}

void ToolCommands::saveFrame(const DrawnShape& shape, const DrawnPage& drawnOn) {
  const auto area = drawnArea(shape);
  const Page* page = m_window->document().page(drawnOn.id);
  if (!area || !page) return;
  const QFileInfo source(page->file().isEmpty() ? page->name : page->file());
  const QString suffix = page->file().isEmpty() ? QStringLiteral("tif") : source.suffix();
  const QString name = tr("%1 part").arg(source.completeBaseName()) + "." + suffix;
  const QString suggested = page->file().isEmpty() ? name : source.dir().filePath(name);
  const QString file = m_window->prompts().saveName(suggested, false);
  if (file.isEmpty() || !m_window->mayReplace(file, {}, 1)) return;
  if (!m_pages->saveFrame({drawnOn.id, drawnOn.corner}, *area, file, true)) return;
  m_window->log().note(tr("Saved: %1").arg(file));
  say(tr("Saved: %1").arg(file));
}

/// The part of the frame that lies on the page, at another resolution.
void ToolCommands::scanAgain(const CRRect& frame, const DrawnPage& drawnOn) {
  const Page* page = m_window->document().page(drawnOn.id);
  QString why = whyNotScanAgain(page);
  if (!page || !why.isEmpty()) return m_window->tell(why);
  const auto corner = m_frames->cornerOf(*page);
  const QRectF sheet(QPointF(0, 0), page->sizeMm());
  const QRectF drawn(QPointF(frame.left - drawnOn.corner.x, drawnOn.corner.y - frame.bottom),
                     QSizeF(frame.width(), frame.height()));
  const QRectF part = drawn & sheet;
  if (!corner || part.isEmpty()) return say(tr("The frame holds nothing of the page."));
  const quillbay::tagRRECT area{corner->x + part.left(), corner->y + part.top(), corner->x + part.right(),
                                corner->y + part.bottom()};
  for (int dpi = m_frames->resolution(); dpi > 0;) {
    dpi = m_window->prompts().resolution(dpi);
    if (dpi <= 0) return;
    if (m_frames->start(area, dpi, &why)) return say(tr("The frame is scanned at %1 dpi").arg(dpi));
    m_window->tell(why);
    if (m_window->panelDock().isBusy()) return;
  }
}

}  // namespace desktop
