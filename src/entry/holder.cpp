#include "entry/holder.h"

#include <QAction>
#include <QEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QToolBar>
#include <QVBoxLayout>
#include <exception>

#include "control/command_ids.h"
#include "platform/base_services.h"
#include "quillbay/keep_rasters.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr int kLeastView = 120;      // pixels that the view is never lower than, and not narrower beside the panel
constexpr int kPreferredView = 240;  // what it asks for
constexpr int kNarrowest = 40;       // what it can be made
constexpr const char* kSection = "QuillbayBar";
constexpr const char* kShowView = "ShowView";

/// The panel's parent: hands what the panel tells its parent on to the holder.
class PanelPlace final : public CDialog {
 public:
  explicit PanelPlace(CMHolder* holder) : CDialog(holder), m_holder(holder) {}
  bool OnCommand(int id, int code, std::int64_t value) override { return m_holder->OnCommand(id, code, value); }

 private:
  CMHolder* m_holder;
};

KxPtr<IParam> settings(IApp* app) {
  const auto profile = query<IProfile>(app);
  return profile ? KxPtr<IParam>::adopt(profile->GetSection(kSection, 1)) : KxPtr<IParam>{};
}

QString text(const char* english) { return QString::fromStdString(Supp_Translate(english)); }

}  // namespace

CMHolder::CMHolder(IApp* app, QWidget* parent) : CDialog(parent), m_app(KxPtr<IApp>::share(app)) {
  createPlaces();
  m_port = new_ViewPort(app, m_split);
  m_view = m_port.as<IKxView>();
  m_port->GetWindow()->setMinimumSize(kNarrowest, kLeastView);
  m_port->ActualSize();
  m_picture = std::make_unique<ScanPicture>(m_port.get());
  m_zoomSink.Subscribe(m_port.as<IConnectionPoint<IKxViewZoomSink>>().get());
  m_split->setStretchFactor(1, 1);
  createToolbar(app);
}

CMHolder::~CMHolder() {
  killCommand();  // the holder goes whatever the host answers
  m_script = nullptr;
  if (const auto control = m_sink.as<IQuillbayControl>()) control->Unadvise(&m_events);
  delete m_place;  // the panel ends its scan while all that it knows is still there
}

void CMHolder::createPlaces() {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  m_toolbar = new QToolBar(this);
  m_toolbar->setAccessibleName(text("View commands"));
  m_split = new QSplitter(Qt::Vertical, this);
  m_split->setChildrenCollapsible(false);
  column->addWidget(m_toolbar);
  column->addWidget(m_split, 1);
  m_scroll = new QScrollArea(m_split);
  m_scroll->setWidgetResizable(true);
  m_scroll->setFrameShape(QFrame::NoFrame);
  m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_scroll->setFocusPolicy(Qt::NoFocus);
  m_place = new PanelPlace(this);
  auto* row = new QVBoxLayout(m_place);
  row->setContentsMargins(0, 0, 0, 0);
  m_place->installEventFilter(this);
  m_scroll->setWidget(m_place);
  connect(m_split, &QSplitter::splitterMoved, this, [this] { m_divided = true; });
}

void CMHolder::createToolbar(IApp* app) {
  struct Button {
    ToolIcon icon;
    const char* text;
    const char* tip;
    QKeySequence key;
  };
  const Button buttons[] = {
      {ToolIcon::View, "Show the page", "Show the page that is scanned", {}},
      {ToolIcon::ZoomIn, "Zoom in", "Zoom in (+ in the view)", Qt::Key_Plus},
      {ToolIcon::ZoomOut, "Zoom out", "Zoom out (- in the view)", Qt::Key_Minus},
      {ToolIcon::ZoomPixels, "Pixel by pixel", "One pixel of the page is one of the screen (1 in the view)",
       Qt::Key_1},
      {ToolIcon::ZoomAll, "Whole page", "Show the whole page (0 in the view)", Qt::Key_0},
      {ToolIcon::ZoomBack, "Back", "Back to the part shown before (Backspace in the view)", Qt::Key_Backspace},
      {ToolIcon::ZoomForward, "Forward", "Forward again (Shift+Backspace in the view)",
       Qt::SHIFT | Qt::Key_Backspace},
  };
  for (const Button& b : buttons) {
    QAction* action = m_toolbar->addAction(text(b.text));
    action->setToolTip(text(b.tip));
    m_actions.push_back({b.icon, action});
    if (b.icon == ToolIcon::View) {
      action->setCheckable(true);
      connect(action, &QAction::toggled, this, [this](bool on) { showView(on); });
      m_toolbar->addSeparator();
      continue;
    }
    // The host's window may use these keys itself: here they are the view's alone.
    action->setShortcut(b.key);
    action->setShortcutContext(Qt::WidgetShortcut);
    m_port->GetWindow()->addAction(action);
    connect(action, &QAction::triggered, this, [this, icon = b.icon] { zoom(icon); });
  }
  drawIcons();
  const auto kept = settings(app);
  m_port->GetWindow()->hide();
  m_actions.front().action->setChecked(!kept || paramInt(kept.get(), kShowView, 1) != 0);
  updateZoom();
}

void CMHolder::drawIcons() {
  for (const ViewAction& a : m_actions) a.action->setIcon(toolIcon(a.icon, palette()));
  // The ground of the view stands out from pages and from the panel.
  QPalette colours;
  colours.setColor(QPalette::Window, palette().color(QPalette::Dark).darker(110));
  m_port->GetWindow()->setPalette(colours);
}

void CMHolder::zoom(ToolIcon how) {
  switch (how) {
    case ToolIcon::ZoomIn: m_port->ZoomIn(); break;
    case ToolIcon::ZoomOut: m_port->ZoomOut(); break;
    case ToolIcon::ZoomPixels: m_picture->showPixels(); break;
    case ToolIcon::ZoomAll: m_port->ZoomToExtents(); break;
    case ToolIcon::ZoomBack: m_port->Back(); break;
    case ToolIcon::ZoomForward: m_port->Forward(); break;
    default: break;
  }
  updateZoom();
}

int CMHolder::ZoomSink::TransformChanged(IKxViewPort*, const CRTfm&, const CRTfm&) {
  owner()->updateZoom();
  return 1;
}

void CMHolder::updateZoom() {
  const bool shown = !m_actions.empty() && m_actions.front().action->isChecked();
  tagRRECT page;
  const bool hasPage = shown && m_port->GetExtents(&page) != 0;
  for (const auto& [icon, action] : m_actions) {
    if (icon == ToolIcon::ZoomBack) {
      action->setEnabled(shown && m_port->HasBack() != 0);
    } else if (icon == ToolIcon::ZoomForward) {
      action->setEnabled(shown && m_port->HasForward() != 0);
    } else if (icon != ToolIcon::View) {
      action->setEnabled(hasPage);
    }
  }
}

void CMHolder::showView(bool show) {
  m_port->GetWindow()->setVisible(show);
  if (const auto kept = settings(m_app.get())) kept->SetValue(kShowView, show ? 1 : 0);
  m_divided = false;
  keepRasters(show);
  layOut();
  updateZoom();
}

/// The view shows the page pixel by pixel: the panel has to keep one.
void CMHolder::keepRasters(bool keep) {
  if (const auto keeping = m_sink ? m_sink.as<IKeepRasters>() : nullptr) keeping->KeepRasters(keep ? 1 : 0);
}

void CMHolder::takePanel(HWND panel, KxPtr<IQuillbaySink> sink) {
  m_panel = panel;
  m_sink = std::move(sink);
  panel->resize(panel->sizeHint());
  m_place->layout()->addWidget(panel);
  panel->show();
  resize(panel->width(), panel->width() / 2);
  if (const auto control = m_sink.as<IQuillbayControl>()) control->Advise(&m_events);
  keepRasters(!m_actions.empty() && m_actions.front().action->isChecked());
  layOut();
}

/// What the panel needs, with the scroll bar that it may get.
QSize CMHolder::panelRoom() const {
  if (!m_panel) return {};
  const int bar = m_scroll->verticalScrollBar()->sizeHint().width();
  return m_panel->sizeHint().expandedTo(m_panel->minimumSizeHint()) + QSize(bar, 0);
}

/// Gives the panel more room when it needs more. It keeps the room when it needs less again.
bool CMHolder::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::LayoutRequest && watched == m_place && panelRoom().height() > m_panelHeight)
    layOut();
  return CDialog::eventFilter(watched, event);
}

QSize CMHolder::sizeHint() const {
  return panelRoom() + QSize(0, m_toolbar->sizeHint().height() + m_split->handleWidth() + kPreferredView);
}

/// The view goes where more room for it is left: below the panel, or beside it in a wide bar.
void CMHolder::layOut() {
  if (!m_panel) return;
  m_scroll->setMinimumWidth(m_panel->minimumSizeHint().width() + m_scroll->verticalScrollBar()->sizeHint().width());
  const QSize room = m_split->size(), panel = panelRoom();
  m_panelHeight = std::max(m_panelHeight, panel.height());
  const int right = room.width() - panel.width(), below = std::max(room.height() - m_panelHeight, 0);
  const bool beside =
      right >= kLeastView && std::int64_t{right} * room.height() > std::int64_t{room.width()} * below;
  const Qt::Orientation orientation = beside ? Qt::Horizontal : Qt::Vertical;
  if (m_split->orientation() != orientation) m_divided = false;
  m_split->setOrientation(orientation);
  if (m_divided) return;
  const int whole = (beside ? room.width() : room.height()) - m_split->handleWidth();
  const int view = std::max(whole - (beside ? panel.width() : m_panelHeight), kLeastView);
  m_split->setSizes({std::max(whole - view, 0), view});
}

bool CMHolder::OnCommand(int id, int code, std::int64_t value) {
  if (id != command::kRelayoutParent) return CDialog::OnCommand(id, code, value);
  m_divided = false;
  m_panelHeight = 0;
  layOut();
  return true;
}

void CMHolder::growPicture() {
  const auto source = m_sink.as<IRGetSource>();
  if (!source) return;
  m_picture->grow(KxPtr<IRStor>::adopt(source->GetRaster()).get());
  updateZoom();
}

/// Returns whether the host refuses.
bool CMHolder::killCommand() {
  if (!m_script) return false;
  try {
    return m_script->ExecCommand(script_key::Kill, nullptr) != 0;
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.entry", std::string("the host failed at KillCommand: ") + e.what());
  } catch (...) {
    logLine(LogLevel::Error, "quillbay.entry", "the host failed at KillCommand");
  }
  return true;
}

BarAnswer CMHolder::mayClose() {
  if (m_asking) return BarAnswer::StaysOpen;
  const QPointer<CMHolder> self(this);
  m_asking = true;
  const bool refused = killCommand();
  if (!self) return BarAnswer::Closes;
  m_asking = false;
  if (refused) return BarAnswer::StaysOpen;
  m_script = nullptr;
  return BarAnswer::Closes;
}

void CMHolder::customEvent(QEvent* event) {
  if (event->type() != static_cast<QEvent::Type>(kDockBarClosing)) return CDialog::customEvent(event);
  event->setAccepted(mayClose() == BarAnswer::Closes);
}

void CMHolder::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange && m_port) drawIcons();
  CDialog::changeEvent(event);
}

void CMHolder::resizeEvent(QResizeEvent* event) {
  CDialog::resizeEvent(event);
  layOut();
}

}  // namespace quillbay
