#pragma once
#include <memory>
#include <string>

#include "control/area_detection.h"
#include "control/focus_keeper.h"
#include "control/palette_prescan.h"
#include "control/panel_form.h"
#include "control/panel_guard.h"
#include "control/panel_parts.h"
#include "control/panel_preview.h"
#include "control/panel_settings.h"
#include "control/panel_status.h"
#include "control/panel_toolbar.h"
#include "control/preset_manager.h"
#include "control/run_performer.h"
#include "platform/panel_controller.h"
#include "preview/view_sync.h"
#include "quillbay/control.h"
#include "quillbay/quillbay.h"
#include "widgets/countdown_timer.h"
#include "widgets/dialog.h"

namespace quillbay {

class PanelSink;

/// The panel's window. It shows what `ScanRun` says the panel is doing and turns commands into its events, which
/// `RunPerformer` carries out.
///
/// Threads: the user-interface thread only. The scanner's notifications go to `ScanRouter`, which posts back here.
/// Life: an entry point creates it for its `PanelWindow` and calls `ConnectScanner` and `StartUp`. When the window
/// is destroyed, the scan ends and the settings are saved at once; the object is deleted when its last call has
/// returned. The handed-out `sink` outlives it and then reports that there is no window.
/// Failures: an exception of a host, a unit or a page during a command ends the run with a message.
class CMaindlg final : public CDialog, private IPanelController {
 public:
  CMaindlg(IApp* app, IKxView* view, CWnd* parent, IScriptCmdSink* script, eTarnwellMode mode);
  ~CMaindlg() override;

  /// Finds and opens the scanner; the user may choose another one while it is not ready. Returns 1 or 0.
  int ConnectScanner();
  /// Makes the destination, the pages and the layout, and loads the settings. Returns 1, or 0 without a
  /// destination.
  int StartUp();
  [[nodiscard]] IQuillbaySink* sink() const noexcept;
  /// The window is being destroyed: ends everything, and deletes this object, now or later.
  void leaveWindow();

  bool OnCommand(int id, int code, std::int64_t value) override;

  // What the handed-out sink forwards; see IQuillbaySink, IQuillbayControl, IRGetSource. `ApplyParams` and
  // `postStart` on any thread.
  int EnableViewSync(int enable);
  int ApplyParams(IParam* params);
  int SetParam(std::string_view key, const CKxVariant& value, std::string* why);
  int GetParam(std::string_view key, CKxVariant* out);
  int GetPageParams(IParam* out);
  int Start(StartKind kind, int count);
  int StopRun(StopKind kind);
  int EjectDocument();
  [[nodiscard]] int IsBusy() const { return m_run.isBusy() ? 1 : 0; }
  [[nodiscard]] std::string GetNextFileName() const { return m_parts.files() ? m_parts.files()->nextFile() : ""; }
  [[nodiscard]] RunEvents& listeners() noexcept { return m_host.listeners(); }
  int SaveSettings();
  int ShowPage(int number);
  int ApplyPreset(std::int32_t id);
  int TakePreset(Preset* out);
  int GivePreviewCommand(int id);
  [[nodiscard]] int IsPreviewCommandEnabled(int id);
  [[nodiscard]] int IsPreviewCommandChecked(int id);
  int KeepRasters(int keep) {
    m_parts.keepsRasters = keep != 0;
    return 1;
  }
  /// With a reference; null without one.
  [[nodiscard]] IRStor* viewRaster() { return m_parts.viewRaster(); }
  [[nodiscard]] CRDirectTfm viewTransform() const { return m_viewSync->transform(); }
  void postStart(int command, std::int64_t value);

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  /// F1, before it is a shortcut of the host's window.
  bool event(QEvent* event) override;

 private:
  /// The embedded sink of the scan parameters.
  class CIChangeParams final : public TSinkImpl<IChangeParams, CMaindlg> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char* key) override { return owner()->OnParamChanging(key); }
    int OnParamChanged(const char* key) override { return owner()->OnParamChanged(key); }
  };

  // IPanelController
  bool Guarded(const std::function<bool()>& command) override { return m_guard.guarded(command); }
  IQuillbayUnit* Unit() override { return m_scanner.unit(); }
  void PageChanged() override;
  void ForgetPalette() override { m_steps.palette->Forget(); }
  void AreaChanged() override;
  int OffersDetection() override { return m_steps.detection->IsOffered() ? 1 : 0; }
  int DetectArea(int mask) override;
  void RunPostProcessing() override;
  int ExecCommand(const char* command, IParam* arguments) override;
  int Message(EventKind kind, const std::string& text, EventButtons buttons) override;
  void PostPanelCommand(int command) override;
  int IsCommandEnabled(int command) override { return isCommandEnabled(command, panelState()) ? 1 : 0; }
  void RestartPreview() override { m_previewTimer.restart(); }
  int DockPreview() override { return m_preview->dock(); }
  int FloatPreview() override { return m_preview->floatOut(); }
  std::vector<IUIScanPage*> PagesOf(int mode) override { return m_pages.windowsOf(mode); }
  std::vector<IUIScanPage*> AllPages() override { return m_pages.all(); }
  int LoadPage(IUIScanPage* page, IParam* params) override;
  int SavePage(IUIScanPage* page, IParam* params) override;
  IPresetManager* Presets() override { return &m_presets; }
  KxPtr<IParam> PreviewSettings() override { return m_parts.previewSettings; }

  void makeForm();
  void chooseTab(int index);
  void makeDestination();
  void layoutPanel();
  void switchLayout();
  void showState();
  void showStatus();
  void showHelp();
  void buttonPressed(int id);
  [[nodiscard]] PanelState panelState() const;
  int OnParamChanging(const char* key);
  int OnParamChanged(const char* key);
  void noteArea();
  /// The same, with a frame for it when it is another one.
  void takeArea();

  bool handle(int id, int code, std::int64_t value);
  [[nodiscard]] bool handleStart(int id, std::int64_t value);
  /// Whether a change of the settings scans the view's part of the document again.
  [[nodiscard]] bool updatesView() const;
  /// Carries out events of the run, and afterwards what waited for a page's end.
  void perform(const Actions& todo);

  [[nodiscard]] ScanValues& quiet() { return m_params->quiet(); }
  [[nodiscard]] const ScanValues& values() const { return m_params->values(); }

  struct DestinationReleaser {
    void operator()(CScanTo* p) const { p->Destroy(); }
  };

  PanelGuard m_guard{this};
  KxPtr<CSharedScanParams> m_params;
  KxPtr<PanelSink> m_sink;
  CIChangeParams m_changeSink;
  ScanRun m_run;
  KxPtr<CViewSync> m_viewSync;
  PanelHost m_host;
  std::shared_ptr<ScanRouter> m_router;
  KxPtr<ScanSinkForwarder> m_scanSink;
  ScannerConnection m_scanner;
  CPResetManager m_presets;  // hears of changes before the pages
  PanelPages m_pages;
  ScanSteps m_steps;
  std::unique_ptr<PalettePrescan> m_palette;
  PanelParts m_parts;
  PanelSettings m_settings;
  CountdownTimer m_previewTimer;
  RunPerformer m_performer;
  AreaDetection m_detection{m_parts};
  KxPtr<PanelProgress> m_progress;
  std::unique_ptr<CScanTo, DestinationReleaser> m_destination;
  FocusKeeper m_focus;
  std::unique_ptr<PanelForm> m_form;
  std::unique_ptr<PanelToolbar> m_toolbar;
  std::unique_ptr<PanelPreview> m_preview;

  const ScanValues m_valuesBefore;  // of the process: another panel keeps them when this one cannot be made
  int m_layout = 0;                 ///< 0 full, 1 small (`key::Layout`)
  bool m_initialised = false;
  bool m_directMode = false;
  bool m_ran = false;  // when the state was shown last
};

}  // namespace quillbay
