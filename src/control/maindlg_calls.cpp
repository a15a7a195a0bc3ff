#include <QTabBar>
#include <algorithm>

#include "control/command_ids.h"
#include "control/maindlg.h"
#include "control/own_area.h"
#include "control/start_commands.h"
#include "pages/post_proc.h"
#include "platform/post_command.h"
#include "quillbay/preview_control.h"

namespace quillbay {

// What the handed-out sink forwards, and what pages and destination ask of their controller.

void CMaindlg::postStart(int id, std::int64_t value) {
  m_run.queueStart();
  PostCommand(this, id, 1, value);
}

int CMaindlg::Start(StartKind kind, int count) {
  if (m_run.startWaits() || IsBusy()) return 0;
  const StartCommand* start = startOf(kind);
  if (!start) return 0;
  postStart(start->id, count);
  return 1;
}

int CMaindlg::StopRun(StopKind kind) {
  return m_guard.guarded([&] {
    if (m_run.startWaits()) {  // after the start that waits
      PostCommand(this, kind == StopKind::Now ? command::kStop : command::kStopAfterPage, 1);
    } else {
      perform(kind == StopKind::Now ? m_run.stop() : m_run.stopAfterPage());
    }
    return 1;
  });
}

int CMaindlg::EjectDocument() {
  return m_guard.guarded([&] {
    if (IsBusy() || m_performer.othersRun()) return 0;
    m_performer.leaveDocument();
    return 1;
  });
}

int CMaindlg::EnableViewSync(int enable) {
  const int answer = m_viewSync->Enable(enable);
  if (answer != CViewSync::kNoView && enable != 0 && m_steps.preview) m_steps.preview->Refresh();
  return answer;
}

int CMaindlg::ApplyParams(IParam* params) {
  m_settings.add(params);
  PostCommand(this, command::kApplyParams, 1);
  return 1;
}

int CMaindlg::SetParam(std::string_view key, const CKxVariant& value, std::string* why) {
  return m_guard.guarded([&] { return m_settings.setParam(key, value, why); });
}

int CMaindlg::GetParam(std::string_view key, CKxVariant* out) { return m_settings.getParam(key, out); }

int CMaindlg::GetPageParams(IParam* out) {
  return m_guard.guarded([&] {
    m_settings.getPageParams(out);
    return 1;
  });
}

void CMaindlg::PageChanged() {
  m_guard.guarded([&] {
    if (m_initialised) m_performer.pushSettings();
    if (!values().disablePreview) m_previewTimer.restart();
    return 1;
  });
}

int CMaindlg::ShowPage(int number) {
  return m_guard.guarded([&] {
    const auto pages = m_pages.windowsOf(values().currMode);
    const auto wanted =
        std::find_if(pages.begin(), pages.end(), [&](IUIScanPage* p) { return p->GetNumber() == number; });
    if (wanted == pages.end()) return 0;
    if (m_layout != 0) switchLayout();
    m_form->tabs()->setCurrentIndex(static_cast<int>(wanted - pages.begin()));
    return 1;
  });
}

void CMaindlg::RunPostProcessing() {
  CPostProc* page = m_pages.postProcessing();
  const std::vector<PageRole>& roles = m_pages.current();
  const auto place = std::find(roles.begin(), roles.end(), PageRole::PostProcessing);
  if (!page || place == roles.end() || !page->runsAfterScan()) return;
  if (m_layout == 0) {
    const auto index = static_cast<int>(place - roles.begin());
    setTab(m_form->tabs(), index);
    m_form->showTab(m_pages, index);
  }
  m_guard.passed([&] { return page->RunPostProcessing(), 0; }, 0);
}

int CMaindlg::ExecCommand(const char* name, IParam* arguments) {
  constexpr int kFailed = 1;
  return m_guard.passed([&] { return m_host.execCommand(name, arguments); }, kFailed);
}

int CMaindlg::Message(EventKind kind, const std::string& text, EventButtons buttons) {
  return m_guard.passed([&] { return m_host.message(kind, text, buttons); }, static_cast<int>(EventAnswer::GiveUp));
}

int CMaindlg::DetectArea(int mask) {
  return m_guard.guarded([&] { return m_performer.detectArea(mask) ? 1 : 0; });
}

void CMaindlg::PostPanelCommand(int id) {
  if (startOf(id)) {
    postStart(id, 0);
  } else {
    PostCommand(this, id, 1);
  }
}

int CMaindlg::LoadPage(IUIScanPage* page, IParam* params) {
  const int answer = page->Load(params);
  AreaChanged();
  return answer;
}

int CMaindlg::SavePage(IUIScanPage* page, IParam* params) {
  const OwnArea own(*m_params, m_run);
  const int answer = page->Save(params);
  PanelPages::removeComputed(params);
  return answer;
}

int CMaindlg::ApplyPreset(std::int32_t id) {
  return m_guard.guarded([&] {
    const int answer = m_settings.applyPreset(id);
    if (answer && !m_run.isBusy()) PageChanged();
    return answer;
  });
}

int CMaindlg::TakePreset(Preset* out) {
  return m_guard.guarded([&] {
    *out = m_presets.takeCurrent();
    return 1;
  });
}

int CMaindlg::GivePreviewCommand(int id) {
  if (const StartCommand* start = startOf(id)) return Start(start->start, 0);
  if (!m_preview->page()) return 0;
  if (id == static_cast<int>(PreviewCommand::Show)) return m_preview->show(), 1;
  const bool draws =
      id == static_cast<int>(PreviewCommand::NewArea) || id == static_cast<int>(PreviewCommand::NewFragment);
  if (draws && m_preview->page()->IsCommandEnabled(id)) m_preview->show();
  return m_preview->page()->Command(id);
}

int CMaindlg::IsPreviewCommandEnabled(int id) {
  if (!m_preview->page()) return 0;
  if (startOf(id)) return isCommandShown(id, panelState()) && IsCommandEnabled(id);
  return id == static_cast<int>(PreviewCommand::Show) ? 1 : m_preview->page()->IsCommandEnabled(id);
}

int CMaindlg::IsPreviewCommandChecked(int id) {
  return m_preview->page() ? m_preview->page()->IsCommandChecked(id) : 0;
}

}  // namespace quillbay
