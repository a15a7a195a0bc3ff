#pragma once
#include <string>

#include "params/shared_scan_params.h"
#include "platform/change_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_page.h"
#include "quillbay/connection_point.h"
#include "widgets/dialog.h"

class QAbstractButton;
class QMenu;

namespace quillbay {

/// Base of the settings pages: a form that tells the controller when the user changed something on it.
/// A page is destroyed with its parent window or by `Release`, whichever comes first.
class CTab : public CDialog, public IUIScanPage {
 public:
  /// `controller` must outlive the page.
  CTab(IPanelController& controller, KxPtr<CSharedScanParams> params, int number);
  /// The private message by which a control of a page's own says that the user changed it.
  static constexpr int kControlChanged = 7526;

  int Create(CWnd* parent, int mode) override;
  void Show(int show) override { setVisible(show != 0); }
  int GetNumber() override { return m_number; }
  void Release() override { delete this; }
  void Enable(int enable) override { setEnabled(enable != 0); }
  HWND GetHwnd() override { return this; }

  bool OnCommand(int id, int code, std::int64_t value) final;

  // A page that is not shown takes no height: what stands below the pages follows the shown one.
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] int heightForWidth(int width) const override;

  /// Commands of the page's menu.
  enum MenuCommand : int { kResetPage = 12, kAddPreset = 13, kDisablePreview = 32814 };

 protected:
  /// Sets the form up (`setupUi`), for a mode of `Create`.
  virtual void createForm(int mode) = 0;
  /// A scan parameter was changed, after the form is set up.
  virtual int paramChanged(const char* key);
  /// A command of the page's own; the controller hears of it afterwards.
  virtual bool OnPageCommand(int id, int code, std::int64_t value) = 0;

  /// Adds the page's own commands to its menu, above those that every page has.
  virtual void fillMenu(QMenu& menu);
  /// Adds an entry that raises the command of a button, as the button shows it.
  void addToMenu(QMenu& menu, const QAbstractButton& button, int id);
  /// Adds a checkable entry that raises a command.
  void addToMenu(QMenu& menu, const std::string& text, int id, bool checked);
  /// The menu of the page; none where the scanner uses its own settings.
  void contextMenuEvent(QContextMenuEvent* event) final;

  class CIChangeParams final : public TSinkImpl<IChangeParams, CTab> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 1; }
    int OnParamChanged(const char* key) override { return owner()->paramChanged(key); }
  };

  /// While one lives the page takes values over, and no change counts as the user's.
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
  void addCommonEntries(QMenu& menu);
  void applyPreset(std::int32_t id);
  [[nodiscard]] bool onMenuCommand(int id);

  IPanelController& m_controller;
  KxPtr<CSharedScanParams> m_params;
  const int m_number;
  int m_loading = 0;
  CIChangeParams m_changes{this};
};

}  // namespace quillbay
