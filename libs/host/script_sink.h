#pragma once
#include <functional>
#include <string>
#include <vector>

#include "host/host_events.h"
#include "host/host_pages.h"
#include "host/script_run.h"

namespace quillbay {

/// Takes script commands of the panel and of programs: hands rasters to the pages, adds pages to files, and runs
/// scripts. User-interface thread.
class CHostScriptSink final : public CKxUnknownImpl<IScriptCmdSink> {
 public:
  /// What it needs of the application object; all of it outlives it or is held.
  struct Parts {
    KxPtr<CHostEvents> events;
    KxPtr<IApp> app;
    KxPtr<IIOParams> io;
    KxPtr<IProfile> profile;
    KxPtr<CScriptServices> services;
    KxPtr<IParam> syntax;  ///< the settings of `IScriptSyntaxParam`
  };
  CHostScriptSink(Parts parts, const HostOptions& options)
      : m_parts(std::move(parts)), m_onSaved(options.onSaved), m_clear(options.clear) {}

  /// 0 for success. What cannot be done is reported through the events; an unknown command returns 1.
  int ExecCommand(const char* command, IParam* arguments) override;

  void setClearPolicy(ClearPolicy clear) { m_clear = clear; }
  void setRasterHandler(std::function<void(const HostDocument&)> handler) { m_onRaster = std::move(handler); }
  void setCloseHandler(std::function<bool()> handler) { m_onClose = std::move(handler); }
  /// Null: the list of its own.
  void setPages(IHostPages* pages) { m_programPages = KxPtr<IHostPages>::share(pages); }
  [[nodiscard]] std::vector<HostDocument> documents() const { return m_ownPages->documents(); }

 private:
  [[nodiscard]] KxPtr<IHostPages> pages() const;
  /// As the application object answers them: with what a panel registered.
  [[nodiscard]] KxPtr<IEvents> events() const;
  [[nodiscard]] ScriptWorld world() const;
  bool clearRasters(IParam* arguments);
  bool addRaster(IParam* arguments);
  bool addPage(IParam* arguments);
  bool processScript(IParam* arguments);
  bool autocorrect(IParam* arguments);
  bool runFile(const std::string& path, IParam* arguments);
  bool runText(const std::string& text, const std::string& file, const std::string& title, IParam* arguments);

  const Parts m_parts;
  const std::function<void(const std::string&)> m_onSaved;
  const KxPtr<CHostPages> m_ownPages = KxPtr<CHostPages>::adopt(new CHostPages);
  KxPtr<IHostPages> m_programPages;
  ClearPolicy m_clear;
  int m_lastPage = 0;  // that "IntAddRaster" brought
  std::function<void(const HostDocument&)> m_onRaster;
  std::function<bool()> m_onClose;
};

}  // namespace quillbay
