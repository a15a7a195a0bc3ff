#include "control/panel_sink.h"

#include "control/command_ids.h"
#include "control/maindlg.h"
#include "control/param_access.h"
#include "platform/post_command.h"

namespace quillbay {

void PanelSink::dialogIsGone() noexcept {
  const std::lock_guard lock(m_mutex);
  m_dialog = nullptr;
}

int PanelSink::EnableViewSync(int enable) { return m_dialog ? m_dialog->EnableViewSync(enable) : kNoWindow; }

int PanelSink::ApplyParams(IParam* params) {
  const std::lock_guard lock(m_mutex);
  return m_dialog ? m_dialog->ApplyParams(params) : kNoWindow;
}

int PanelSink::DoCommand(int code) {
  const std::lock_guard lock(m_mutex);
  if (!m_dialog) return kNoWindow;
  PostCommand(m_dialog, command::kClearBatch, 1);
  switch (code) {
    case 0: m_dialog->postStart(command::kScan, 0); break;
    case 1: PostCommand(m_dialog, command::kStop, 1); break;
    case 15: m_dialog->postStart(command::kAreaPrescan, 0); break;
    default:
      if (code >= 10 && code <= 19) PostCommand(m_dialog, command::kScannerKey, code);
  }
  return 1;
}

int PanelSink::SetParam(std::string_view key, const CKxVariant& value, std::string* why) {
  return m_dialog ? m_dialog->SetParam(key, value, why) : 0;
}

int PanelSink::GetParam(std::string_view key, CKxVariant* out) {
  return m_dialog ? m_dialog->GetParam(key, out) : 0;
}

std::vector<std::string> PanelSink::GetParamKeys() { return scanParamNames(); }

int PanelSink::GetPageParams(IParam* out) { return m_dialog ? m_dialog->GetPageParams(out) : 0; }

int PanelSink::Start(StartKind kind, int count) { return m_dialog ? m_dialog->Start(kind, count) : 0; }

int PanelSink::Stop(StopKind kind) { return m_dialog ? m_dialog->StopRun(kind) : 0; }

int PanelSink::Eject() { return m_dialog ? m_dialog->EjectDocument() : 0; }

int PanelSink::IsBusy() { return m_dialog ? m_dialog->IsBusy() : 0; }

std::string PanelSink::GetNextFileName() { return m_dialog ? m_dialog->GetNextFileName() : std::string(); }

int PanelSink::Advise(IQuillbayEvents* events) { return m_dialog ? m_dialog->listeners().advise(events) : 0; }

int PanelSink::Unadvise(IQuillbayEvents* events) { return m_dialog ? m_dialog->listeners().unadvise(events) : 0; }

int PanelSink::ShowPage(int number) { return m_dialog ? m_dialog->ShowPage(number) : 0; }

int PanelSink::SaveSettings() { return m_dialog ? m_dialog->SaveSettings() : 0; }

IRStor* PanelSink::GetRaster() { return m_dialog ? m_dialog->viewRaster() : nullptr; }

int PanelSink::KeepRasters(int keep) { return m_dialog ? m_dialog->KeepRasters(keep) : kNoWindow; }

int PanelSink::ApplyPreset(std::int32_t id) { return m_dialog ? m_dialog->ApplyPreset(id) : 0; }

int PanelSink::TakePreset(Preset* out) { return m_dialog ? m_dialog->TakePreset(out) : 0; }

int PanelSink::PreviewCommand(quillbay::PreviewCommand command) {
  return m_dialog ? m_dialog->GivePreviewCommand(static_cast<int>(command)) : 0;
}

int PanelSink::IsPreviewCommandEnabled(quillbay::PreviewCommand command) {
  return m_dialog ? m_dialog->IsPreviewCommandEnabled(static_cast<int>(command)) : 0;
}

int PanelSink::IsPreviewCommandChecked(quillbay::PreviewCommand command) {
  return m_dialog ? m_dialog->IsPreviewCommandChecked(static_cast<int>(command)) : 0;
}

CRDirectTfm PanelSink::GetTransform() { return m_dialog ? m_dialog->viewTransform() : CRDirectTfm{}; }

}  // namespace quillbay
