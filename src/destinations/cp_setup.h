#pragma once
#include <memory>
#include <string>

#include "platform/iface_factory.h"
#include "platform/panel_controller.h"
#include "quillbay/app.h"
#include "quillbay/param.h"
#include "quillbay/tools.h"
#include "widgets/dialog.h"

namespace Ui {
class PrintSetup;
}

namespace quillbay {

/// The dialog of one set of print options, which it shows in the host's own page of them. OK hands them back to the
/// host as its current ones, or writes them into the template that they come from; they can also be saved as a new
/// template. Shown by `DoModal`.
class CPSetup final : public CDialog, public IToolSite, public CKxUnknownImplStatic<IFaceFactory> {
 public:
  /// Numbers of the controls beside OK and Cancel.
  enum Control : int { kHelp = 9, kSaveAs = 1331 };

  /// @param values  the options to begin with; not changed
  /// @param path    of their template; empty: the host's current options
  CPSetup(QWidget* parent, KxPtr<IApp> app, IPanelController* controller, const KxPtr<IParam>& values,
          std::string path);
  ~CPSetup() override;

  /// Itself for the counted base and `IFaceFactory`; the application object answers all other queries.
  int QueryInterface(const std::type_info& wanted, void** out) override;

  bool OnCommand(int id, int code, std::int64_t value) override;
  /// Saves what the page shows as the template of this name. Returns false when it was not, with a message.
  bool saveAs(const std::string& name);

  // IToolSite
  void ToolChanged() override {}
  int GetPicture(ToolPicture*) override { return 0; }
  int Pick() override { return 0; }
  void EndPick() override {}

 private:
  void makePage();
  [[nodiscard]] KxPtr<IParam> takeValues();
  [[nodiscard]] bool accept();
  [[nodiscard]] bool write(const std::string& path);
  void askName();
  void showHelp();
  void tell(const std::string& text);

  const KxPtr<IApp> m_app;
  IPanelController* m_controller;
  const KxPtr<IParam> m_values = new_MemParam();
  const std::string m_path;
  std::unique_ptr<Ui::PrintSetup> m_form;
  KxPtr<IPanelTool> m_tool;
};

}  // namespace quillbay
