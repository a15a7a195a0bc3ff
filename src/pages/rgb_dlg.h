#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/panel_controller.h"
#include "widgets/dialog.h"

class QLabel;

namespace Ui {
class RGBDlg;
}

namespace quillbay {

class CSpinScrollEdit;

/// The tab "Simple": sliders for brightness, contrast, hue, saturation and balance, and the filters that the unit
/// knows. Every scan mode has filter settings of its own.
class CRGBDlg final : public CDialog {
 public:
  enum Control : int {
    kBrightness = 1601,
    kContrast = 1602,
    kHue = 1603,
    kSaturation = 1604,
    kRed = 1605,
    kGreen = 1606,
    kBlue = 1607,
    kSharpen = 1608,
    kBlur = 1609,
  };

  explicit CRGBDlg(QWidget* parent);
  ~CRGBDlg() override;

  /// Sets the controls up, the filters for a scan mode; what `unit` does not know is hidden.
  void initialise(IQuillbayUnit* unit, int mode);
  /// Sets the filters up for another mode; what `unit` does not know is disabled.
  void setMode(IQuillbayUnit* unit, int mode);
  /// A missing key sets its slider to 0 (`keepsMissing`: leaves it), and leaves a filter as it is; with
  /// `key::ResetMark` to its default.
  void Load(IParam* params, bool keepsMissing = false);
  /// All values, truncated; of other modes the filters that were set.
  void Save(IParam* params) const;
  /// Why a field does not hold what was typed, or an empty text. Ends an edit that is under way.
  [[nodiscard]] std::string finishEdits();

  bool OnCommand(int id, int code, std::int64_t value) override;
  std::function<void()> onChanged;  ///< the user changed something

 private:
  struct Filter {
    const char* stem;
    QLabel* label = nullptr;
    CSpinScrollEdit* control = nullptr;
    UnitKeyRange range{};
    bool isKnown = false;         ///< by the unit, for the current mode
    std::map<int, int> ofMode{};  ///< the values of the modes that have been seen or loaded
  };
  struct Slider {
    const char* key;
    QLabel* label;
    CSpinScrollEdit* control;
    int most;
  };

  [[nodiscard]] std::vector<Slider> sliders() const;
  void setUp(Filter& filter, IQuillbayUnit* unit) const;
  static void show(const Filter& filter, double value);
  void describe(const QLabel& label, const CSpinScrollEdit& control) const;

  std::unique_ptr<Ui::RGBDlg> m_form;
  Filter m_sharpen, m_blur;
  int m_mode = 0;
};

}  // namespace quillbay
