#pragma once
#include <QFileSystemWatcher>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "destinations/destination_factory.h"
#include "destinations/print_options_list.h"
#include "platform/change_params.h"
#include "quillbay/connection_point.h"
#include "quillbay/print_host.h"
#include "widgets/dialog.h"

namespace Ui {
class ScanToPrint;
}

namespace quillbay {

/// The panel of Scan To Print: the print options, the number of copies, and the printer that they name. A page is
/// printed by the host's tool while it is scanned.
class CScanToPrint final : public CDialog, public CScanTo, public CKxUnknownImplStatic<IKxUnknown> {
 public:
  /// Numbers of the controls.
  enum Control : int { kOptions = 1321, kSetup = 1322, kPrinter = 1323, kCopies = 1324, kNote = 1325, kJob = 1326 };

  explicit CScanToPrint(const DestinationContext& context);
  ~CScanToPrint() override;

  int BeginScan() override;
  int EndScan(int cancelled) override;
  /// A chosen set that is not there any more becomes the current options.
  int LoadParams(IParam* params) override;
  int SaveParams(IParam* params) override;
  void Destroy() override;
  int Enable(int enable) override;
  int Show(int command) override;
  void GetTargetText(std::string* out) override;
  HWND GetHwnd() override { return this; }
  /// How the job fares.
  HWND GetFooter() override;

  bool OnCommand(int id, int code, std::int64_t value) override;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  class CParamProviderReactor final : public TSinkImpl<IParamReactor, CScanToPrint> {
   public:
    using TSinkImpl::TSinkImpl;
    void OnToolParams(std::string_view tool) override { owner()->toolChanged(tool); }
  };
  class CIChangeParams final : public TSinkImpl<IChangeParams, CScanToPrint> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char*) override { return 1; }
    int OnParamChanged(const char* key) override { return owner()->paramChanged(key); }
  };

  [[nodiscard]] bool handle(int id, int code);
  void toolChanged(std::string_view tool);
  int paramChanged(const char* key);
  void fillList();
  void rebuildList();
  void watchTemplates();
  void choose(int entry);
  void showPrinter();
  void showNote();
  void showJob();
  void setUp();
  [[nodiscard]] int chosen() const;
  [[nodiscard]] int copies() const;
  [[nodiscard]] bool startJob(IParam* options, std::string* why);
  void installEmptyStore();
  [[nodiscard]] int finishPage();
  [[nodiscard]] int refuse(const std::string& why);
  void tell(const std::string& text);

  const DestinationContext m_context;
  CSharedScanParams& m_params;
  const KxPtr<IParam> m_automatic = new_MemParam();
  std::unique_ptr<Ui::ScanToPrint> m_form;
  PrintOptionsList m_list;
  CParamProviderReactor m_reactor{this};
  CIChangeParams m_changes{this};
  QFileSystemWatcher m_templates;
  QTimer m_clock;             // runs while a job does
  KxPtr<IPrintingJob> m_job;  // of the page that is scanned
  std::string m_why;          // the chosen options cannot be used; shown in the panel
};

}  // namespace quillbay
