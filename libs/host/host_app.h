#pragma once
#include <memory>
#include <string>

#include "core/registry_store.h"
#include "host/format_settings.h"
#include "host/help_service.h"
#include "host/host_events.h"
#include "host/host_files.h"
#include "host/interface_registry.h"
#include "host/io_params.h"
#include "host/param_provider.h"
#include "host/print_watch.h"
#include "host/script_sink.h"
#include "host/tools/tools_factory.h"
#include "quillbay/host.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// What the application object hands to its scanner manager: queries go on to the application as long as it lives,
/// without holding it.
class CAppForwarder final : public CKxUnknownImpl<IApp> {
 public:
  explicit CAppForwarder(IApp* app) : m_app(app) {}
  std::string GetProductName() override { return m_app ? m_app->GetProductName() : std::string(); }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted == typeid(IApp) || wanted == typeid(IKxUnknown)) return CKxUnknownImpl::QueryInterface(wanted, out);
    return m_app ? m_app->QueryInterface(wanted, out) : 0;
  }
  void clear() { m_app = nullptr; }

 private:
  IApp* m_app;
};

/// The settings file as the panel's profile; flushing also saves what is remembered between runs.
class CHostProfile final : public CKxUnknownImpl<IProfile> {
 public:
  CHostProfile(const std::string& configFolder, const std::string& stateFolder, bool keep,
               const StoreMessage& tell);
  ~CHostProfile() override;
  IParam* GetSection(std::string_view name, int create) override { return m_profile->GetSection(name, create); }
  int Flush() override;
  /// The root of what is remembered: "ScanManager\Source".
  [[nodiscard]] const KxPtr<IParam>& state() const { return m_state->root(); }

 private:
  bool saveState();

  const StoreMessage m_tell;
  KxPtr<IProfile> m_profile;
  std::shared_ptr<JsonStore> m_state;
};

/// The application object of `New_HostApp`.
class CHostApp final
    : public CKxUnknownImpl<IHostApp, IAppInterior, IScannerChooser, IScriptSyntaxParam, IOemInfo> {
 public:
  explicit CHostApp(const HostOptions& options);
  ~CHostApp() override;
  int QueryInterface(const std::type_info& wanted, void** out) override;

  std::string GetProductName() override;
  void SetMainWindow(QWidget* window) override { m_events->setMainWindow(window); }
  void SetAnswers(const AnswerPolicy& answers) override { m_events->setAnswers(answers); }
  void SetClearPolicy(ClearPolicy clear) override { m_script->setClearPolicy(clear); }
  void SetRasterHandler(std::function<void(const HostDocument&)> handler) override;
  void SetCloseHandler(std::function<bool()> handler) override { m_script->setCloseHandler(std::move(handler)); }
  std::vector<HostDocument> GetDocuments() override { return m_script->documents(); }
  void SetPages(IHostPages* pages) override { m_script->setPages(pages); }
  int SetFormatOption(std::string_view format, std::string_view key, std::string_view value,
                      std::string* why) override;

  QWidget* GetMainWindow() override { return m_events->mainWindow(); }
  int IsClosing() override;
  int IsInteractive() override { return m_options.interactive ? 1 : 0; }
  std::string GetModulePath() override { return m_options.modulePath; }
  int ChooseScanner(IScanManager* manager, std::string* device) override;
  IParam* GetSyntax() override;
  std::string GetVendorName() override { return m_options.productName; }
  std::string GetProductTitle() override { return m_options.productName; }
  std::uint32_t GetVersion() override;

 private:
  KxPtr<IScanManager> scanManager();

  HostOptions m_options;
  const KxPtr<CAppForwarder> m_forwarder;
  const KxPtr<CHostHelp> m_help;  // null if the host is not interactive
  const KxPtr<CHostEvents> m_events;
  const KxPtr<CHostFiles> m_files;
  const KxPtr<CInterfaceRegistry> m_registry = KxPtr<CInterfaceRegistry>::adopt(new CInterfaceRegistry);
  KxPtr<CHostProfile> m_profile;
  KxPtr<CIOParams> m_io;
  KxPtr<CFormatSettings> m_formats;
  KxPtr<IStyleManager> m_styles;
  KxPtr<CToolsFactory> m_tools;
  KxPtr<CParamProvider> m_toolParams;
  KxPtr<CPrintWatch> m_printWatch;
  KxPtr<IStdPapersParam> m_papers;
  const KxPtr<CScriptServices> m_services = KxPtr<CScriptServices>::adopt(new CScriptServices);
  const KxPtr<IParam> m_syntax = new_ScriptSyntax();
  KxPtr<CHostScriptSink> m_script;
  KxPtr<IScanManager> m_manager;  // made when it is asked for
};

}  // namespace quillbay
