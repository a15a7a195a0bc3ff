#include "tools/running_tool.h"

#include <QCursor>
#include <QKeyEvent>
#include <utility>

#include "tools/measures.h"
#include "view/document_view.h"

namespace desktop {

using quillbay::CRPoint;
using quillbay::IChoose;
using quillbay::KxPtr;

namespace {

/// A first point this near to a page is one of the page: its corners can be framed without hitting them.
constexpr double kNearPixels = 40;
constexpr int kFarStep = 10;  // pixels, with Ctrl
constexpr int kAnglePoints = 3;

template <class Shape>
std::optional<DrawnShape> shapeOf(const KxPtr<IChoose>& choose) {
  Shape shape;
  const auto source = choose.as<quillbay::IChooseShape<Shape>>();
  return source && source->GetShape(&shape) ? std::optional<DrawnShape>(std::move(shape)) : std::nullopt;
}

KxPtr<IChoose> newChooser(quillbay::IToolCtxEx& tools, ToolShape shape, int id, quillbay::IKxUnknown* sink) {
  const auto made = [&] {
    switch (shape) {
      case ToolShape::Point: return tools.ChoosePoint(0, id, sink);
      case ToolShape::NextPoint:
      case ToolShape::Line: return tools.ChooseLine(0, id, sink);
      case ToolShape::Path:
      case ToolShape::Angle: return tools.ChooseFence(0, id, sink);
      case ToolShape::Polygon: return tools.ChoosePolygon(0, id, sink);
      case ToolShape::Freehand: return tools.ChooseFreehand(0, id, sink);
      case ToolShape::Polyhand: return tools.ChoosePolyhand(0, id, sink);
      case ToolShape::Frame: return tools.ChooseFrame(0, id, sink);
      case ToolShape::TurnedFrame: return tools.ChooseFrameEx(0, id, sink);
      case ToolShape::Circle: return tools.ChooseCircleByRadius(0, id, sink);
      case ToolShape::CircleByDiameter: return tools.ChooseCircleByDiameter(0, id, sink);
    }
    return static_cast<IChoose*>(nullptr);
  };
  return KxPtr<IChoose>::adopt(made());
}

bool isTypable(const QString& text) {
  return text.size() == 1 && (text[0].isDigit() || QStringLiteral("@.,-+;<\u2212").contains(text[0]));
}

}  // namespace

/// Passes on what the chooser tells. One that was stopped here is not listened to.
class RubberLink final : public quillbay::CKxUnknownImplStatic<quillbay::IToolCtxRubberSink> {
 public:
  explicit RubberLink(RunningTool* owner) : m_owner(owner) {}
  int PointMoved(IChoose* choose, int, const CRPoint&) override {
    if (isOurs(choose)) m_owner->moved();
    return 1;
  }
  int PointFixed(IChoose* choose, int index, const CRPoint& at) override {
    if (isOurs(choose)) m_owner->fixed(index, at);
    return 1;
  }
  int PointTakenBack(IChoose* choose, int index) override {
    if (isOurs(choose)) m_owner->takenBack(index);
    return 1;
  }
  int Finished(IChoose* choose) override {
    if (isOurs(choose)) m_owner->finished();
    return 1;
  }
  int Cancelled(IChoose* choose) override {
    if (isOurs(choose)) m_owner->cancelled();
    return 1;
  }

 private:
  [[nodiscard]] bool isOurs(const IChoose* choose) const { return m_owner->m_choose.get() == choose; }
  RunningTool* m_owner;
};

RunningTool::RunningTool(quillbay::IApp* app, DocumentView* view, QObject* parent)
    : QObject(parent),
      m_app(KxPtr<quillbay::IApp>::share(app)),
      m_view(view),
      m_link(std::make_unique<RubberLink>(this)) {
  view->surface()->installEventFilter(this);
}

RunningTool::~RunningTool() { release(); }

bool RunningTool::start(const Tool& tool) {
  release();
  m_tool = tool;
  m_view->endPreview();
  const bool runs = choose();
  if (runs) m_view->surface()->setFocus();
  emit changed();
  return runs;
}

/// A new chooser of the tool.
bool RunningTool::choose() {
  m_first.reset();
  m_page.reset();
  m_byKeys = false;
  const auto tools = quillbay::new_ToolCtx(m_app.get(), m_view->port()).as<quillbay::IToolCtxEx>();
  if (!tools) return false;
  m_view->port()->SetActive(1);  // it is moved over before it is clicked on
  const auto start = m_tool.shape == ToolShape::NextPoint ? lastEnd() : std::nullopt;
  ++m_runs;
  m_choose = start ? KxPtr<IChoose>::adopt(tools->ChoosePointFrom(0, *start, m_runs, m_link.get()))
                   : newChooser(*tools, m_tool.shape, m_runs, m_link.get());
  m_view->setTool(isRunning());
  if (!isRunning()) return false;
  if (start) {
    m_first = start;
    m_page = pageUnder(*start);
  }
  // The keys go on from where the pointer is.
  const QWidget* surface = m_view->surface();
  const QPoint pointer = surface->mapFromGlobal(QCursor::pos());
  const QPointF at = surface->rect().contains(pointer) ? QPointF(pointer) : QRectF(surface->rect()).center();
  m_choose->MoveTo(m_view->port()->ToDocument(at.x(), at.y()));
  return true;
}

void RunningTool::stop() {
  release();
  emit changed();
}

/// Lets go of the chooser, without words.
void RunningTool::release() {
  const auto choose = std::exchange(m_choose, {});
  if (choose) choose->Close();
  m_view->setTool(false);
}

QString RunningTool::text(int part) const {
  if (isRunning() && m_tool.shape == ToolShape::Angle) return angleWords(part);
  std::string text;
  if (!isRunning() || !m_choose->GetStatusText(part, &text)) return {};
  return QString::fromStdString(text);
}

/// The library's line of segments knows nothing of angles.
QString RunningTool::angleWords(int part) const {
  const int count = m_choose->GetPointCount();
  if (part == 0) {
    if (count == 0) return tr("Click a point of one side of the angle.");
    return count == 1 ? tr("Click the corner of the angle. Shift holds it to 45 degrees.")
                      : tr("Click a point of the other side. Shift holds it to 45 degrees.");
  }
  CRPoint arm, vertex, other;
  const bool isAngle =
      count >= 2 && m_choose->GetPoint(0, &arm) && m_choose->GetPoint(1, &vertex) && m_choose->GetPoint(2, &other);
  return isAngle ? tr("Angle %1").arg(angleText(measureAngle(arm, vertex, other).degrees)) : QString();
}

CRPoint RunningTool::current() const {
  CRPoint at;
  if (isRunning()) m_choose->GetPoint(m_choose->GetPointCount(), &at);
  return at;
}

TypedBasis RunningTool::basis() const {
  TypedBasis basis;
  basis.pointer = current();
  const auto under = page();
  if (under) {
    basis.corner = under->corner;
  } else if (const auto corner = m_view->cornerOf(m_view->current())) {
    basis.corner = *corner;
  }
  CRPoint last;
  const int count = isRunning() ? m_choose->GetPointCount() : 0;
  if (count > 0 && m_choose->GetPoint(count - 1, &last)) basis.last = last;
  return basis;
}

std::optional<DrawnPage> RunningTool::pageUnder(const CRPoint& at) const {
  const double scale = m_view->port()->Transform().scaleX;
  const auto id = m_view->pageAt(at, kNearPixels / scale);
  if (!id) return std::nullopt;
  const auto corner = m_view->cornerOf(*id);
  if (!corner) return std::nullopt;
  return DrawnPage{*id, *corner};
}

std::optional<DrawnPage> RunningTool::page() const { return m_first ? m_page : pageUnder(current()); }

void RunningTool::fix(const CRPoint& at) {
  if (isRunning()) m_choose->FixPoint(at);
}

// What the chooser tells. It goes on with itself afterwards: what changes it waits.

void RunningTool::later(void (RunningTool::*step)()) {
  QMetaObject::invokeMethod(
      this,
      [this, step, run = m_runs] {
        if (run == m_runs && m_choose) (this->*step)();
      },
      Qt::QueuedConnection);
}

void RunningTool::moved() { emit changed(); }

void RunningTool::fixed(int index, const CRPoint& at) {
  m_byKeys = false;
  if (index == 0) {
    m_first = at;
    m_page = pageUnder(at);
    if (!m_tool.measures() && (!m_page || m_page->id == 0)) later(&RunningTool::refusePoint);
  }
  if (m_tool.shape == ToolShape::Angle && index + 1 == kAnglePoints) later(&RunningTool::finishAngle);
  emit changed();
}

void RunningTool::takenBack(int count) {
  if (count == 0) m_first.reset();
  emit changed();
}

void RunningTool::refusePoint() {
  const Tool tool = m_tool;
  release();  // an outline that is drawn by hand has no single points
  emit missedPages();
  start(tool);
}

void RunningTool::finishAngle() { m_choose->Finish(); }

void RunningTool::finished() {
  m_shape = shape();
  noteEnd();
  later(&RunningTool::complete);
}

void RunningTool::noteEnd() {
  const auto* line = m_shape && m_tool.measures() ? std::get_if<quillbay::CRLine>(&*m_shape) : nullptr;
  if (!line) return;
  m_end = line->to;
  m_endPage = m_page;
}

/// Where it is now: pages come and go, and others move then.
std::optional<CRPoint> RunningTool::lastEnd() const {
  if (!m_end || !m_endPage) return m_end;
  const auto corner = m_view->cornerOf(m_endPage->id);
  if (!corner) return std::nullopt;
  return CRPoint{m_end->x + corner->x - m_endPage->corner.x, m_end->y + corner->y - m_endPage->corner.y};
}

void RunningTool::cancelled() { later(&RunningTool::stop); }

void RunningTool::complete() {
  const auto shape = std::exchange(m_shape, std::nullopt);
  const auto page = m_page;
  release();
  if (m_tool.measures()) choose();
  emit changed();
  if (shape) emit drawn(*shape, page);
}

std::optional<DrawnShape> RunningTool::shape() const {
  switch (m_tool.shape) {
    case ToolShape::Point: return shapeOf<CRPoint>(m_choose);
    case ToolShape::Line: return shapeOf<quillbay::CRLine>(m_choose);
    case ToolShape::NextPoint: {
      quillbay::CRLine line;
      return m_choose->GetLine(0, &line) ? std::optional<DrawnShape>(line) : std::nullopt;
    }
    case ToolShape::Frame: return shapeOf<quillbay::CRRect>(m_choose);
    case ToolShape::TurnedFrame: return shapeOf<quillbay::CRFrame>(m_choose);
    case ToolShape::Circle:
    case ToolShape::CircleByDiameter: return shapeOf<quillbay::CRCircle>(m_choose);
    default: return shapeOf<quillbay::CRPolygon>(m_choose);
  }
}

// Keys and the mouse over the view.

bool RunningTool::isOpenEnded() const {
  return m_tool.shape == ToolShape::Path || m_tool.shape == ToolShape::Polygon ||
         m_tool.shape == ToolShape::Polyhand || m_tool.shape == ToolShape::Freehand;
}

bool RunningTool::finishOpenEnded() { return isOpenEnded() && m_choose->Finish() != 0; }

void RunningTool::moveBy(int dx, int dy) {
  quillbay::IKxViewPort* port = m_view->port();
  CRPoint client = port->ToClient(current());
  client.x += dx;
  client.y += dy;
  m_choose->MoveTo(port->ToDocument(client.x, client.y));
  m_byKeys = true;
  // The view follows a point that leaves it.
  const auto size = port->GetClientSize();
  const auto beyond = [](double at, int end) { return at < 0 ? -at : std::min(0.0, end - 1 - at); };
  const double right = beyond(client.x, size.width), down = beyond(client.y, size.height);
  if (right != 0 || down != 0) port->ScrollByPixels(qRound(right), qRound(down));
}

bool RunningTool::key(int key, Qt::KeyboardModifiers held) {
  if (!isRunning() || (held & Qt::AltModifier)) return false;
  const int step = held & Qt::ControlModifier ? kFarStep : 1;
  switch (key) {
    case Qt::Key_Left: moveBy(-step, 0); return true;
    case Qt::Key_Right: moveBy(step, 0); return true;
    case Qt::Key_Up: moveBy(0, -step); return true;
    case Qt::Key_Down: moveBy(0, step); return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (m_byKeys || !finishOpenEnded()) fix(current());
      return true;
    case Qt::Key_Escape: stop(); return true;
    case Qt::Key_Backspace: m_choose->TakeBack(); return true;
    default: return false;
  }
}

/// Esc and Backspace over the view are the chooser's own.
bool RunningTool::takeKey(const QKeyEvent& event) {
  const auto held = event.modifiers();
  const bool isChoosers = event.key() == Qt::Key_Escape || event.key() == Qt::Key_Backspace;
  const bool isPlain = !(held & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
  const bool isText = isPlain && isTypable(event.text());
  const bool isMove = event.key() >= Qt::Key_Left && event.key() <= Qt::Key_Down && !(held & Qt::AltModifier);
  const bool isReturn = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
  if (isChoosers || !(isText || isMove || isReturn)) return false;
  if (event.type() == QEvent::ShortcutOverride) return true;
  if (isText) {
    emit typed(event.text());
    return true;
  }
  return key(event.key(), held);
}

bool RunningTool::eventFilter(QObject* watched, QEvent* event) {
  if (!isRunning() || watched != m_view->surface()) return QObject::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
      if (!takeKey(static_cast<const QKeyEvent&>(*event))) break;
      event->accept();
      return true;
    case QEvent::MouseMove: m_byKeys = false; break;
    case QEvent::ContextMenu: finishOpenEnded(); return true;
    default: break;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace desktop
