#include "control/panel_pages.h"

#include <QStackedWidget>

#include "control/panel_store.h"
#include "pages/bw_adapt.h"
#include "pages/bw_thresh.h"
#include "pages/main_settings.h"
#include "pages/pal_dlg.h"
#include "pages/post_proc.h"
#include "pages/rgb_main.h"
#include "pages/save_setup.h"
#include "pages/scan_setup.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

void PanelPages::create(QStackedWidget* place) {
  std::array<bool, kPageRoles> available{};
  const auto take = [&](PageRole role, IUIScanPage* made) {
    const auto index = static_cast<std::size_t>(role);
    m_pages[index].reset(made);
    available[index] = made != nullptr && made->Create(place, createModeOf(role)) != 0;
    if (available[index]) place->addWidget(made->GetHwnd());
  };
  take(PageRole::Main, new CMainSettings(m_controller, m_params));
  take(PageRole::Setup, new CScanSetup(m_controller, m_params));
  for (int mode = kModeBwThreshold; mode <= kModeBwCopyAdaptive; ++mode)
    take(static_cast<PageRole>(static_cast<int>(PageRole::Bw0) + mode), makeBwPage(mode));
  if (m_controller.Unit()->HasMode(kModePalette)) {
    auto* page = new CPalDlg(m_controller, m_params, new_PalCalculator());
    m_paletteDetector = page->detector();
    take(PageRole::Palette, page);
  }
  if (m_controller.Unit()->HasMode(kModeGrey) || m_controller.Unit()->HasMode(kModeRgb))
    take(PageRole::Rgb, new CRGBMain(m_controller, m_params));
  if (m_params->values().mode == ScanToView)
    take(PageRole::PostProcessing, m_postProcessing = new CPostProc(m_controller, m_params));
  if (m_params->values().mode != ScanToPrint) take(PageRole::Save, new CSaveSetup(m_controller, m_params));
  m_lists = makePageLists(available, m_params->values().mode);
}

/// The unit's own page, where it has one.
IUIScanPage* PanelPages::makeBwPage(int mode) const {
  const auto custom = query<IUICustomScanPages>(m_controller.Unit());
  IUIScanPage* own = nullptr;
  if (custom && custom->GetPage(mode, &own) && own) return own;
  const bool isAdaptive = mode == kModeBwAdaptive || mode == kModeBwCopyAdaptive;
  if (isAdaptive) return new CBWAdapt(m_controller, m_params, mode);
  return new CBWThresh(m_controller, m_params, mode);
}

void PanelPages::destroy() {
  m_postProcessing = nullptr;
  m_lists = {};  // a page that is shown in place of one that goes finds no others
  for (auto& p : m_pages) p.reset();
}

const std::vector<PageRole>& PanelPages::of(int mode) const {
  return m_lists[static_cast<std::size_t>(mode >= 0 && mode < kModeCount ? mode : 0)];
}

std::vector<IUIScanPage*> PanelPages::windowsOf(int mode) const {
  std::vector<IUIScanPage*> found;
  for (const PageRole role : of(mode)) found.push_back(page(role));
  return found;
}

std::vector<IUIScanPage*> PanelPages::all() const {
  std::vector<IUIScanPage*> found;
  for (const auto& p : m_pages) {
    if (p) found.push_back(p.get());
  }
  return found;
}

void PanelPages::load(const PanelStore& store) const {
  for (IUIScanPage* p : all()) p->Load(store.page(p->GetNumber()).get());
}

void PanelPages::save(const PanelStore& store) const {
  for (IUIScanPage* p : all()) {
    const auto kept = store.page(p->GetNumber());
    p->Save(kept.get());
    removeComputed(kept.get());
  }
}

void PanelPages::removeComputed(IParam* values) {
  for (const char* key : {key::Adaptive, key::Palette, key::PaletteCount, key::Lut}) values->Remove(key);
}

void PanelPages::apply(IParam* params) const {
  for (const PageRole role : current()) page(role)->Load(params);
}

bool PanelPages::collect(IParam* out) const {
  for (const PageRole role : current()) {
    if (!page(role)->Save(out)) return false;
  }
  return true;
}

void PanelPages::enable(bool enable) const {
  for (IUIScanPage* p : all()) p->Enable(enable ? 1 : 0);
}

}  // namespace quillbay
