#include "pages/rgb_main.h"

#include <QResizeEvent>
#include <utility>
#include <vector>

#include "analysis/gamma_table.h"
#include "pages/bw_point_hold.h"
#include "pages/gamma_hold.h"
#include "pages/live_picture.h"
#include "pages/pal_dlg.h"
#include "pages/rgb_dlg.h"
#include "platform/base_services.h"
#include "preview/store_picture.h"
#include "quillbay/scan_keys.h"
#include "ui_rgb_main.h"

namespace quillbay {

namespace {

constexpr std::int32_t kMostPictureWidth = 1024;
/// Characters that the page is wide from which on the picture stands beside the settings.
constexpr int kWideCharacters = 92;

bool isColourMode(std::int32_t mode) { return mode >= kModeGrey && mode <= kModeRgb; }

}  // namespace

CRGBMain::CRGBMain(IPanelController& controller, KxPtr<CSharedScanParams> params)
    : CTab(controller, std::move(params), kNumber),
      m_form(std::make_unique<Ui::RGBMain>()),
      m_adjustments(newPictureAdjustments()) {}

CRGBMain::~CRGBMain() {
  m_picture->onPicked = {};
  m_picture->onPickEnded = {};
}

std::string CRGBMain::GetTitle() { return Supp_Translate("Color Setup"); }

/// The filters have keys for the current mode; a black-and-white mode has none of this page's.
int CRGBMain::shownMode(int createMode) const {
  const std::int32_t mode = params().values().currMode;
  return isColourMode(mode) ? mode : isColourMode(createMode) ? createMode : kModeRgb;
}

void CRGBMain::createForm(int mode) {
  m_form->setupUi(this);
  UnitKeyRange unused;
  const auto ranges = query<IUnitKeyRanges>(controller().Unit());
  m_setsPoints = ranges && ranges->GetKeyRange(key::HardBwPoint, &unused) != 0;
  makeTabs(mode);
  makePicture();
  makeTools();
  orderFocus();
}

/// With Tab from top to bottom: the form was made before what the tabs and the point area hold.
void CRGBMain::orderFocus() {
  std::vector<QWidget*> chain;
  for (QWidget* w = nextInFocusChain(); w != this; w = w->nextInFocusChain()) chain.push_back(w);
  QWidget* last = m_form->tabs;
  const auto follow = [&last](QWidget* next) { setTabOrder(std::exchange(last, next), next); };
  const auto followAll = [&](const QWidget* group) {
    for (QWidget* w : chain) {
      const bool isStop = (w->focusPolicy() & Qt::TabFocus) != 0 && !w->focusProxy();
      if (isStop && group->isAncestorOf(w)) follow(w);
    }
  };
  followAll(m_simple);
  followAll(m_gamma);
  follow(m_form->setPoint);
  followAll(m_points);
  follow(m_picture);
}

void CRGBMain::makeTabs(int mode) {
  m_mode = shownMode(mode);
  m_simple = new CRGBDlg(m_form->tabPages);
  m_gamma = new CGammaHold(m_form->tabPages);
  m_points = new CBWPointHold(m_form->pointPlace);
  m_form->tabPages->addWidget(m_simple);
  m_form->tabPages->addWidget(m_gamma);
  m_form->pointPlace->layout()->addWidget(m_points);
  m_form->tabs->addTab(QString::fromStdString(Supp_Translate("Simple")));
  m_form->tabs->addTab(QString::fromStdString(Supp_Translate("Gamma")));
  m_simple->initialise(controller().Unit(), m_mode);
  m_simple->onChanged = [this] { changed(); };
  m_form->setPoint->setVisible(m_setsPoints);
  m_form->pointPlace->hide();
}

void CRGBMain::makeTools() {
  const ToolSurroundings surroundings{[this] { changed(); }, [this](ToolPicture* out) { return givePicture(out); },
                                      [this](IPanelTool* tool) { return startPick(tool); },
                                      [this](IPanelTool* tool) { endPick(tool); }};
  IApp* app = params().app();
  m_gamma->makeTool(app, m_setsPoints ? tool_name::GammaEditQB : tool_name::GammaEdit, surroundings);
  if (m_setsPoints) m_points->makeTool(app, tool_name::BWPointSetup, surroundings);
}

void CRGBMain::makePicture() {
  m_picture = new LivePicture(this);
  m_picture->setAccessibleName(QString::fromStdString(Supp_Translate("Preview with the settings of this page")));
  m_picture->setToolTip(QString::fromStdString(
      Supp_Translate("Press the mouse button to compare with the original, or hold the space bar")));
  m_form->pictureColumn->insertWidget(0, m_picture, 1);
  m_picture->setAdjust([this](const QImage& in, QImage* out) {
    return m_adjustments->Apply(request().get(), in.constBits(), {in.width(), in.height()},
                                static_cast<std::size_t>(in.bytesPerLine()), out->bits());
  });
  m_picture->onPicked = [this](KXRGBQUAD color) {
    if (const auto tool = std::exchange(m_picker, {})) tool->Picked(color);
  };
  m_picture->onPickEnded = [this] {
    if (const auto tool = std::exchange(m_picker, {})) tool->PickEnded();
  };
}

/// A run uses the settings of the tab that is chosen.
void CRGBMain::chooseTab(int tab) {
  setTab(m_form->tabs, tab);
  m_form->tabPages->setCurrentIndex(tab);
  m_picture->refresh();
}

bool CRGBMain::OnPageCommand(int id, int, std::int64_t value) {
  switch (id) {
    case kTabs: chooseTab(static_cast<int>(value)); return true;
    case kSetPoint: m_form->pointPlace->setVisible(m_form->setPoint->isChecked()); return true;
    default: return id == kControlChanged;
  }
}

void CRGBMain::changed() {
  m_picture->refresh();
  OnCommand(kControlChanged, kCodeClicked, 0);
}

int CRGBMain::paramChanged(const char* key) {
  if (!sameKey(key, key::CurrMode) && !sameKey(key, key::ScanModesChanged)) return 1;
  const std::int32_t mode = params().values().currMode;
  if (!isColourMode(mode)) return 1;
  const Loading loading(*this);
  m_mode = mode;
  m_simple->setMode(controller().Unit(), mode);
  if (isVisible()) takePalette();
  showPictureNote();
  m_picture->refresh();
  return 1;
}

int CRGBMain::Load(IParam* params) {
  const Loading loading(*this);
  const bool resets = paramInt(params, key::ResetMark) != 0;
  const int tab = paramInt(params, key::IsGamma, resets ? kSimple : m_form->tabs->currentIndex());
  m_gamma->Load(params);
  // Sliders that adjust nothing, as the curves do, stay where a set says nothing of them.
  m_simple->Load(params, tab == kGamma && !resets);
  m_points->Load(params);
  chooseTab(tab == kGamma ? kGamma : kSimple);
  return 1;
}

/// Without a tool there is nothing to save, and nothing that is not acceptable.
int CRGBMain::Save(IParam* params) {
  const bool isGamma = m_form->tabs->currentIndex() == kGamma;
  if (isGamma)
    m_gamma->Save(params);
  else
    m_simple->Save(params);
  m_points->Save(params);
  params->SetValue(key::IsGamma, isGamma ? 1 : 0);
  return 1;
}

std::string CRGBMain::GetRefusal() { return m_simple->finishEdits(); }

void CRGBMain::Enable(int enable) {
  CTab::Enable(enable);
  if (enable && isVisible()) takePicture();
}

void CRGBMain::showEvent(QShowEvent* event) {
  CTab::showEvent(event);
  takePicture();
}

void CRGBMain::resizeEvent(QResizeEvent* event) {
  CTab::resizeEvent(event);
  const bool isWide = width() >= fontMetrics().averageCharWidth() * kWideCharacters;
  m_form->column->setDirection(isWide ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
}

// --- the picture

/// What the palette page asks for does not change while this page is shown: it is asked once, not in every paint.
void CRGBMain::takePalette() {
  m_palette = {};
  if (m_mode != kModePalette) return;
  for (IUIScanPage* page : controller().PagesOf(m_mode)) {
    if (page->GetNumber() != CPalDlg::kNumber) continue;
    m_palette = new_MemParam();
    page->Save(m_palette.get());
  }
}

void CRGBMain::takePicture() {
  takePalette();
  const auto settings = controller().PreviewSettings();
  const auto& store = params().previewStore;
  m_base = store ? unadjusted(pictureOf(*store, kMostPictureWidth), settings.get()) : Unadjusted{};
  const std::int32_t previewMode = settings ? paramInt(settings.get(), key::Mode, kModeRgb) : kModeRgb;
  m_isBaseGrey = previewMode == kModeGrey;
  m_picture->setPicture(
      m_base.picture,
      QString::fromStdString(Supp_Translate(isBitonalMode(previewMode)
                                                ? "The last preview is black and white. Make a preview (F6) in "
                                                  "this mode to see what the settings do."
                                                : "Make a preview (F6) to see what the settings do.")));
  showPictureNote();
  m_gamma->refresh();
}

/// Where the picture is not what the scan will be. What a search for the document left is grey, in any mode.
void CRGBMain::showPictureNote() {
  const bool lacksColours = m_isBaseGrey && m_mode != kModeGrey;
  m_form->pictureNote->setVisible(m_base.picture && (lacksColours || !m_base.isExact));
  m_form->pictureNote->setText(QString::fromStdString(Supp_Translate(
      lacksColours
          ? "The last preview is grey, so that the colours are missing. Make a preview (F6) in this mode."
          : "The last preview was adjusted itself, so that this picture is not exact. For an exact one, reset "
            "the page and make a preview (F6).")));
}

int CRGBMain::givePicture(ToolPicture* out) const {
  if (!m_base.picture || !out) return 0;
  const Picture& p = *m_base.picture;
  *out = {p.width, p.height, p.stride, p.bytes.data(), m_base.picture};
  return 1;
}

int CRGBMain::startPick(IPanelTool* tool) {
  if (!m_base.picture) return 0;
  if (const auto other = std::exchange(m_picker, KxPtr<IPanelTool>::share(tool)); other && other.get() != tool)
    other->PickEnded();
  m_picture->setPicking(true);
  return 1;
}

void CRGBMain::endPick(const IPanelTool* tool) {
  if (m_picker.get() != tool) return;
  m_picker = {};
  m_picture->setPicking(false);
}

/// What the settings would ask of the unit, without filters that it does not have. A palette that is not computed
/// yet changes nothing that could be shown.
KxPtr<IParam> CRGBMain::request() {
  auto made = new_MemParam();
  if (m_palette) Param_CopyTo(m_palette.get(), made.get());
  Save(made.get());
  int mode = m_mode;
  if (mode == kModePalette && paramInt(made.get(), key::Adaptive) != 0) {
    mode = kModeRgb;
    for (const char* stem : {key::SoftenSharpen, key::Blur})
      made->SetValue(key::numbered(stem, mode), paramInt(made.get(), key::numbered(stem, kModePalette)));
  }
  const auto ranges = query<IUnitKeyRanges>(controller().Unit());
  for (const char* stem : {key::SoftenSharpen, key::Blur}) {
    UnitKeyRange unused;
    const std::string filter = key::numbered(stem, mode);
    if (!ranges || !ranges->GetKeyRange(filter, &unused)) made->Remove(filter);
  }
  made->SetValue(key::Mode, mode);
  putGammaTable(made.get());
  return made;
}

}  // namespace quillbay
