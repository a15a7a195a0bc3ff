#include "preview/preview_dlg.h"

#include <QAction>
#include <QCloseEvent>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "platform/post_command.h"
#include "preview/preview_window.h"
#include "preview/pv_static.h"
#include "quillbay/scan_keys.h"
#include "ui_preview_dlg.h"
#include "widgets/button_text.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

constexpr int kPicture = 6502;  // number of the control

struct Tool {
  int id;
  ToolIcon icon;
  bool toggles = false;
};
constexpr Tool kTools[] = {
    {preview_command::Prescan, ToolIcon::Preview},
    {preview_command::AreaPrescan, ToolIcon::PreviewArea},
    {preview_command::Stop, ToolIcon::Stop},
    {preview_command::NewArea, ToolIcon::NewArea, true},
    {preview_command::NewFragment, ToolIcon::NewFragment, true},
    {preview_command::AreaFromFragment, ToolIcon::AreaFromFragment},
    {preview_command::ScanFragment, ToolIcon::ScanFragment},
    {preview_command::DisableUpdating, ToolIcon::PauseUpdating, true},
    {preview_command::Dock, ToolIcon::Dock},
    {preview_command::Float, ToolIcon::Float},
};

/// The prompt of the string table as the name of a button.
std::string nameOf(int id) {
  return QString::fromStdString(splitButtonText(loadString(id)).prompt).simplified().toStdString();
}

}  // namespace

int CPreviewDlg::CIChangeParams::OnParamChanged(const char*) {
  // Later and merged: a load changes many values.
  PostCommand(owner(), kShowCommands, 1, 0, true);
  return 1;
}

CPreviewDlg::CPreviewDlg(IPanelController& controller, KxPtr<CSharedScanParams> params, QWidget* parent)
    : CDialog(parent),
      m_controller(controller),
      m_params(std::move(params)),
      m_form(std::make_unique<Ui::PreviewDlgForm>()) {
  m_form->setupUi(this);
  makeTools();
  attachControls();
  makePicture();
  SetDocked(1);
  m_changes.Subscribe(m_params->connectionPoint());
}

CPreviewDlg::~CPreviewDlg() { m_changes.Unsubscribe(); }

void CPreviewDlg::makeTools() {
  for (const Tool& tool : kTools) {
    const std::string label = nameOf(tool.id);
    if (tool.toggles) {
      m_form->tools->addToggle(tool.id, tool.icon, label);
    } else {
      m_form->tools->addTool(tool.id, tool.icon, label);
    }
  }
}

void CPreviewDlg::makePicture() {
  auto* column = static_cast<QVBoxLayout*>(layout());
  m_picture = new CPVStatic(m_params, m_controller, this);
  m_picture->setProperty("controlId", kPicture);
  m_picture->onChanged = [this] {
    showCommands();
    showFrame(nullptr);
  };
  m_picture->onFrame = [this](const tagRRECT* frame) { showFrame(frame); };
  delete column->replaceWidget(m_form->picturePlace, m_picture);
  delete std::exchange(m_form->picturePlace, nullptr);
  column->setStretchFactor(m_picture, 1);
}

void CPreviewDlg::AddStripe(IScanBuffer* stripe) {
  m_params->previewStore->AddStripe(stripe);
  PlaceRaster(m_params->values().rcScan);
}

void CPreviewDlg::PlaceRaster(const tagRRECT& area) { m_picture->rasterPlaced(area); }

tagRRECT CPreviewDlg::GetRasterPlace() const { return m_picture->rasterPlace(); }

void CPreviewDlg::Refresh() {
  m_picture->fit();
  showCommands();
}

void CPreviewDlg::Enable(int enable) {
  m_picture->setEnabled(enable != 0);
  showCommands();
}

void CPreviewDlg::SetDocked(int docked) {
  if (docked) keepPlacement();
  m_docked = docked != 0;
  auto* column = static_cast<QVBoxLayout*>(layout());
  column->removeWidget(m_form->row);
  column->insertWidget(m_docked ? 1 : 0, m_form->row);
  const int margin = m_docked ? 0 : 4;
  column->setContentsMargins(margin, margin, margin, margin);
  m_picture->setRulersShown(!m_docked);
  showCommands();
  if (!m_docked) restorePreviewWindow(m_params->app(), *this);
}

void CPreviewDlg::keepPlacement() const {
  if (!m_docked && isVisible()) savePreviewWindow(m_params->app(), *this);
}

void CPreviewDlg::Close() {
  keepPlacement();
  hide();
}

/// The numbers of the frame that is being changed: its place and its size. Without one, what to do next.
void CPreviewDlg::showFrame(const tagRRECT* frame) {
  const bool draws = m_picture->drawsArea() || m_picture->drawsFragment();
  if (!frame) {
    return m_form->note->setText(draws ? QString::fromStdString(Supp_Translate("Draw a rectangle")) : QString());
  }
  CScanUnits& units = m_params->units();
  const auto text = [&](double mm) { return units.lengthText(mm); };
  m_form->note->setText(QString::fromStdString(
      formatText(Supp_Translate("%s, %s: %s x %s"),
                 {text(std::min(frame->left, frame->right)), text(std::min(frame->top, frame->bottom)),
                  text(std::abs(frame->width())), text(std::abs(frame->height()))})));
}

PreviewButton CPreviewDlg::button(int id) const {
  PreviewCondition now;
  const ScanValues& v = m_params->values();
  now.controllerAllows = m_controller.IsCommandEnabled(id) != 0;
  now.rectValid = v.rectValid != 0;
  now.hasPicture = !m_params->previewStore->IsEmpty();
  now.drawsArea = m_picture->drawsArea();
  now.drawsFragment = m_picture->drawsFragment();
  now.showsFragment = m_picture->showsFragment();
  now.updatingDisabled = v.disablePreview != 0;
  now.docked = m_docked;
  return buttonOf(id, now);
}

void CPreviewDlg::showCommands() {
  if (!m_picture) return;
  for (const int id : preview_command::kAll) {
    QAction* action = m_form->tools->tool(id);
    const PreviewButton now = button(id);
    action->setEnabled(now.enabled);
    action->setVisible(now.shown);
    if (action->isCheckable()) action->setChecked(now.checked);
  }
}

int CPreviewDlg::Command(int id) {
  if (!button(id).enabled) return 0;
  return OnCommand(id, kCodeSelected, 0) ? 1 : 0;
}

bool CPreviewDlg::OnCommand(int id, int, std::int64_t) {
  return m_controller.Guarded([&] { return handle(id); });
}

bool CPreviewDlg::handle(int id) {
  using namespace preview_command;
  switch (id) {
    case kShowCommands: break;
    case Prescan:
    case AreaPrescan:
    case Stop: m_controller.PostPanelCommand(id); return true;
    case NewArea:
      m_picture->toggleNewArea();
      focusDrawing();
      break;
    case NewFragment:
      m_picture->toggleNewFragment();
      focusDrawing();
      break;
    case AreaFromFragment: setAreaByFragment(); break;
    case ScanFragment: scanFragment(); break;
    case DisableUpdating: m_params->quiet().disablePreview = m_params->values().disablePreview ? 0 : 1; break;
    case Dock: return m_controller.DockPreview() != 0;
    case Float: return m_controller.FloatPreview() != 0;
    default: return false;
  }
  showCommands();
  return true;
}

/// The keys that draw, and Escape, go to the picture.
void CPreviewDlg::focusDrawing() {
  if (m_picture->drawsArea() || m_picture->drawsFragment()) m_picture->setFocus(Qt::OtherFocusReason);
}

void CPreviewDlg::setAreaByFragment() {
  const ScanValues& v = m_params->values();
  const tagRRECT area = areaOfFragment(v.rcCustomScan, v.centring);
  m_params->set(scan_key::RcScan, area);
  m_params->set(scan_key::ScanType, kAreaCustom);
  m_params->set(scan_key::Center, v.centring == kAlwaysCentres ? 1 : 0);
  m_params->setIfChanged(scan_key::RcScan, area);  // pages that hear of the type centre the area anew
  m_params->quiet().batch = 0;
  m_controller.PostPanelCommand(preview_command::Prescan);
}

void CPreviewDlg::scanFragment() {
  const bool isShown = m_picture->showsFragment();
  if (!isShown && takeScannedFrame()) {
    m_params->set(scan_key::CustomScanValid, 1);
    return m_controller.PostPanelCommand(preview_command::HandOver);
  }
  if (!isShown) m_params->set(scan_key::RcCustomScan, m_params->values().rcPreview);
  m_params->set(scan_key::CustomScanValid, 1);
  m_controller.PostPanelCommand(preview_command::Scan);
}

/// The picture in the view's store, when it is the whole page: what the frame shows, with the settings of a scan.
bool CPreviewDlg::takeScannedFrame() {
  const ScanValues& v = m_params->values();
  if (v.mode != ScanToView || !isFrameScanned(v)) return false;
  KxPtr<IRStor> raster;
  m_params->viewStore->Finish(raster.put(), 0, 0);
  if (!raster || raster->GetResolution() != static_cast<std::uint32_t>(v.dpi)) return false;
  if (raster->GetColorSpace() != v.colorSpace) return false;
  m_params->destinationStore = m_params->viewStore;
  return true;
}

void CPreviewDlg::closeEvent(QCloseEvent* event) {
  keepPlacement();
  PostCommand(this, preview_command::Dock, kCodeSelected);
  event->accept();  // else it would hold up a program that closes all its windows
}

void CPreviewDlg::resizeEvent(QResizeEvent* event) {
  CDialog::resizeEvent(event);
  m_picture->fit();
}

bool CPreviewDlg::event(QEvent* event) {
  // What the panel's menu switched shows when the user comes here.
  if (event->type() == QEvent::Enter || event->type() == QEvent::WindowActivate || event->type() == QEvent::Show) {
    showCommands();
  }
  return CDialog::event(event);
}

std::unique_ptr<IPreviewPage> makePreviewPage(IPanelController& controller, KxPtr<CSharedScanParams> params,
                                              QWidget* parent) {
  return std::make_unique<CPreviewDlg>(controller, std::move(params), parent);
}

}  // namespace quillbay
