#include "control/panel_pages.h"

#include <QStackedWidget>

#include "control/panel_store.h"
#include "pages/main_settings.h"

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
  const auto custom = query<IUICustomScanPages>(m_controller.Unit());
  for (int mode = kModeBwThreshold; custom && mode <= kModeBwCopyAdaptive; ++mode) {
    IUIScanPage* made = nullptr;
    if (custom->GetPage(mode, &made)) take(static_cast<PageRole>(static_cast<int>(PageRole::Bw0) + mode), made);
  }
  m_lists = makePageLists(available, m_params->values().mode);
}

void PanelPages::destroy() {
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
  for (IUIScanPage* p : all()) p->Save(store.page(p->GetNumber()).get());
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
