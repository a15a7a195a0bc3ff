#pragma once
#include <memory>
#include <string>
#include <vector>

#include "analysis/pal_detector.h"
#include "quillbay/scan_mode.h"
#include "widgets/tab.h"

namespace Ui {
class PalDlg;
}

namespace quillbay {

/// The palette page: how a palette scan gets its colours. It owns the detector that computes them, and shows what
/// the next scan will use as far as it is known.
class CPalDlg final : public CTab, public IPalettePage {
 public:
  static constexpr int kNumber = 7;
  /// Numbers of controls.
  enum Control : int {
    kLinear = 1500,
    kPhotos = 1501,
    kMaps = 1502,
    kClassified = 1503,
    kColors = 1504,
    kLoadLut = 1505,
    kLutFile = 1506,
    kCreateLut = 1507,
  };
  static constexpr int kLeastColors = 8, kMostColors = 256;

  /// `calculator` is the detector's.
  CPalDlg(IPanelController& controller, KxPtr<CSharedScanParams> params, KxPtr<IPalCalculator> calculator);
  ~CPalDlg() override;

  int Load(IParam* store) override;
  /// Writes the page's values, and what the unit needs for them: the palette that is kept, or how to get one.
  /// Returns 0 when the lookup file cannot be read.
  int Save(IParam* store) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;
  void Enable(int enable) override;
  [[nodiscard]] const KxPtr<CPalDetector>& detector() const noexcept { return m_detector; }

  // IPalettePage
  std::string ToolTemplatesDir() override;
  void ClassifyBy(const std::string& lutFile) override;
  void PaletteChanged() override { showPalette(); }

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void showEvent(QShowEvent* event) override;

 private:
  void setMethod(std::int32_t method);
  void loadLut();
  void createLut();
  [[nodiscard]] int colors() const;
  [[nodiscard]] bool readsLut() const;
  [[nodiscard]] int readLut(IParam* store);
  void showAll();
  void showPalette();
  [[nodiscard]] std::string noteOf(std::size_t shownColors) const;
  [[nodiscard]] std::vector<KXRGBQUAD> knownColors();

  std::unique_ptr<Ui::PalDlg> m_form;
  KxPtr<CPalDetector> m_detector;
  std::int32_t m_method = kPaletteLinear;
  std::string m_lutFile;
  std::string m_lutProblem;  // why the lookup file cannot be read; empty when it can, or none is read
  std::string m_fieldNote;   // why the number does not show what was typed
};

}  // namespace quillbay
