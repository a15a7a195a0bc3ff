#include "scanner/panel_dock.h"

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "quillbay/keep_rasters.h"
#include "quillbay/preview_resolution.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "scanner/first_choices.h"
#include "scanner/job_bar.h"
#include "scanner/scanner_offer.h"

namespace desktop {

using quillbay::KxPtr;
using quillbay::query;

namespace {
constexpr int kOfferColumns = 42;
}

/// Passes on what the panel tells.
class PanelListener final
    : public quillbay::CKxUnknownImplStatic<quillbay::IQuillbayEvents, quillbay::IStartEvents> {
 public:
  explicit PanelListener(PanelDock* dock) : m_dock(dock) {}
  void OnStarting() override {
    const auto unit = currentScanner(m_dock->m_app).as<quillbay::IQuillbayUnit>();
    if (unit && m_dock->m_control) quillbay::liftPreviewResolution(*m_dock->m_control, *unit);
  }
  void OnStarted(const quillbay::ScanStartInfo& info) override {
    const bool isPreview =
        info.kind == quillbay::StartKind::Prescan || info.kind == quillbay::StartKind::AreaPrescan;
    m_dock->m_isPreviewing = isPreview;
    if (info.kind == quillbay::StartKind::AreaPrescan) emit m_dock->areaPreviewStarted();
    if (isPreview) return emit m_dock->previewStarted();
    m_pageRuns = info.kind == quillbay::StartKind::Scan;
    if (!m_pageRuns) return;  // a preview is shown by the panel
    emit m_dock->pageStarted(info);
    emit m_dock->started(info.page, QString::fromStdString(info.file));
  }
  void OnLines(std::int64_t lines) override {
    if (m_pageRuns) emit m_dock->linesArrived(lines);
  }
  void OnPageFinished(const quillbay::PageInfo& page) override {
    emit m_dock->pageDone(page);
    emit m_dock->pageFinished(page.page, QString::fromStdString(page.file));
  }
  void OnPublished(const std::string& file, std::int32_t) override {
    emit m_dock->published(QString::fromStdString(file));
  }
  /// Whether the page that runs is turned to become straight.
  [[nodiscard]] bool isTurned() const noexcept { return m_turned; }
  void OnMessage(const std::string&) override {}
  void OnDetected(const quillbay::DetectedArea& area) override { m_turned = area.angle != 0; }
  void OnEnded(quillbay::EndCause cause, const quillbay::UnitFault& fault, std::int32_t pages) override {
    if (std::exchange(m_dock->m_isPreviewing, false))
      return emit m_dock->previewEnded(static_cast<int>(cause), QString::fromStdString(fault.text));
    m_turned = false;
    emit m_dock->ended(static_cast<int>(cause), QString::fromStdString(fault.text), pages);
  }
  void OnSettingChanged(std::string_view key) override {
    if (key == quillbay::key::Units) return emit m_dock->unitsChanged();
    m_dock->m_bar->showScanner(currentScanner(m_dock->m_app).get());
    emit m_dock->scannerChanged();
  }

 private:
  PanelDock* m_dock;
  bool m_pageRuns = false;
  bool m_turned = false;
};

PanelDock::PanelDock(quillbay::IApp* app, quillbay::IKxView* view, QWidget* parent)
    : QDockWidget(tr("Scanning"), parent),
      m_app(app),
      m_view(view),
      m_bar(new JobBar),
      m_listener(std::make_unique<PanelListener>(this)) {
  setObjectName("panelDock");
  setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
  auto* holder = new QWidget;
  auto* column = new QVBoxLayout(holder);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(m_bar);
  setWidget(holder);
  m_bar->showScanner(nullptr);
}

PanelDock::~PanelDock() { closePanel(); }

bool PanelDock::open(quillbay::eTarnwellMode mode) {
  closePanel();
  // Without a scanner the panel would ask for another one, over and over.
  const auto scanner = currentScanner(m_app);
  if (!scanner.as<quillbay::IQuillbayUnit>()) {
    showTrouble();
    return false;
  }
  // The panel stays a child of the window that it was made for.
  auto holder = std::make_unique<QWidget>();
  auto* column = new QVBoxLayout(holder.get());
  column->setContentsMargins(0, 0, 0, 0);
  const auto script = query<quillbay::IScriptCmdSink>(m_app);
  const bool known = knowsScanner(m_app);
  m_panel = quillbay::New_Quillbay(m_app, holder.get(), m_view, script.get(), m_sink.put(), mode);
  m_control = m_panel ? m_sink.as<quillbay::IQuillbayControl>() : nullptr;
  if (!m_control) {
    m_panel = nullptr;
    m_sink = nullptr;
    showTrouble();
    return false;
  }
  // Two commands of a window must not share a key: neither would get it. The window's own "Stop" has it.
  for (QAction* action : m_panel->findChildren<QAction*>()) {
    if (action->shortcut() == QKeySequence(Qt::Key_Escape)) action->setShortcut({});
  }
  column->addWidget(m_panel);
  m_control->Advise(m_listener.get());
  m_sink->EnableViewSync(1);
  if (!known) makeFirstChoices(m_app, m_control.get());
  setContent(holder.release());
  m_bar->showScanner(scanner.get());
  m_bar->showFiles(mode != quillbay::ScanToPrint);
  m_panel->show();
  return true;
}

void PanelDock::setContent(QWidget* content) {
  m_content = content;
  static_cast<QVBoxLayout*>(widget()->layout())->addWidget(content, 1);
  content->show();  // by itself it would be with the next events only
}

void PanelDock::closePanel() {
  QWidget* shown = std::exchange(m_content, nullptr);
  m_panel = nullptr;
  m_bar->showScanner(nullptr);
  delete shown;  // the panel stops its scan, tells its listener the end and saves its settings
  if (m_control) m_control->Unadvise(m_listener.get());
  m_control = nullptr;
  m_sink = nullptr;
}

void PanelDock::keepRasters(bool keep) {
  if (const auto keeping = m_sink ? m_sink.as<quillbay::IKeepRasters>() : nullptr)
    keeping->KeepRasters(keep ? 1 : 0);
}

KxPtr<quillbay::IRStor> PanelDock::scanRaster() const {
  const auto source = m_sink ? m_sink.as<quillbay::IRGetSource>() : nullptr;
  return source ? KxPtr<quillbay::IRStor>::adopt(source->GetRaster()) : nullptr;
}

std::optional<quillbay::tagRPOINT> PanelDock::startedCorner() const {
  const auto source = m_sink ? m_sink.as<quillbay::IRGetSource>() : nullptr;
  if (!source || !m_control || m_listener->isTurned()) return std::nullopt;
  quillbay::CKxVariant bursting, fragment;
  m_control->GetParam(quillbay::key::Bursting, &bursting);
  m_control->GetParam(quillbay::key::CustomScanValid, &fragment);
  if (bursting.toInt() != 0 && fragment.toInt() == 0) return std::nullopt;
  const quillbay::CRDirectTfm place = source->GetTransform();
  return quillbay::tagRPOINT{place.offsetX, place.offsetY};
}

KxPtr<quillbay::IPreviewControl> PanelDock::preview() const {
  return m_sink ? m_sink.as<quillbay::IPreviewControl>() : nullptr;
}

bool PanelDock::isBusy() const { return m_control && m_control->IsBusy() != 0; }

void PanelDock::showTrouble() {
  using quillbay::UnitFaultCode;
  const auto unit = currentScanner(m_app).as<quillbay::IUnitFault>();
  const quillbay::UnitFault fault = unit ? unit->GetFault() : quillbay::UnitFault{};
  const bool isKnown = fault.code != UnitFaultCode::NotChosen && fault.code != UnitFaultCode::NoScanner;
  if (isKnown) return showMissing(QString::fromStdString(fault.text));
  showOffer();
}

void PanelDock::showOffer() {
  const auto manager = query<quillbay::IScanManager>(m_app);
  m_offer = new ScannerOffer(manager.get());
  // Queued: what follows replaces the offer.
  connect(m_offer, &ScannerOffer::chosen, this, &PanelDock::scannerChosen, Qt::QueuedConnection);
  connect(m_offer, &ScannerOffer::otherAsked, this, &PanelDock::chooseScannerAsked, Qt::QueuedConnection);
  connect(m_offer, &ScannerOffer::simulatedAsked, this, &PanelDock::simulatedScannerAsked, Qt::QueuedConnection);
  m_offer->setMinimumWidth(m_offer->fontMetrics().averageCharWidth() * kOfferColumns);
  setContent(m_offer);
}

ScannerOffer* PanelDock::offer() const { return m_offer; }

void PanelDock::pauseOffer() {
  if (m_offer) m_offer->pause();
}

void PanelDock::resumeOffer() {
  if (m_offer) m_offer->search();
}

void PanelDock::showMissing(const QString& reason) {
  auto* holder = new QWidget;
  auto* column = new QVBoxLayout(holder);
  m_trouble = new QLabel(tr("No scanner could be opened.") + (reason.isEmpty() ? QString() : "\n\n" + reason));
  m_trouble->setObjectName("trouble");
  m_trouble->setTextFormat(Qt::PlainText);
  m_trouble->setWordWrap(true);
  m_trouble->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  auto* choose = new QPushButton(tr("&Choose scanner..."));
  auto* simulated = new QPushButton(tr("&Use the simulated scanner"));
  // Queued: what follows replaces the buttons.
  connect(choose, &QPushButton::clicked, this, &PanelDock::chooseScannerAsked, Qt::QueuedConnection);
  connect(simulated, &QPushButton::clicked, this, &PanelDock::simulatedScannerAsked, Qt::QueuedConnection);
  column->addWidget(m_trouble);
  column->addWidget(choose, 0, Qt::AlignLeft);
  column->addWidget(simulated, 0, Qt::AlignLeft);
  column->addStretch();
  setContent(holder);
}

void PanelDock::showLookingFor(const QString& name) {
  if (!m_trouble) return;
  const QString why = m_trouble->text().section("\n\n", 1);
  m_trouble->setText(tr("Looking for %1...").arg(name) + "\n\n" +
                     tr("The panel opens when the scanner is available.") +
                     (why.isEmpty() ? QString() : "\n\n" + why));
}

}  // namespace desktop
