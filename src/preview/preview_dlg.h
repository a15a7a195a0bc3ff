#pragma once
#include <memory>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/preview_page.h"
#include "preview/preview_commands.h"
#include "widgets/dialog.h"

namespace Ui {
class PreviewDlgForm;
}

namespace quillbay {

class CPVStatic;

/// The preview page: the picture of the prescan with its rulers and frames, the commands for them, and a line of
/// text. Docked, its commands stand below the picture, without those that the panel has; floating, all stand above
/// it.
class CPreviewDlg final : public CDialog, public IPreviewPage {
 public:
  /// `controller` must outlive the page.
  CPreviewDlg(IPanelController& controller, KxPtr<CSharedScanParams> params, QWidget* parent);
  ~CPreviewDlg() override;

  void AddStripe(IScanBuffer* stripe) override;
  void PlaceRaster(const tagRRECT& area) override;
  tagRRECT GetRasterPlace() const override;
  void Refresh() override;
  void Enable(int enable) override;
  void SetDocked(int docked) override;
  void Close() override;
  int Command(int id) override;
  int IsCommandEnabled(int id) override { return button(id).enabled ? 1 : 0; }
  int IsCommandChecked(int id) override { return button(id).checked ? 1 : 0; }
  HWND GetHwnd() override { return this; }

  bool OnCommand(int id, int code, std::int64_t value) override;
  [[nodiscard]] CPVStatic& picture() const noexcept { return *m_picture; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  class CIChangeParams final : public TSinkImpl<IChangeParams, CPreviewDlg> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 0; }
    /// After the picture took the change over.
    int OnParamChanged(const char*) override;
  };

  static constexpr int kShowCommands = 6470;  ///< private: buttons follow what changed

  void makeTools();
  void makePicture();
  void keepPlacement() const;
  void showFrame(const tagRRECT* frame);
  void showCommands();
  [[nodiscard]] PreviewButton button(int id) const;
  [[nodiscard]] bool handle(int id);
  void focusDrawing();
  void setAreaByFragment();
  void scanFragment();
  [[nodiscard]] bool takeScannedFrame();

  IPanelController& m_controller;
  KxPtr<CSharedScanParams> m_params;
  CIChangeParams m_changes{this};
  std::unique_ptr<Ui::PreviewDlgForm> m_form;
  CPVStatic* m_picture = nullptr;  // in the form
  bool m_docked = true;
};

/// The preview page of a panel, a child of `parent`.
[[nodiscard]] std::unique_ptr<IPreviewPage> makePreviewPage(IPanelController& controller,
                                                            KxPtr<CSharedScanParams> params, QWidget* parent);

}  // namespace quillbay
