#pragma once
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

#include "destinations/destination_factory.h"
#include "destinations/file_destination.h"
#include "destinations/history.h"
#include "destinations/net_names.h"
#include "destinations/net_queue_row.h"
#include "destinations/next_name.h"
#include "destinations/run_output.h"
#include "platform/file_naming.h"
#include "platform/page_spool.h"
#include "quillbay/connection_point.h"
#include "widgets/dialog.h"

namespace Ui {
class ScanToNet;
}

namespace quillbay {

/// The panel of Scan To Net: the client that the pages are for, the mask, and the name that the next page gets in
/// the hot folder of the client's server. Pages are written on this computer while they are scanned, and brought to
/// the hot folder when they are complete: at once, or when that is back.
class CScanToNet final : public CDialog,
                         public CScanTo,
                         public CKxUnknownImplStatic<IKxUnknown>,
                         public IFileDestination,
                         public IFileNaming {
 public:
  /// Numbers of the controls.
  enum Control : int {
    kClient = 1321,
    kMask = 1322,
    kNextName = 1323,
    kQueue = 1324,
    kTryNow = 1325,
    kOpenFolder = 1326
  };

  /// `clients` is not empty.
  CScanToNet(const DestinationContext& context, std::vector<NetClient> clients, KxPtr<INetQueue> queue);
  ~CScanToNet() override;

  int BeginScan() override;
  int EndScan(int cancelled) override;
  int LoadParams(IParam* params) override;
  int SaveParams(IParam* params) override;
  void Destroy() override { delete this; }
  int Enable(int enable) override;
  int Show(int command) override;
  /// The chosen client.
  void GetTargetText(std::string* out) override;
  HWND GetHwnd() override { return this; }
  HWND GetFooter() override;

  [[nodiscard]] bool writesFile() const override { return true; }
  [[nodiscard]] PageDraft draft(bool isLast) const override;
  void pageStarted(const NamedPage& page) override;
  [[nodiscard]] RunFile endRun() override;
  [[nodiscard]] bool endedPage(std::string* file, bool* published) const override;
  [[nodiscard]] std::string nextFile() const override;

  [[nodiscard]] std::string fileName() const override;
  [[nodiscard]] std::string tags() const override;

  bool OnCommand(int id, int code, std::int64_t value) override;

 protected:
  /// Files may have come and gone while another window was in front.
  void changeEvent(QEvent* event) override;

 private:
  class CIChangeParams final : public TSinkImpl<IChangeParams, CScanToNet> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 1; }
    int OnParamChanged(const char* key) override { return owner()->paramChanged(key); }
  };
  /// Posted: the next name is out of date; it was found; the queue changed.
  static constexpr int kRefreshName = 1390, kNameFound = 1391, kQueueChanged = 1392;

  [[nodiscard]] bool handle(int id, int code);
  void setUpForm();
  int paramChanged(const char* key);
  void maskEdited();
  void refreshNextName();
  void showQueue();
  /// Null when nobody is chosen.
  [[nodiscard]] const NetClient* client() const;
  void applyClient();
  void installStore();
  [[nodiscard]] RunOutput& output();

  [[nodiscard]] bool prepareFile();
  [[nodiscard]] bool prepareName();
  [[nodiscard]] bool stagePage();
  [[nodiscard]] int cancelPage();
  [[nodiscard]] int finishPage();
  /// Lets the page join the queue. False when the user was told why not.
  [[nodiscard]] bool handOff(const std::string& file, bool mayReplace);
  [[nodiscard]] HandOff target(const std::string& file, bool mayReplace) const;
  void tellIfItWaits();
  void discardStaged();
  void advanceCounter();
  void tell(const std::string& text);
  [[nodiscard]] KxPtr<IEvents> events() const;
  [[nodiscard]] bool isInteractive() const;

  const DestinationContext m_context;
  CSharedScanParams& m_params;
  const std::vector<NetClient> m_clients;
  const KxPtr<INetQueue> m_queue;
  const KxPtr<IPageSpool> m_spool;
  std::unique_ptr<Ui::ScanToNet> m_form;
  CIChangeParams m_changes{this};
  History m_masks{"Mask"};
  NextNameFinder m_nextName;
  std::unique_ptr<NetQueueRow> m_row;
  QTimer m_clock;                       // runs while the name shows the time
  QTimer m_look;                        // runs while pages wait, for what other programs hand off
  int m_advice = 0;                     // the queue's number for this panel
  std::unique_ptr<RunOutput> m_output;  // from a run's first page to its end
  std::string m_staged;                 // the page in the spool that is not in the queue yet; empty: none
  std::string m_runFile;                // the name that the run's multi-page file gets; empty: none is open
  std::string m_endedFile;              // of the page that ended last
  bool m_endedIsThere = false;
  std::string m_toldWhy;  // why the hot folder is away, as users were told
};

/// The panel; null, after a message, when no server has clients.
[[nodiscard]] std::unique_ptr<CScanTo> makeScanToNet(const DestinationContext& context);

}  // namespace quillbay
