#pragma once
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/host_events.h"
#include "host/host_pages.h"
#include "host/script_queue.h"
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
  CHostScriptSink(Parts parts, const HostOptions& options);

  /// 0 for success. What cannot be done is reported through the events; an unknown command returns 1.
  int ExecCommand(const char* command, IParam* arguments) override;

  void setClearPolicy(ClearPolicy clear) { m_clear = clear; }
  void setRasterHandler(std::function<void(const HostDocument&)> handler) { m_onRaster = std::move(handler); }
  void setCloseHandler(std::function<bool()> handler) { m_onClose = std::move(handler); }
  /// Null: the list of its own. Waits for the scripts that work on pages of the one before.
  void setPages(IHostPages* pages);
  [[nodiscard]] const KxPtr<CScriptQueue>& queue() const { return m_queue; }
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

  // Aside from the user-interface thread.
  /// A script with its name, and the folder that its file names begin at.
  struct Source {
    std::string text, file, title;
  };
  struct Aside {
    int page = 0;          ///< 0: a file
    std::string name;      ///< of what it works on, for the user; no other page has it
    bool isSave = false;   ///< it is not cancelled, and tells its failures
    std::string replaced;  ///< a file that is replaced without a question
  };
  [[nodiscard]] ScriptWorld worldOf(const Aside& aside) const;
  [[nodiscard]] Aside asideOf(int page, bool isSave);
  void noteGiven(int page, const std::string& file);
  /// The script of "Autocorrect".
  [[nodiscard]] std::string correctionPath(IParam* arguments, IScriptRunner* runner) const;
  bool correctAside(const std::string& path, const Aside& aside);
  bool queueSource(const Source& source, const Aside& aside);
  bool queueSteps(std::vector<ScriptStep> steps, const std::string& title, const Aside& aside);
  void queueAddPage(const std::string& file);
  [[nodiscard]] bool isPicture(const std::string& file) const;
  bool processPicture(const std::string& file, IScriptRunner& runner);
  [[nodiscard]] std::vector<ScriptStep> compile(const Source& source) const;

  const Parts m_parts;
  const std::function<void(const std::string&)> m_onSaved;
  const ProgramPolicy m_programs;            // of this run
  std::map<std::string, int> m_unprocessed;  // pages by the names that they were reported with
  std::map<std::string, int> m_named;        // pages by their names, those of the first page of each file
  std::map<int, std::string> m_given;        // files that the panel named for pages
  const KxPtr<CHostPages> m_ownPages = KxPtr<CHostPages>::adopt(new CHostPages);
  KxPtr<IHostPages> m_programPages;
  ClearPolicy m_clear;
  int m_lastPage = 0;  // that "IntAddRaster" brought
  std::function<void(const HostDocument&)> m_onRaster;
  std::function<bool()> m_onClose;
  const KxPtr<CScriptQueue> m_queue = KxPtr<CScriptQueue>::adopt(new CScriptQueue);
};

/// The text of a script file. Throws CXFileException.
[[nodiscard]] std::string readScriptFile(const std::string& path);
/// Adds `raster` to a file as its next page. Throws CXFileException. Any thread.
void appendPage(IIOParams* io, const std::string& file, IRStor* raster);

}  // namespace quillbay
