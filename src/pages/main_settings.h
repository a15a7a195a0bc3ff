#pragma once
#include <QString>
#include <array>
#include <memory>
#include <optional>

#include "pages/scan_lists.h"
#include "quillbay/connection_point.h"
#include "widgets/countdown_timer.h"
#include "widgets/tab.h"

class QComboBox;
class QMenu;
namespace Ui {
class MainSettings;
}

namespace quillbay {

class LengthSpin;

/// The first page: scan mode, area or paper, resolution, orientation, centring, bursting and added width. What the
/// person chooses goes into the scan parameters at once; areas that are typed follow a second later, or with the
/// next request.
class CMainSettings final : public CTab {
 public:
  static constexpr int kNumber = 0;
  /// Numbers of controls and commands.
  enum Control : int {
    kAreaList = 15,
    kResolutionList = 43,
    kPresetList = 51,
    kModeList = 52,
    kDetect = 63,
    kCentre = 70,
    kBursting = 75,
    kPortrait = 111,
    kCreatePreset = 1229,
    kDeletePreset = 1230,  ///< the chosen one
    kLandscape = 112,
    kWidth = 1401,
    kOffset = 1402,
    kTop = 1403,
    kLength = 1404,
    kAddedWidth = 1405,
    kDetectWidth = 1411,     ///< toggles bit 2 of `key::Autodetect`
    kDetectLength = 1412,    ///< bit 4
    kDetectPosition = 1413,  ///< bit 8
    kDetectSkew = 1414,      ///< bit 16
    kScannerKey = 6464,
    kApplyArea = 6500,
  };

  CMainSettings(IPanelController& controller, KxPtr<CSharedScanParams> params);
  ~CMainSettings() override;

  int Load(IParam* store) override;
  int Save(IParam* store) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;
  std::string GetLoadNote() override { return m_loadNote; }

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void fillMenu(QMenu& menu) override;

 private:
  // Lists
  struct Stored;
  void takeLimits();
  void fillLists();
  void fillAreas();
  void showMorePapers();
  void selectArea(int entry);
  void markUnusable();
  // Presets
  void makePresetMenu();
  void fillPresetMenu(QMenu& menu);
  void showPresets();
  void showChosenPreset();
  void choosePreset(int entry);
  void deletePreset(int entry);
  void fillResolutions(int mode);
  void showResolution(int dpi);
  [[nodiscard]] int selectedData(const QComboBox* list) const;
  [[nodiscard]] int selectedMode() const;
  [[nodiscard]] int selectedDpi() const;
  void selectPaper(const std::string& name);

  // Choices
  void chooseArea();
  void applyArea();
  void applyResolution();
  void applyMode();
  void resolutionTyped();
  void setOrientation(bool portrait);
  void stepList(int key);
  void toggleDetection(int bit);
  void detectArea();
  void takeTypedArea();
  bool choose(int id);
  bool edited(int id);

  // What the controls show
  void showAll();
  void showUnits();
  void showArea();
  void showAccess();
  void showOrientation();
  void showAutodetect();
  void showCentring();
  void showNote();
  void forgetNote();
  void updateSummary();

  int paramChanged(const char* key) override;
  void reactToKey();
  void reactToAutodetect();
  void reactToScanType();
  void reactToScanner();
  void takeCentring(std::int32_t wished);
  void loadChoices(const Stored& stored);
  void loadMode(const Stored& stored);
  void loadResolution(const Stored& stored);
  void loadArea(const Stored& stored);
  void noteMisses(const Stored& stored);
  /// The scanner uses its own settings: nothing of this page chooses a mode or an area.
  [[nodiscard]] bool isDirect() const;
  [[nodiscard]] std::array<LengthSpin*, 4> lengthFields() const;

  std::unique_ptr<Ui::MainSettings> m_form;
  CountdownTimer m_applyTimer;
  std::optional<DpiRange> m_dpiRange;
  bool m_areaTyped = false;  // the fields hold an area that `key::RcScan` does not have yet
  bool m_allPapers = false;  // the list shows the seldom used papers as well
  std::string m_loadNote;    // what of the loaded set this scanner does not have
  QString m_fieldNote;       // why a field does not show what was typed
  QString m_lengthTip;       // of a length that counts
  bool m_applying = false;   // a choice of this page is being stored: its own echo is not applied again
};

}  // namespace quillbay
