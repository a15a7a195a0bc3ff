#pragma once
#include <functional>
#include <string>
#include <vector>

#include "host/script_program.h"
#include "host/script_raster.h"
#include "host/script_services.h"
#include "host/script_step.h"
#include "quillbay/host.h"

namespace quillbay {

/// What a script works with.
struct ScriptWorld {
  KxPtr<IHostPages> pages;
  KxPtr<IEvents> events;
  KxPtr<IApp> app;  ///< gives the options of the file formats
  KxPtr<IScriptReports> reports;
  std::function<void(const std::string& file)> onSaved;
  ProgramPolicy programs{};
  int page = 0;            ///< what to begin with; 0: the current one
  std::string pageName{};  ///< what that is called; no other page of the document is
  /// Runs what asks the document and then changes it, on the document's thread; empty: at once.
  std::function<void(const std::function<void()>&)> onDocument{};
  std::function<bool()> isListed{};  ///< whether somebody lists failures, so that no message is needed
  std::string replaced{};            ///< a file that is replaced without a question
};

/// Asks before a file is replaced; true when there is none of this name.
[[nodiscard]] bool mayReplaceFile(IEvents* events, const std::string& file);

/// One run of a script. The current page, and what "/Open" brings, are worked on aside; the document changes at the
/// end, when no command failed. Files that were written before a failure are kept.
///
/// A command that fails on a file that the script opened ends the work on this file: the script continues with the
/// next "/Open". One that fails on the document's own page ends the script. Everything that failed is reported in
/// one message. All parts of its world are called on the thread that it runs on. A progress may dispatch events
/// meanwhile, and other scripts may run therein: a page that was changed or closed by then stays as it is, and the
/// script is reported as failed.
class ScriptRun {
 public:
  /// `title` is how messages call the script; `parameters` (may be null) are those of the command that runs it.
  ScriptRun(ScriptWorld world, std::string title, IParam* parameters);
  /// False if something failed or was cancelled.
  bool run(const std::vector<ScriptStep>& steps);
  /// Tells of a script that cannot be run at all.
  void refuse(const std::string& script, const std::string& why);

 private:
  /// What commands work on: a page of the document (`page` above 0), or the pages of a file that was opened.
  struct Work {
    int page = 0;
    std::vector<KxPtr<IRStor>> rasters;
    KxPtr<IRStor> before;  // what the page was when the script began
    std::string name;      // for the user: the file, or what the page is called
    std::string file;      // that holds it, when it is saved
    bool changed = false;  // another raster than the document or the file has
    bool saved = false;
    [[nodiscard]] bool matters() const { return page > 0 ? changed : changed && !saved; }
  };
  struct Failure {
    std::string file, why;
    bool cannotWrite = false;
  };
  enum class Outcome { Done, Failed, Declined, Cancelled };

  void takeCurrent();
  [[nodiscard]] std::string check(const std::vector<ScriptStep>& steps) const;
  [[nodiscard]] bool perform(const std::vector<ScriptStep>& steps);
  [[nodiscard]] Outcome performLogged(const ScriptStep& step);
  [[nodiscard]] Outcome performGuarded(const ScriptStep& step);
  [[nodiscard]] Outcome performStep(const ScriptStep& step);
  [[nodiscard]] Outcome open(const ScriptStep& step);
  [[nodiscard]] Outcome saveAs(const ScriptStep& step);
  [[nodiscard]] Outcome close();
  [[nodiscard]] Outcome change(const ScriptStep& step);
  [[nodiscard]] std::vector<KxPtr<IRStor>> resultsOf(const ScriptStep& step);
  [[nodiscard]] std::string pictureOf(const ScriptStep& step) const;
  [[nodiscard]] Outcome failed(const ScriptStep& step, const std::string& file, const std::string& why,
                               bool cannotWrite);
  [[nodiscard]] bool isAsItWas(const Work& work) const;
  void onDocument(const std::function<void()>& work) const;
  [[nodiscard]] bool commit();
  [[nodiscard]] bool commit(const Work& work);
  [[nodiscard]] bool isListed() const { return m_world.isListed && m_world.isListed(); }
  void tellFailures() const;
  void tell(const std::string& file, const std::string& head, const std::string& details) const;
  void collect(const std::string& file, const std::string& why, const ScriptStep* step, bool cancelled) const;
  void log(const std::string& line) const;
  void note(const StepNote& note);
  void handOver() const;
  [[nodiscard]] bool isCancelled() const { return m_progress && m_progress->IsCancelled() != 0; }

  const ScriptWorld m_world;
  const std::string m_title;
  const KxPtr<IParam> m_parameters;
  KxPtr<IProgress> m_progress;
  Work m_work;
  std::vector<Work> m_kept;    // left by "/Open", and not in a file
  std::vector<Work> m_closed;  // pages that go at the end
  std::vector<Failure> m_failures;
  std::string m_notes;  // lines
  int m_misses = 0;
};

}  // namespace quillbay
