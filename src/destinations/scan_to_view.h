#pragma once
#include <QTimer>
#include <memory>
#include <set>
#include <string>

#include "destinations/command_suppression.h"
#include "destinations/destination_factory.h"
#include "destinations/file_destination.h"
#include "destinations/history.h"
#include "destinations/next_name.h"
#include "destinations/path_rules.h"
#include "destinations/run_output.h"
#include "platform/file_naming.h"
#include "quillbay/connection_point.h"
#include "widgets/dialog.h"

class QComboBox;
class QContextMenuEvent;
class QLineEdit;
namespace Ui {
class ScanToView;
}

namespace quillbay {

/// The panel of Scan To File and Scan To View: folder, mask, and the name that the next page gets. Scan To File
/// writes each page into a file while it is scanned; Scan To View hands it to the host, which may save it under the
/// same kind of name.
class CScanToView final : public CDialog,
                          public CScanTo,
                          public CKxUnknownImplStatic<IKxUnknown>,
                          public IFileDestination,
                          public IFileNaming {
 public:
  /// Numbers of the controls.
  enum Control : int { kUseFileOut = 1301, kDir = 1302, kBrowse = 1303, kMask = 1304, kNextName = 1305 };

  explicit CScanToView(const DestinationContext& context);
  ~CScanToView() override;

  int BeginScan() override;
  int EndScan(int cancelled) override;
  int LoadParams(IParam* params) override;
  int SaveParams(IParam* params) override;
  /// Deletes the panel, which saves its histories.
  void Destroy() override;
  int Enable(int enable) override;
  int Show(int command) override;
  void GetTargetText(std::string* out) override;
  HWND GetHwnd() override { return this; }
  /// The name of the next file.
  HWND GetFooter() override;

  [[nodiscard]] bool writesFile() const override { return m_mode == ScanToFile; }
  [[nodiscard]] PageDraft draft(bool isLast) const override;
  void pageStarted(const NamedPage& page) override;
  [[nodiscard]] RunFile endRun() override;
  [[nodiscard]] std::string nextFile() const override;

  [[nodiscard]] std::string fileName() const override;
  [[nodiscard]] std::string tags() const override;

  bool OnCommand(int id, int code, std::int64_t value) override;
  /// Looks for the next file's name, without waiting: the field keeps what it shows until that is known.
  void refreshNextName();
  /// A text pasted into the folder or mask field. Returns false when it is to be pasted as it is.
  bool pastePath(const std::string& text, PasteField field);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  /// Files may have come and gone while another window was in front.
  void changeEvent(QEvent* event) override;

 private:
  class CIChangeParams final : public TSinkImpl<IChangeParams, CScanToView> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 1; }
    int OnParamChanged(const char* key) override { return owner()->paramChanged(key); }
  };
  /// Posted: the next name is out of date; it was found.
  static constexpr int kRefreshName = 1390, kNameFound = 1391;

  [[nodiscard]] bool handle(int id, int code);
  void setUpForm();
  int paramChanged(const char* key);
  void showNextName(const OutputName& name);
  [[nodiscard]] PasteField fieldOf(const QLineEdit* edit) const;
  void showFields();
  void fieldEdited(int id);
  void browse();
  /// Returns false when the folder is none, or was refused with a message.
  bool applyFolder(const std::string& folder);
  void remember();
  void saveHistories();
  void installStore();
  void suppressCommands();
  [[nodiscard]] const std::set<std::string>& pendingSaves();
  /// The files of the run that is under way; the first call in a run makes them.
  [[nodiscard]] RunOutput& output();
  [[nodiscard]] bool pasteInto(const QLineEdit* edit);
  [[nodiscard]] std::string askFolder();
  [[nodiscard]] bool showPasteMenu(QLineEdit* edit, const QContextMenuEvent& event);

  [[nodiscard]] int endPage(bool cancelled);
  [[nodiscard]] bool prepareFile();
  [[nodiscard]] int finishFile(const KxPtr<ISStripStor>& store);
  [[nodiscard]] std::string tryOtherName(const KxPtr<ISStripStor>& store, const std::string& error);
  [[nodiscard]] int handToHost(KxPtr<IRStor> raster);
  [[nodiscard]] int savePage();
  [[nodiscard]] bool sendSave();
  void advanceCounter();
  void tell(const std::string& text);
  [[nodiscard]] KxPtr<IEvents> events() const;
  [[nodiscard]] bool isInteractive() const;

  const eTarnwellMode m_mode;
  const DestinationContext m_context;
  CSharedScanParams& m_params;
  std::unique_ptr<Ui::ScanToView> m_form;
  CIChangeParams m_changes{this};
  History m_dirs{"Dir"}, m_masks{"Mask"};
  NextNameFinder m_nextName{this, kNameFound};
  QTimer m_clock;  // runs while the name shows the time
  bool m_useFileOut = true;
  std::set<std::string> m_pendingSaves;              // files that the host was asked to save pages to
  std::unique_ptr<CommandSuppression> m_suppressed;  // from a batch's first page to its end
  std::unique_ptr<RunOutput> m_output;               // from a run's first page to its end
};

}  // namespace quillbay
