#pragma once
#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_page.h"
#include "widgets/dialog.h"

namespace quillbay {

/// Base of the settings pages: a form that tells the controller when the person changed something on it.
/// A page belongs to its parent window and goes with `Release`, whichever comes first.
class CTab : public CDialog, public IUIScanPage {
 public:
  /// `controller` must outlive the page.
  CTab(IPanelController& controller, KxPtr<CSharedScanParams> params, int number);
  /// The private message by which a control of a page's own says that the person changed it.
  static constexpr int kControlChanged = 7526;

  int Create(CWnd* parent, int mode) override;
  void Show(int show) override { setVisible(show != 0); }
  int GetNumber() override { return m_number; }
  void Release() override { delete this; }
  void Enable(int enable) override { setEnabled(enable != 0); }
  HWND GetHwnd() override { return this; }

  bool OnCommand(int id, int code, std::int64_t value) final;

 protected:
  /// Sets the form up (`setupUi`), for a mode of `Create`.
  virtual void createForm(int mode) = 0;
  /// A command of the page's own; the controller hears of it afterwards.
  virtual bool OnPageCommand(int id, int code, std::int64_t value) = 0;

  /// While one lives the page takes values over, and nothing that happens is the person's doing.
  class Loading {
   public:
    explicit Loading(CTab& page) : m_page(page) { ++m_page.m_loading; }
    ~Loading() { --m_page.m_loading; }
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;

   private:
    CTab& m_page;
  };
  [[nodiscard]] bool isLoading() const noexcept { return m_loading > 0; }
  /// Tells the controller that something changed, unless the page is loading or previews are switched off.
  void reportChange();
  [[nodiscard]] IPanelController& controller() const noexcept { return m_controller; }
  [[nodiscard]] CSharedScanParams& params() const noexcept { return *m_params; }

 private:
  IPanelController& m_controller;
  KxPtr<CSharedScanParams> m_params;
  const int m_number;
  int m_loading = 0;
};

}  // namespace quillbay
