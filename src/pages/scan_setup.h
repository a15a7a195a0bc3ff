#pragma once
#include <array>
#include <memory>

#include "quillbay/unit_setup.h"
#include "widgets/tab.h"
#include "widgets/unit_spin.h"

namespace Ui {
class ScanSetup;
}

namespace quillbay {

/// The "Scanner Setup" page: what concerns the scanner in every mode. It edits the scan parameters in place and
/// shows them again when they are changed elsewhere. The speed is a value of the page's own.
class CScanSetup final : public CTab {
 public:
  static constexpr int kNumber = 1;
  enum Control : int {
    kSpeed = 1601,
    kUnits = 1602,
    kEject = 1603,
    kPrescanLength = 1604,
    kThreshold = 1605,
    kStandardPapers = 1606,
    kAutoAnswer = 1607,
    kAnswerDelay = 1608,
    kDeskew = 1609,
    kModelSetup = 1610,
  };

  CScanSetup(IPanelController& controller, KxPtr<CSharedScanParams> params);
  ~CScanSetup() override;

  int Load(IParam* store) override;
  int Save(IParam* store) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void showEvent(QShowEvent* event) override;

 private:
  void takeSpeedRange();
  void limitFields();
  [[nodiscard]] std::array<UnitSpin*, 3> fields() const;
  void explain();
  void showValues();
  void loadValues(IParam* store, bool resets);
  int paramChanged(const char* key) override;
  /// A setting of the detection was changed: what was found with another one does not count.
  void detectionChanged();
  void setUpModel();
  [[nodiscard]] bool answersMessages() const;

  std::unique_ptr<Ui::ScanSetup> m_form;
  KxPtr<IQuillbayUnitSetup> m_setup;
  int m_usualSpeed = 100;
};

}  // namespace quillbay
