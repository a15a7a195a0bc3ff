#pragma once
#include <mutex>

#include "quillbay/control.h"
#include "quillbay/keep_rasters.h"
#include "quillbay/presets.h"
#include "quillbay/preview_control.h"
#include "quillbay/quillbay.h"

namespace quillbay {

class CMaindlg;

/// What a host holds of a panel: forwards to the dialog while it lives, and reports that there is no window
/// afterwards. Commands and parameters are posted, so any thread may give them; everything else is the
/// user-interface thread's.
class PanelSink final : public CKxUnknownImpl<IQuillbaySink, IQuillbayControl, IRGetSource, IKeepRasters,
                                              IPreviewControl, IQuillbayPresets> {
 public:
  explicit PanelSink(CMaindlg* dialog) : m_dialog(dialog) {}
  void dialogIsGone() noexcept;

  int EnableViewSync(int enable) override;
  int ApplyParams(IParam* params) override;
  int DoCommand(int code) override;

  int SetParam(std::string_view key, const CKxVariant& value, std::string* why) override;
  int GetParam(std::string_view key, CKxVariant* out) override;
  std::vector<std::string> GetParamKeys() override;
  int GetPageParams(IParam* out) override;
  int Start(StartKind kind, int count) override;
  int Stop(StopKind kind) override;
  int Eject() override;
  int IsBusy() override;
  std::string GetNextFileName() override;
  int Advise(IQuillbayEvents* events) override;
  int Unadvise(IQuillbayEvents* events) override;
  int SaveSettings() override;
  int ShowPage(int number) override;

  IRStor* GetRaster() override;
  CRDirectTfm GetTransform() override;
  int GetFlags() override { return 0; }

  int KeepRasters(int keep) override;

  int ApplyPreset(std::int32_t id) override;
  int TakePreset(Preset* out) override;

  int PreviewCommand(quillbay::PreviewCommand command) override;
  int IsPreviewCommandEnabled(quillbay::PreviewCommand command) override;
  int IsPreviewCommandChecked(quillbay::PreviewCommand command) override;

 private:
  std::mutex m_mutex;  // held by whoever is not on the user-interface thread, and while the dialog is destroyed
  CMaindlg* m_dialog;
};

}  // namespace quillbay
