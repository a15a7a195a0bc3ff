#pragma once
#include <memory>

#include "pages/unadjusted.h"
#include "platform/picture_adjustments.h"
#include "quillbay/tools.h"
#include "widgets/tab.h"

namespace Ui {
class RGBMain;
}

namespace quillbay {

class CBWPointHold;
class CGammaHold;
class CRGBDlg;
class LivePicture;

/// The colour page, "Color Setup": sliders ("Simple") or curves ("Gamma") adjust the colours, whichever tab is
/// chosen; beside them the last preview shows what they will do.
class CRGBMain final : public CTab {
 public:
  static constexpr int kNumber = 8;
  enum Control : int { kTabs = 1620, kSetPoint = 1621 };
  enum Tab : int { kSimple = 0, kGamma = 1 };

  CRGBMain(IPanelController& controller, KxPtr<CSharedScanParams> params);
  ~CRGBMain() override;

  int Load(IParam* params) override;
  /// The chosen tab saves, then the points, then which tab it is.
  int Save(IParam* params) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;
  /// The picture of a preview that has ended meanwhile is shown.
  void Enable(int enable) override;

  [[nodiscard]] CRGBDlg& simple() const noexcept { return *m_simple; }
  [[nodiscard]] CGammaHold& gamma() const noexcept { return *m_gamma; }
  [[nodiscard]] LivePicture& picture() const noexcept { return *m_picture; }

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void makeTabs(int mode);
  void makeTools();
  void makePicture();
  void orderFocus();
  [[nodiscard]] int shownMode(int createMode) const;
  void chooseTab(int tab);
  void changed();
  int paramChanged(const char* key) override;
  void takePalette();
  void takePicture();
  void showPictureNote();
  [[nodiscard]] int givePicture(ToolPicture* out) const;
  [[nodiscard]] int startPick(IPanelTool* tool);
  void endPick(const IPanelTool* tool);
  [[nodiscard]] KxPtr<IParam> request();

  std::unique_ptr<Ui::RGBMain> m_form;
  std::unique_ptr<IPictureAdjustments> m_adjustments;
  CRGBDlg* m_simple = nullptr;  // in the form, as the others
  CGammaHold* m_gamma = nullptr;
  CBWPointHold* m_points = nullptr;
  LivePicture* m_picture = nullptr;
  Unadjusted m_base;
  bool m_isBaseGrey = false;
  KxPtr<IParam> m_palette;     // the palette page's values, in the palette mode
  KxPtr<IPanelTool> m_picker;  // the tool that the user picks for
  int m_mode = 0;              // that the filters are set up for
  bool m_setsPoints = false;   // the unit does
};

}  // namespace quillbay
