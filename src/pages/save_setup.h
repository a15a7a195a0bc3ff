#pragma once
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "pages/save_setup_formats.h"
#include "quillbay/control.h"
#include "widgets/tab.h"

class QComboBox;
class QToolButton;
namespace Ui {
class SaveSetup;
}

namespace quillbay {

class UnitSpin;

/// The "Save Settings" page: the file format of each colour class, the counter, and what happens when a file
/// exists. It edits the scan parameters in place; the chosen formats are its own.
class CSaveSetup final : public CTab {
 public:
  static constexpr int kNumber = kSavePage;
  enum Control : int {
    kFormat0 = 1701,   ///< 1701 to 1704: the lists of the colour classes
    kOptions0 = 1711,  ///< 1711 to 1714: their "...." buttons
    kAddsCounter = 1721,
    kDigits = 1722,
    kStart = 1723,
    kIncrement = 1724,
    kOverwrite = 1725,
    kAsk = 1726,
    kMultiPage = 1727,
  };

  /// `probe` null: examines modules as the file channels do.
  CSaveSetup(IPanelController& controller, KxPtr<CSharedScanParams> params, FormatProbe probe = {});
  ~CSaveSetup() override;

  int Load(IParam* store) override;
  int Save(IParam* store) override;
  std::string GetTitle() override;
  std::string GetRefusal() override;
  std::string GetLoadNote() override;

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void showEvent(QShowEvent* event) override;

 private:
  /// Posted: the page has something to say that was found while it was loading.
  static constexpr int kTell = 1790;

  struct ClassRow {
    QComboBox* list = nullptr;
    QToolButton* options = nullptr;
    QWidget* label = nullptr;
    std::vector<SaveFormat> formats;  // of the list, in its order
    std::string wanted;               // the text of the format that was chosen or loaded last
  };

  [[nodiscard]] std::array<UnitSpin*, 2> fields() const;
  int paramChanged(const char* key) override;
  void loadValues(IParam* store, bool resets);
  void loadStart(IParam* store, bool resets);
  void loadFormats(IParam* store, bool resets);
  void fillLists();
  void fillList(ColorClass colorClass);
  /// Hands the chosen formats' extensions to the naming of files.
  void takeExtensions();
  void formatChosen(ColorClass colorClass);
  void showOptions(ColorClass colorClass);
  void setFate(int fate);
  void showValues();
  void showName();
  void showNote();
  [[nodiscard]] std::string loadNote() const;
  [[nodiscard]] const SaveFormat* chosen(ColorClass colorClass) const;

  std::unique_ptr<Ui::SaveSetup> m_form;
  const FormatProbe m_probe;
  std::vector<SaveFormat> m_table;
  std::array<ClassRow, 4> m_rows;
  std::uint32_t m_start = 0;  // the counter's first value
  bool m_hasStart = false;    // it was loaded or set
  std::string m_missing;      // formats that were asked for and are not there: a message
  std::string m_refused;      // why a value of a set was not taken
  std::string m_fieldNote;
  bool m_isUntold = false;  // nobody has taken what the last load has to say
};

}  // namespace quillbay
