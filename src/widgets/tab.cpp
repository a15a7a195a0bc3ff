#include "widgets/tab.h"

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QMenu>
#include <memory>

#include "platform/base_services.h"
#include "platform/preset_manager.h"
#include "quillbay/scan_keys.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
bool isUsersChange(int id, int code) {
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
  m_changes.Subscribe(params().connectionPoint());
  return 1;
}

int CTab::paramChanged(const char*) { return 1; }

QSize CTab::sizeHint() const {
  const QSize hint = CDialog::sizeHint();
  return isHidden() ? QSize(hint.width(), 0) : hint;
}

QSize CTab::minimumSizeHint() const {
  const QSize hint = CDialog::minimumSizeHint();
  return isHidden() ? QSize(hint.width(), 0) : hint;
}

int CTab::heightForWidth(int width) const { return isHidden() ? 0 : CDialog::heightForWidth(width); }

bool CTab::OnCommand(int id, int code, std::int64_t value) {
  assertUserInterfaceThread();
  return m_controller.Guarded([&] {
    const bool handled = onMenuCommand(id) || OnPageCommand(id, code, value);
    if (isUsersChange(id, code) && id != kAddPreset) reportChange();
    return handled;
  });
}

bool CTab::onMenuCommand(int id) {
  if (id != kResetPage && id != kAddPreset && id != kDisablePreview) return false;
  if (!isEnabled()) return true;  // a page has started while the menu was open
  if (IPresetManager* presets = m_controller.Presets()) {
    presets->OnMenuCommand(m_number, id);
  } else if (id == kDisablePreview) {
    params().quiet().disablePreview = params().values().disablePreview ? 0 : 1;
  } else if (id == kResetPage) {
    const auto defaults = new_MemParam();
    defaults->SetValue(key::ResetMark, 1);
    Load(defaults.get());
  }
  return true;
}

void CTab::applyPreset(std::int32_t id) {
  m_controller.Guarded([&] {
    if (!isEnabled()) return false;
    m_controller.Presets()->Apply(id, m_number);
    reportChange();
    return true;
  });
}

void CTab::fillMenu(QMenu&) {}

void CTab::addToMenu(QMenu& menu, const QAbstractButton& button, int id) {
  QAction* action = menu.addAction(button.text());
  action->setCheckable(button.isCheckable());
  action->setChecked(button.isChecked());
  action->setEnabled(button.isEnabled());
  connect(action, &QAction::triggered, this, [this, id] { OnCommand(id, kCodeClicked, 1); });
}

void CTab::addToMenu(QMenu& menu, const std::string& text, int id, bool checked) {
  QAction* action = menu.addAction(QString::fromStdString(text));
  action->setCheckable(true);
  action->setChecked(checked);
  connect(action, &QAction::triggered, this, [this, id](bool on) { OnCommand(id, kCodeClicked, on); });
}

void CTab::contextMenuEvent(QContextMenuEvent* event) {
  if (params().values().currMode == kModeDirect || !isEnabled()) return;
  // Not run in a loop of its own: the panel may close while it is open.
  auto* menu = std::make_unique<QMenu>(this).release();
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setToolTipsVisible(true);
  fillMenu(*menu);
  if (!menu->isEmpty()) menu->addSeparator();
  addCommonEntries(*menu);
  menu->popup(event->globalPos());
}

/// What every page's menu has.
void CTab::addCommonEntries(QMenu& menu) {
  const auto command = [&](const char* text, int id) {
    QAction* action = menu.addAction(QString::fromStdString(Supp_Translate(text)));
    connect(action, &QAction::triggered, this, [this, id] { OnCommand(id, kCodeClicked, 0); });
  };
  addToMenu(menu, Supp_Translate("&Disable Preview Updating"), kDisablePreview,
            params().values().disablePreview != 0);
  menu.addSeparator();
  command("&Reset Page", kResetPage);
  if (!m_controller.Presets()) return;
  menu.addSeparator();
  const std::vector<IPresetManager::Preset> presets = m_controller.Presets()->List(m_number);
  for (const IPresetManager::Preset& preset : presets) {
    QString name = QString::fromStdString(preset.name);
    QAction* action = menu.addAction(name.replace('&', "&&"));
    action->setToolTip(QString::fromStdString(Supp_Translate("Applies this preset to this page")));
    connect(action, &QAction::triggered, this, [this, id = preset.id] { applyPreset(id); });
  }
  if (!presets.empty()) menu.addSeparator();
  command("&Add preset...", kAddPreset);
}

void CTab::reportChange() {
  assertUserInterfaceThread();
  if (isLoading() || m_params->values().disablePreview != 0) return;
  m_controller.PageChanged();
}

}  // namespace quillbay
