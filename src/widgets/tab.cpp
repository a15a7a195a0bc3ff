#include "widgets/tab.h"

namespace quillbay {

namespace {
bool isPersonsChange(int id, int code) {
  if (id == CTab::kControlChanged) return true;
  switch (code) {
    case kCodeClicked:
    case kCodeSelected:
    case kCodeComboEdited:
    case kCodeAccepted:
    case kCodeScrolled:
    case kCodeEdited: return true;
    default: return false;
  }
}
}  // namespace

CTab::CTab(IPanelController& controller, KxPtr<CSharedScanParams> params, int number)
    : m_controller(controller), m_params(std::move(params)), m_number(number) {}

int CTab::Create(CWnd* parent, int mode) {
  setParent(parent);
  const Loading loading(*this);
  createForm(mode);
  attachControls();
  return 1;
}

bool CTab::OnCommand(int id, int code, std::int64_t value) {
  const bool handled = OnPageCommand(id, code, value);
  if (isPersonsChange(id, code)) reportChange();
  return handled;
}

void CTab::reportChange() {
  if (isLoading() || m_params->values().disablePreview != 0) return;
  m_controller.PageChanged();
}

}  // namespace quillbay
