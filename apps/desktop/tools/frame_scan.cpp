#include "tools/frame_scan.h"

#include <utility>

#include "document/document.h"
#include "quillbay/scan_keys.h"
#include "scanner/panel_dock.h"
#include "view/live_page.h"

namespace desktop {

using quillbay::tagRPOINT;

FrameScan::FrameScan(PanelDock* panel, LivePage* live, Document* document, QObject* parent)
    : QObject(parent), m_panel(panel), m_document(document) {
  connect(panel, &PanelDock::pageStarted, this, &FrameScan::noteStarted);
  connect(live, &LivePage::became, this, &FrameScan::notePage);
  connect(panel, &PanelDock::ended, this, &FrameScan::restore);
}

void FrameScan::noteStarted() { m_started = m_panel->startedCorner(); }

void FrameScan::notePage(int id) {
  const Page* page = m_document->page(id);
  if (page && m_started) m_corners[page->version] = *m_started;
}

std::optional<tagRPOINT> FrameScan::cornerOf(const Page& page) const {
  const auto found = m_corners.find(page.version);
  return found == m_corners.end() ? std::nullopt : std::optional(found->second);
}

void FrameScan::noteCut(int versionBefore, const Page& page, const tagRPOINT& moved) {
  const auto before = m_corners.find(versionBefore);
  if (before == m_corners.end()) return;
  const tagRPOINT corner = before->second;
  m_corners[page.version] = {corner.x + moved.x, corner.y + moved.y};
}

int FrameScan::resolution() const {
  quillbay::CKxVariant dpi;
  return m_panel->control() && m_panel->control()->GetParam(quillbay::key::Dpi, &dpi) ? dpi.toInt() : 0;
}

bool FrameScan::start(const quillbay::tagRRECT& area, int dpi, QString* why) {
  quillbay::IQuillbayControl* control = m_panel->control();
  if (!control || control->IsBusy()) {
    *why = tr("A scan is running. Scan the frame when it has ended.");
    return false;
  }
  const int before = resolution();
  std::string reason;
  const auto set = [&](const char* key, const quillbay::CKxVariant& value) {
    return control->SetParam(key, value, &reason) != 0;
  };
  if (dpi != before) {
    if (!set(quillbay::key::Dpi, dpi)) {
      *why = QString::fromStdString(reason);
      return false;
    }
    m_resolutionBefore = before;
  }
  const bool starts = set(quillbay::key::RcCustomScan, area) && set(quillbay::key::CustomScanValid, 1) &&
                      control->Start(quillbay::StartKind::Scan, 1) != 0;
  if (starts) return true;
  *why = reason.empty() ? tr("The scan did not start. Try again.") : QString::fromStdString(reason);
  set(quillbay::key::CustomScanValid, 0);
  restore();
  return false;
}

/// The panel goes on with the resolution that the user chose there.
void FrameScan::restore() {
  const auto before = std::exchange(m_resolutionBefore, std::nullopt);
  if (before && m_panel->control()) m_panel->control()->SetParam(quillbay::key::Dpi, *before, nullptr);
}

}  // namespace desktop
