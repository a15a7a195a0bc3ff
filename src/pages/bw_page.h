#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "platform/change_params.h"
#include "quillbay/connection_point.h"
#include "quillbay/scanner.h"
#include "widgets/tab.h"

class QLabel;

namespace quillbay {

class CSpinScrollEdit;

/// Base of the pages of the black-and-white modes: sliders whose keys end in the number of the mode. The unit has
/// the ranges (`IUnitKeyRanges`) and does the work; a filter that it does not know is disabled.
class BwPage : public CTab {
 public:
  /// The number of the page of mode 0; those of modes 1 to 4 follow.
  static constexpr int kFirstNumber = 2;
  enum Control : int { kLevel = 1501, kSuppression = 1502, kSharpness = 1503, kBlur = 1504 };

  ~BwPage() override;

  int Load(IParam* store) override;
  int Save(IParam* store) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;

 protected:
  /// `mode`: 0 to 4, as `Create` gets it.
  BwPage(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode);

  /// A value of the page with its control, its caption and the line below it that explains it.
  struct Slider {
    const char* stem;  ///< of its key
    CSpinScrollEdit* control;
    QLabel* label;
    QLabel* help;
    bool isFilter;  ///< disabled where the unit does not know it
    UnitKeyRange range{};
    bool isKnown = false;  ///< by the unit
  };
  /// After `setupUi`: takes the ranges of the unit. `note` gets what a field does not take.
  void setUp(std::vector<Slider> sliders, QLabel* note);
  bool OnPageCommand(int id, int code, std::int64_t value) override;

 private:
  [[nodiscard]] std::string keyOf(const Slider& slider) const;
  void takeRange(Slider& slider);
  void explain(const Slider& slider) const;
  int paramChanged(const char* key) override;

  const int m_mode;
  std::vector<Slider> m_sliders;
};

/// What more and less of a value does to a drawing. `stem` is that of its key, `mode` 0 to 4.
[[nodiscard]] std::string bwHelp(std::string_view stem, int mode);

}  // namespace quillbay
