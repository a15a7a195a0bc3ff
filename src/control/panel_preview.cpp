#include "control/panel_preview.h"

#include <QWidget>
#include <utility>

#include "control/panel_form.h"
#include "preview/first_frame.h"
#include "preview/preview_dlg.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
/// Characters that a panel of two columns is wide.
constexpr int kTwoColumns = 105;
/// Of a kind in which the keys of the host's window work as well.
constexpr Qt::WindowFlags kWindow = Qt::Tool | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                                    Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint;
}  // namespace

void PanelPreview::create(IPanelController& controller, QWidget* panel, const PanelForm& form) {
  m_panel = panel;
  m_form = &form;
  m_page = makePreviewPage(controller, m_params, panel);
  m_page->GetHwnd()->hide();
}

KxPtr<IParam> PanelPreview::section() const {
  const auto profile = query<IProfile>(m_params->app());
  return profile ? KxPtr<IParam>::adopt(profile->GetSection(section_name::PreviewPlacement, 1)) : KxPtr<IParam>{};
}

void PanelPreview::lay(bool full) {
  if (!m_page) return;
  m_full = full;
  const int least = m_panel->fontMetrics().averageCharWidth() * kTwoColumns;
  moveTo(spotOf({m_full, m_floats, m_panel->width(), least}));
}

void PanelPreview::moveTo(PreviewSpot spot) {
  if (spot == m_spot) return;
  QWidget* window = m_page->GetHwnd();
  const bool wasWindow = window->isWindow(), isWindow = spot == PreviewSpot::Window;
  m_spot = spot;
  if (spot == PreviewSpot::Hidden) m_page->Close();
  if (wasWindow && spot != PreviewSpot::Hidden && !isWindow) m_page->SetDocked(1);
  m_form->placePreview(window, spot);
  if (isWindow) {
    if (!wasWindow) window->setParent(m_panel, kWindow);
    m_page->SetDocked(0);
    if (!m_panel->isVisible()) m_page->Close();  // it comes with the panel
  } else if (spot != PreviewSpot::Hidden) {
    window->show();
  }
  m_page->Refresh();
}

void PanelPreview::panelShown() {
  if (!m_page) return;
  if (std::exchange(m_wasShown, true)) {
    if (m_spot == PreviewSpot::Window) m_page->GetHwnd()->show();
    return;
  }
  m_floats = paramInt(section().get(), placement_key::Floats) != 0;
  lay(m_full);
}

void PanelPreview::panelHidden() const {
  if (m_page && m_spot == PreviewSpot::Window) m_page->Close();
}

void PanelPreview::setFloating(bool floats) {
  m_floats = floats;
  if (const auto saved = section()) saved->SetValue(placement_key::Floats, floats ? 1 : 0);
  lay(m_full);
}

int PanelPreview::dock() {
  if (!m_page || !m_floats) return 0;
  setFloating(false);
  show();
  return 1;
}

int PanelPreview::floatOut() {
  if (!m_page || m_floats || !m_full) return 0;
  setFloating(true);
  return 1;
}

void PanelPreview::show() const {
  if (m_spot == PreviewSpot::Tab) m_form->showPreviewTab();
  if (m_spot != PreviewSpot::Window) return;
  m_page->GetHwnd()->raise();
  m_page->GetHwnd()->activateWindow();
}

void PanelPreview::placeFrame(double aspect) {
  const ScanValues& v = m_params->values();
  m_area = v.rcScan;
  m_params->set(scan_key::RcPreview, firstFrame(v.rcScan, aspect, v.minWidth, v.minHeight));
}

void PanelPreview::keepFrame() { m_area = m_params->values().rcScan; }

void PanelPreview::close() const {
  if (m_page) m_page->Close();
}

}  // namespace quillbay
