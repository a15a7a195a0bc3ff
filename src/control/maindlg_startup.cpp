#include <QAction>
#include <QEvent>
#include <QStackedWidget>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include "control/command_ids.h"
#include "control/maindlg.h"
#include "control/panel_sink.h"
#include "control/panel_store.h"
#include "destinations/destination_factory.h"
#include "pages/main_settings.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "quillbay/scan_keys.h"
#include "stores/scan_to_file_stor.h"
#include "stores/simple_stor.h"
#include "ui_maindlg.h"

namespace quillbay {

int CMaindlg::ConnectScanner() {
  try {
    if (!ClearHostRasters(ClearFor::Connection)) return 0;
    const auto scanner = currentScanner();
    if (!scanner) return 0;
    if (const auto ex = query<IQuillbayUnitEx>(m_unit.get())) ex->SetStationSink(m_sink.get());
    ScanValues& v = quiet();
    v.scannerName = m_manager->GetScannerName(scanner.get());
    v.helpTopic = destinationTopic(v.scannerName, v.mode);
    if (const auto sinks = KxPtr<IConnectionPoint<IScanSink>>::adopt(m_unit->GetScanSinks())) {
      sinks->Subscribe(m_scanSink.get());
    }
    v.bedWidth = m_unit->GetMaxWidth();
    v.minWidth = 110.0;
    v.minHeight = 55.0;
    v.centring = m_unit->GetCentring();
    // More than black and white, that is: a scanner may offer grey alone.
    v.scannerHasColor = m_unit->HasMode(kModeGrey) || m_unit->HasMode(kModePalette) || m_unit->HasMode(kModeRgb);
    return 1;
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.control", std::string("connecting the scanner failed: ") + e.what());
    return 0;
  }
}

/// Opens the current scanner; while it is none that the panel can use, the person may choose another one.
KxPtr<IScan> CMaindlg::currentScanner() {
  IApp* app = m_params->app();
  m_manager = query<IScanManager>(app);
  if (!m_manager) m_manager = new_IScanManagerEx(app, 1);
  const auto root = query<IParam>(app);
  const auto settings =
      root ? KxPtr<IParam>::adopt(root->GetSubStore(section_name::ScannerSource, 1)) : KxPtr<IParam>{};
  const auto interior = query<IAppInterior>(app);
  m_manager->Initialise(interior ? fio::folderOf(interior->GetModulePath()) : std::string(), settings.get(), 0);

  while (true) {
    auto scanner = KxPtr<IScan>::adopt(m_manager->GetCurrent());
    if (!scanner) return {};
    if (takeUnit(*scanner)) return scanner;
    if (const auto faults = query<IUnitFault>(scanner.get())) {
      if (const auto events = query<IEvents>(app)) {
        events->Subject(scanner->GetName().c_str(), faults->GetFault().text.c_str());
      }
    }
    showMessage(EventKind::Information,
                formatText(Supp_Translate("Scanner %s is not ready or is not supported$QBHelp:IDH_ScanError$"),
                           {scanner->GetName()}),
                EventButtons::Ok);
    if (!m_manager->Choose(1)) return {};
  }
}

bool CMaindlg::takeUnit(IScan& scanner) {
  m_unit = query<IQuillbayUnit>(&scanner);
  m_unitName = scanner.GetName();
  return static_cast<bool>(m_unit);
}

int CMaindlg::StartUp() {
  try {
    quiet().hasScriptSyntax = static_cast<bool>(query<IScriptSyntaxParam>(m_params->app()));
    createForm();
    DestinationContext context;
    context.mode = static_cast<eTarnwellMode>(values().mode);
    context.params = m_params;
    context.makeStore = [this](eTarnwellMode mode) { return makeDestinationStore(mode); };
    context.controller = this;
    context.parent = m_destinationPlace;
    m_destination.reset(makeDestination(context).release());
    if (!m_destination) return 0;
    m_destinationPlace->layout()->addWidget(m_destination->GetHwnd());
    m_params->destination = m_destination.get();
    m_params->progress = KxPtr<IProgress>::share(m_progress.get());

    m_directMode = m_unit->HasMode(kModeDirect) != 0;
    if (m_directMode) {
      m_params->set(scan_key::CurrMode, kModeDirect);
      quiet().autoAnswer = 0;
      m_params->set(scan_key::ScanType, kAreaFixedWidth);
    }
    createPages();
    m_changeSink.Subscribe(m_params->connectionPoint());
    if (m_directMode) m_params->set(scan_key::CurrMode, kModeDirect);
    loadSettings();
    fillTabs();
    orderTabbing();
    AreaChanged();
    m_viewSync.invalidate();
    SetStatus(0);
    layoutPanel();
    m_initialised = true;
    PushSettings();
    m_previewTimer.start(25, false);
    return 1;
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.control", std::string("the panel could not start: ") + e.what());
    return 0;
  }
}

KxPtr<ISStripStor> CMaindlg::makeDestinationStore(eTarnwellMode mode) const {
  if (mode != ScanToFile && mode != ScanToNet) return makeEmptyStore();
  return KxPtr<ISStripStor>::adopt(new CScanToFileStor(m_params->app(), m_progress.get()));
}

void CMaindlg::createForm() {
  Ui::MaindlgForm form;
  form.setupUi(this);
  m_tabs = form.tabs;
  m_pageArea = form.pageArea;
  m_toolbar = form.commandToolbar;
  m_destinationPlace = form.destinationPlace;
  m_tabs->setExpanding(false);
  auto* destinationRow = new QVBoxLayout(m_destinationPlace);
  destinationRow->setContentsMargins(0, 0, 0, 0);
  auto* statusRow = new QVBoxLayout(form.statusPlace);
  statusRow->setContentsMargins(0, 0, 0, 0);
  m_status = new PanelStatus(form.statusPlace);
  statusRow->addWidget(m_status);
  createToolbar(m_toolbar);
  attachControls();
  connect(m_tabs, &QTabBar::currentChanged, this, [this](int index) { showTab(index); });
}

void CMaindlg::createToolbar(QToolBar* toolbar) {
  struct Button {
    int id;
    const char* text;
    const char* tip;
    ToolIcon icon;
  };
  static constexpr Button kButtons[] = {
      {command::kScan, "&Scan", "Scan one page", ToolIcon::Scan},
      {command::kBatch, "&Batch", "Scan page after page, until no document comes", ToolIcon::Batch},
      {command::kPrescan, "&Preview", "Preview the document", ToolIcon::Preview},
      {command::kAreaPrescan, "Preview &area", "Preview what the view shows", ToolIcon::PreviewArea},
      {command::kStop, "St&op", "Stop now; the page that is being scanned is dropped (Esc)", ToolIcon::Stop},
      {command::kStopAfterPage, "Stop after this pa&ge", "Finish the page that is being scanned, then stop",
       ToolIcon::StopAfterPage},
      {command::kEject, "&Eject", "Eject the document", ToolIcon::Eject},
      {command::kSwitchLayout, "Small &layout", "Show or hide the settings pages", ToolIcon::Layout},
      {command::kHelp, "&Help", "Open the manual at the settings that are shown (F1)", ToolIcon::Help},
  };
  const bool hasManual = static_cast<bool>(query<IHelp>(m_params->app()));
  for (const Button& b : kButtons) {
    if (b.id == command::kHelp && !hasManual) continue;
    auto* action = toolbar->addAction(QString::fromStdString(Supp_Translate(b.text)));
    action->setToolTip(QString::fromStdString(Supp_Translate(b.tip)));
    if (b.id == command::kStop) action->setShortcut(Qt::Key_Escape);
    connect(action, &QAction::triggered, this, [this, id = b.id] { OnCommand(id, 1, 0); });
    toolbar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
    m_actions.push_back({b.id, b.icon, action});
  }
  toolbar->setToolButtonStyle(Qt::ToolButtonIconOnly);
  drawIcons();
}

/// Tab goes through the panel as it is read, in whatever order its parts were made.
void CMaindlg::orderTabbing() {
  std::vector<QWidget*> ring;
  for (QWidget* w = nextInFocusChain(); w != this; w = w->nextInFocusChain()) {
    if ((w->focusPolicy() & Qt::TabFocus) && !w->focusProxy()) ring.push_back(w);
  }
  QWidget* last = nullptr;
  for (const QWidget* part : std::initializer_list<QWidget*>{m_toolbar, m_tabs, m_pageArea, m_destinationPlace}) {
    if (!part) continue;
    for (QWidget* w : ring) {
      if (w != part && !part->isAncestorOf(w)) continue;
      if (last) setTabOrder(last, w);
      last = w;
    }
  }
}

void CMaindlg::drawIcons() {
  for (const PanelAction& a : m_actions) a.action->setIcon(toolIcon(a.icon, palette()));
}

void CMaindlg::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) drawIcons();
  CDialog::changeEvent(event);
}

void CMaindlg::createPages() {
  std::array<bool, kPageRoles> available{};
  const auto custom = query<IUICustomScanPages>(m_unit.get());
  const auto take = [&](PageRole role, IUIScanPage* made) {
    m_pages[static_cast<std::size_t>(role)].reset(made);
    available[static_cast<std::size_t>(role)] =
        made != nullptr && made->Create(m_pageArea, createModeOf(role)) != 0;
    if (!available[static_cast<std::size_t>(role)]) return;
    m_pageArea->addWidget(made->GetHwnd());
  };
  take(PageRole::Main, new CMainSettings(*this, m_params));
  for (int mode = kModeBwThreshold; custom && mode <= kModeBwCopyAdaptive; ++mode) {
    IUIScanPage* made = nullptr;
    if (custom->GetPage(mode, &made)) take(static_cast<PageRole>(static_cast<int>(PageRole::Bw0) + mode), made);
  }
  m_pageLists = makePageLists(available, values().mode);
}

void CMaindlg::loadSettings() {
  const PanelStore store(m_params->app(), m_unitName);
  const auto main = store.mainDialog();
  m_destination->LoadParams(main.get());
  m_layout = paramInt(main.get(), key::Layout) == 1 ? 1 : 0;
  for (const auto& p : m_pages) {
    if (p) p->Load(store.page(p->GetNumber()).get());
  }
}

int CMaindlg::SaveSettings() {
  PanelStore store(m_params->app(), m_unitName);
  for (const auto& p : m_pages) {
    if (p) p->Save(store.page(p->GetNumber()).get());
  }
  const auto main = store.mainDialog();
  m_destination->SaveParams(main.get());
  main->SetValue(key::Layout, m_layout);
  m_manager->Remember();
  return store.flush();
}

const std::vector<PageRole>& CMaindlg::currentPages() const {
  const int mode = values().currMode;
  return m_pageLists[static_cast<std::size_t>(mode >= 0 && mode < kModeCount ? mode : 0)];
}

void CMaindlg::fillTabs() {
  if (!m_tabs) return;
  const QSignalBlocker quietly(m_tabs);
  while (m_tabs->count() > 0) m_tabs->removeTab(0);
  for (const PageRole role : currentPages()) m_tabs->addTab(QString::fromStdString(page(role)->GetTitle()));
  showTab(0);
}

void CMaindlg::showTab(int index) {
  const auto& pages = currentPages();
  if (index < 0 || static_cast<std::size_t>(index) >= pages.size()) return;
  m_pageArea->setCurrentWidget(page(pages[static_cast<std::size_t>(index)])->GetHwnd());
}

void CMaindlg::layoutPanel() {
  if (currentPages().empty()) m_layout = 1;
  const bool full = m_layout == 0;
  m_tabs->setVisible(full && currentPages().size() > 1);
  m_pageArea->setVisible(full);
  if (m_steps.preview) m_steps.preview->GetHwnd()->setVisible(full);
  updateButtons();
}

void CMaindlg::SwitchLayout() {
  m_layout = m_layout == 0 ? 1 : 0;
  layoutPanel();
  if (auto* parent = qobject_cast<QWidget*>(parentWidget())) PostCommand(parent, command::kRelayoutParent, 1);
  if (m_steps.preview) m_steps.preview->Refresh();
}

void CMaindlg::updateButtons() {
  const bool busy = IsBusy() != 0;
  for (const auto& [id, icon, action] : m_actions) {
    switch (id) {
      case command::kStop: action->setEnabled(busy); break;
      case command::kStopAfterPage: action->setEnabled(busy && !m_stopAfterPage); break;
      case command::kPrescan: action->setEnabled(!busy && m_layout == 0); break;
      case command::kSwitchLayout: action->setEnabled(!currentPages().empty()); break;
      case command::kHelp: break;
      default: action->setEnabled(!busy);
    }
    const bool previews = id == command::kPrescan || id == command::kAreaPrescan;
    const bool hiddenInDirect = previews || id == command::kStop || id == command::kEject ||
                                (id == command::kSwitchLayout && values().mode == ScanToPrint);
    action->setVisible(!(m_directMode && hiddenInDirect) && !(id == command::kPrescan && m_layout == 1) &&
                       !(previews && !m_steps.preview));  // nothing would show them
  }
}

void CMaindlg::enablePages(bool enable) {
  for (const auto& p : m_pages) {
    if (p) p->Enable(enable ? 1 : 0);
  }
  if (m_steps.preview) m_steps.preview->Enable(enable ? 1 : 0);
  m_destination->Enable(enable ? 1 : 0);
}

}  // namespace quillbay
