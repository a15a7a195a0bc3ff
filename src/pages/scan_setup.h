#pragma once
#include <memory>

#include "platform/change_params.h"
#include "quillbay/connection_point.h"
#include "quillbay/unit_setup.h"
#include "widgets/tab.h"

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
  class CIChangeParams final : public TSinkImpl<IChangeParams, CScanSetup> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 1; }
    int OnParamChanged(const char* key) override { return owner()->paramChanged(key); }
  };

  void takeSpeedRange();
  void limitFields();
  void explain();
  void showValues();
  void showNote(const QString& why);
  void loadValues(IParam* store, bool resets);
  int paramChanged(const char* key);
  /// A setting of the detection was changed: what was found with another one does not count.
  void detectionChanged();
  void setUpModel();
  [[nodiscard]] bool answersMessages() const;

  std::unique_ptr<Ui::ScanSetup> m_form;
  KxPtr<IQuillbayUnitSetup> m_setup;
  int m_usualSpeed = 100;
  CIChangeParams m_changes{this};
};

}  // namespace quillbay
