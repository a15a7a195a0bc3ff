#include "host/script_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>

#include "host/host_events.h"
#include "host/script_raster.h"
#include "platform/base_services.h"
#include "quillbay/formats.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

constexpr const char* kOverwriteQuestion = "File %s already exists. Overwrite?$QBHelp:IDH_QB_OverWrite$";
constexpr int kStepEnd = 1000;  // position of a progress at the end of a command

bool touchesFile(ScriptAction action) { return action == ScriptAction::Open || action == ScriptAction::SaveAs; }

/// Lines that are written, or steps of reading, as positions of a command; `total` of them.
class LineProgress final : public CKxUnknownImplStatic<IProgress> {
 public:
  LineProgress(IProgress* to, std::int64_t total) : m_to(to), m_total(std::max<std::int64_t>(total, 1)) {}
  void SetText(const char*) override {}  // the command's stays
  void Step() override { SetPosition(m_position + 1); }
  int SetPosition(int position) override {
    const int before = std::exchange(m_position, position);
    if (position < before) m_before += before;  // the next page
    m_to->SetPosition(
        static_cast<int>(std::min<std::int64_t>((m_before + position) * kStepEnd / m_total, kStepEnd)));
    return before;
  }
  void Reset() override { SetPosition(0); }
  int IsCancelled() override { return m_to->IsCancelled(); }

 private:
  IProgress* m_to;
  const std::int64_t m_total;
  std::int64_t m_before = 0;
  int m_position = 0;
};

std::int64_t linesOf(const std::vector<KxPtr<IRStor>>& rasters) {
  std::int64_t lines = 0;
  for (const auto& raster : rasters) lines += raster->GetHeight();
  return lines;
}

std::string seconds(std::chrono::steady_clock::duration time) {
  return toText(std::round(std::chrono::duration<double>(time).count() * 100) / 100);
}

}  // namespace

bool mayReplaceFile(IEvents* events, const std::string& file) {
  if (!fio::exists(file)) return true;
  const std::string text = formatText(Supp_Translate(kOverwriteQuestion), {file});
  return events->Message(static_cast<int>(EventKind::Question), text.c_str(), 0,
                         static_cast<int>(EventButtons::YesNo)) == static_cast<int>(EventAnswer::Yes);
}

ScriptRun::ScriptRun(ScriptWorld world, std::string title, IParam* parameters)
    : m_world(std::move(world)), m_title(std::move(title)), m_parameters(KxPtr<IParam>::share(parameters)) {}

void ScriptRun::log(const std::string& line) const {
  m_world.events->Note("quillbay.script", line.c_str());
  m_world.reports->Log(line);
}

void ScriptRun::takeCurrent() {
  HostPage page;
  const int id = m_world.page > 0 ? m_world.page : m_world.pages->GetCurrent();
  if (id <= 0 || !m_world.pages->GetPage(id, &page) || !page.raster) return;
  m_work.page = id;
  m_work.rasters = {page.raster};
  m_work.before = page.raster;
  // Until it is saved, another page may have the same file, and what programs write beside it.
  m_work.file = page.saved || page.file.empty() || m_world.pageName.empty() ? page.file : m_world.pageName;
  m_work.saved = page.saved;
  m_work.name = page.file.empty() ? formatText(Supp_Translate("page %d"), {toText(std::int64_t{id})}) : page.file;
}

/// The reason against running the script; empty without one.
std::string ScriptRun::check(const std::vector<ScriptStep>& steps) const {
  bool hasPage = !m_work.rasters.empty();
  if (m_world.page > 0 && !hasPage)
    return formatText(Supp_Translate("%s was closed before the script ran."), {m_world.pageName});
  std::vector<std::string> written;
  for (const ScriptStep& step : steps) {
    if (step.ignored) continue;
    const auto refuse = [&](const std::string& why) {
      return formatText(Supp_Translate("%s, line %d: %s: %s"),
                        {m_title, toText(std::int64_t{step.line}), step.name, why});
    };
    if (step.action == ScriptAction::Open) {
      const bool willBe = std::find(written.begin(), written.end(), step.file) != written.end();
      if (!willBe && !fio::exists(step.file)) {
        return refuse(formatText(Supp_Translate("there is no file %s"), {step.file}));
      }
    } else if (!hasPage) {
      return refuse(Supp_Translate("there is no page to work on"));
    }
    if (step.action == ScriptAction::Run && !m_world.programs.allowed)
      return refuse(programsNotAllowed(step.program.words.front()));
    if (step.action == ScriptAction::SaveAs) written.push_back(step.file);
    hasPage = step.action != ScriptAction::Close;
  }
  return {};
}

void ScriptRun::refuse(const std::string& script, const std::string& why) {
  takeCurrent();
  log(formatText(Supp_Translate("Not run: %s"), {why}));
  const std::string& page = m_world.pageName.empty() ? m_work.name : m_world.pageName;
  const std::string& file = page.empty() ? script : page;
  collect(file, why, nullptr, false);
  if (!isListed()) tell(file, Supp_Translate("The script was not run"), why);
}

bool ScriptRun::run(const std::vector<ScriptStep>& steps) {
  takeCurrent();
  log(formatText(Supp_Translate("Script %s: started"), {m_title}));
  if (const std::string why = check(steps); !why.empty()) return refuse(m_title, why), false;
  m_progress = m_world.reports->MakeProgress(m_title);
  bool done = perform(steps);
  if (done) onDocument([&] { done = commit(); });
  m_progress = nullptr;  // closes its window before a message opens
  log(formatText(Supp_Translate(done ? "Script %s: done" : "Script %s: not done; the document is as it was"),
                 {m_title}));
  handOver();
  tellFailures();
  return done;
}

void ScriptRun::note(const StepNote& note) {
  log("    " + note.text);
  if (!m_notes.empty()) m_notes += '\n';
  m_notes += note.text;
  if (note.isMiss) ++m_misses;
}

/// What the commands report, for the program that ran the script.
void ScriptRun::handOver() const {
  if (!m_parameters || m_notes.empty()) return;
  m_parameters->SetValue(script_key::Notes, m_notes);
  m_parameters->SetValue(script_key::Misses, m_misses);
}

bool ScriptRun::perform(const std::vector<ScriptStep>& steps) {
  bool allDone = true, skipping = false;
  for (const ScriptStep& step : steps) {
    if (step.ignored) {
      log(formatText(Supp_Translate("  line %d: %s: skipped"), {toText(std::int64_t{step.line}), step.text()}));
      continue;
    }
    if (skipping && step.action != ScriptAction::Open) continue;
    const Outcome outcome = performLogged(step);
    skipping = outcome != Outcome::Done;
    if (outcome == Outcome::Done) continue;
    allDone = false;
    if (outcome == Outcome::Cancelled || m_work.page > 0) break;
  }
  return allDone;
}

ScriptRun::Outcome ScriptRun::performLogged(const ScriptStep& step) {
  const auto start = std::chrono::steady_clock::now();
  if (m_progress) {
    m_progress->Reset();
    m_progress->SetText(step.text().c_str());
  }
  const Outcome outcome = isCancelled() ? Outcome::Cancelled : performGuarded(step);
  constexpr const char* kWords[] = {"done", "failed", "not replaced", "cancelled"};
  const char* word = kWords[static_cast<int>(outcome)];
  const std::string file = touchesFile(step.action) ? step.file : m_work.name;
  log(formatText(Supp_Translate("  line %d: %s (%s): %s, %s s"),
                 {toText(std::int64_t{step.line}), step.text(), file, Supp_Translate(word),
                  seconds(std::chrono::steady_clock::now() - start)}));
  if (outcome == Outcome::Cancelled) collect(pictureOf(step), Supp_Translate("cancelled"), &step, true);
  if (outcome == Outcome::Declined && isListed()) {
    collect(pictureOf(step), formatText(Supp_Translate("%s exists already and was not replaced"), {step.file}),
            &step, false);
  }
  return outcome;
}

/// The name of what a command works on, which a list of failures can be tried again by.
std::string ScriptRun::pictureOf(const ScriptStep& step) const {
  if (step.action == ScriptAction::Open) return step.file;
  if (m_work.page > 0 && !m_world.pageName.empty()) return m_world.pageName;
  return m_work.name.empty() ? m_title : m_work.name;
}

ScriptRun::Outcome ScriptRun::performGuarded(const ScriptStep& step) {
  const bool writes = step.action == ScriptAction::SaveAs;
  const std::string file = touchesFile(step.action) ? step.file : m_work.name;
  try {
    return performStep(step);
  } catch (const CXFileException& e) {
    return failed(step, e.path().empty() || !touchesFile(step.action) ? file : e.path(), e.what(), writes);
  } catch (const CXException& e) {
    return failed(step, file, e.what(), writes);
  } catch (const std::bad_alloc&) {
    return failed(step, file, Supp_Translate("there is not enough memory"), false);
  } catch (const std::exception& e) {
    return failed(step, file, e.what(), false);
  }
}

ScriptRun::Outcome ScriptRun::failed(const ScriptStep& step, const std::string& file, const std::string& why,
                                     bool cannotWrite) {
  std::string text = why;
  if (!cannotWrite) {
    text = formatText(Supp_Translate("%s, line %d: %s: %s"),
                      {m_title, toText(std::int64_t{step.line}), step.name, why});
  }
  m_failures.push_back({file, text, cannotWrite});
  log("  " + text);
  collect(pictureOf(step), why, &step, false);
  return Outcome::Failed;
}

ScriptRun::Outcome ScriptRun::performStep(const ScriptStep& step) {
  switch (step.action) {
    case ScriptAction::Open: return open(step);
    case ScriptAction::SaveAs: return saveAs(step);
    case ScriptAction::Close: return close();
    default: return change(step);
  }
}

ScriptRun::Outcome ScriptRun::open(const ScriptStep& step) {
  if (m_work.matters()) m_kept.push_back(m_work);
  m_work = {};
  m_work.name = m_work.file = step.file;
  const int pages = CountRasterPages(step.file);
  LineProgress steps(m_progress.get(), std::int64_t{pages} * kLoadSteps);
  for (int page = 0; page < pages; ++page) {
    auto raster = LoadRasterFile(step.file, page, m_progress ? &steps : nullptr);
    if (!raster) return Outcome::Cancelled;
    m_work.rasters.push_back(std::move(raster));
  }
  m_work.saved = true;
  return Outcome::Done;
}

ScriptRun::Outcome ScriptRun::saveAs(const ScriptStep& step) {
  const bool replace = fio::exists(step.file);
  const bool isOwn = step.file == m_world.replaced;
  // The pages that others have added to it meanwhile are not lost.
  if (isOwn && replace && CountRasterPages(step.file) != static_cast<int>(m_work.rasters.size()))
    throw CXException(formatText(Supp_Translate("%s has other pages and stays as it is"), {step.file}));
  if (!isOwn && !mayReplaceFile(m_world.events.get(), step.file)) return Outcome::Declined;
  fio::createFolder(fio::folderOf(step.file));
  LineProgress lines(m_progress.get(), linesOf(m_work.rasters));
  if (!SaveRasterFile(m_world.app.get(), m_work.rasters, step.file, replace, m_progress ? &lines : nullptr)) {
    return Outcome::Cancelled;
  }
  m_work.saved = true;
  m_work.file = m_work.name = step.file;
  if (replace) m_world.pages->NoteOverwritten(step.file);
  // What the document holds is in the file now, whatever else the script does.
  onDocument([&] {
    if (m_work.page > 0 && !m_work.changed && isAsItWas(m_work)) m_world.pages->NoteSaved(m_work.page, step.file);
  });
  if (m_world.onSaved) m_world.onSaved(step.file);
  return Outcome::Done;
}

ScriptRun::Outcome ScriptRun::close() {
  if (!m_work.saved) {
    throw CXException(
        formatText(Supp_Translate("%s is not saved; use /SaveAs before it is closed"), {m_work.name}));
  }
  m_work.rasters.clear();
  if (m_work.page > 0) m_closed.push_back(m_work);
  m_work = {};
  return Outcome::Done;
}

/// None when it was cancelled.
std::vector<KxPtr<IRStor>> ScriptRun::resultsOf(const ScriptStep& step) {
  if (step.action == ScriptAction::Run) {
    const ProgramWork work{m_work.rasters, m_work.file, m_work.page > 0};
    return runProgramStep(step, m_world.programs, work, m_progress.get(),
                          [this](const std::string& line) { log(line); });
  }
  std::vector<KxPtr<IRStor>> results;
  for (const auto& raster : m_work.rasters) {
    auto result =
        runRasterStep(step, raster.get(), m_progress.get(), [this](const StepNote& found) { note(found); });
    if (!result) return {};
    results.push_back(std::move(result));
  }
  return results;
}

ScriptRun::Outcome ScriptRun::change(const ScriptStep& step) {
  std::vector<KxPtr<IRStor>> results = resultsOf(step);
  if (results.empty()) return Outcome::Cancelled;
  const auto same = [](const auto& a, const auto& b) { return a.get() == b.get(); };
  if (std::equal(results.begin(), results.end(), m_work.rasters.begin(), same)) return Outcome::Done;
  m_work.rasters = std::move(results);
  m_work.changed = true;
  m_work.saved = false;
  return Outcome::Done;
}

/// Whether the document still has the page that the script began with.
bool ScriptRun::isAsItWas(const Work& work) const {
  HostPage now;
  return m_world.pages->GetPage(work.page, &now) != 0 && now.raster.get() == work.before.get();
}

void ScriptRun::onDocument(const std::function<void()>& work) const {
  m_world.onDocument ? m_world.onDocument(work) : work();
}

bool ScriptRun::commit() {
  // Pages that a script opened last, and did not close, are kept in the document.
  bool done = true;
  m_kept.push_back(std::move(m_work));
  for (const Work& work : m_kept) done = commit(work) && done;
  for (const Work& work : m_closed) {
    if (isAsItWas(work)) m_world.pages->Remove(work.page);
  }
  m_work = {};
  m_kept.clear();
  return done;
}

bool ScriptRun::commit(const Work& work) {
  if (work.page > 0) {
    if (!work.changed) return true;
    if (!isAsItWas(work) || !m_world.pages->Replace(work.page, work.rasters.front().get())) {
      const std::string why =
          formatText(Supp_Translate("%s was closed or changed while the script ran."), {work.name});
      m_failures.push_back({work.name, why, false});
      collect(m_world.pageName.empty() ? work.name : m_world.pageName, why, nullptr, false);
      return false;
    }
    if (work.saved) m_world.pages->NoteSaved(work.page, work.file);
    return true;
  }
  bool done = true;
  for (const auto& raster : work.rasters) {
    done = m_world.pages->Add({raster, work.file, false, false, work.saved}) > 0 && done;
  }
  return done;
}

void ScriptRun::collect(const std::string& file, const std::string& why, const ScriptStep* step,
                        bool cancelled) const {
  const auto parameters = new_MemParam();
  Param_CopyTo(m_parameters.get(), parameters.get());
  if (step) {
    for (const auto& [key, value] : step->arguments) {
      std::int64_t number = 0;
      const bool isFlag = parseNumber(value, &number) && (number == 0 || number == 1);
      parameters->SetValue(key, isFlag ? CKxVariant(static_cast<std::int32_t>(number)) : CKxVariant(value));
    }
    parameters->SetValue("Line", step->line);
    parameters->SetValue("Command", step->name);
  }
  parameters->SetValue(script_key::Text, m_title);
  parameters->SetValue(script_key::Error, why);
  m_world.reports->FileFailed(file, parameters.get(), cancelled);
}

void ScriptRun::tellFailures() const {
  if (m_failures.empty() || isListed()) return;
  if (m_failures.size() == 1 && m_failures.front().cannotWrite) {
    return sayCannotWrite(m_world.events.get(), m_failures.front().file, m_failures.front().why);
  }
  if (m_failures.size() == 1) {
    return tell(m_failures.front().file, Supp_Translate("The script could not finish"), m_failures.front().why);
  }
  const std::string head = formatText(Supp_Translate("Files that could not be processed: %d"),
                                      {toText(std::int64_t(m_failures.size()))});
  log(head);
  std::string list;
  for (const Failure& failure : m_failures) {
    log("  " + failure.file);
    const bool named = failure.why.find(failure.file) != std::string::npos;
    list += "\n\n" + (named ? failure.why : failure.file + ": " + failure.why);
  }
  tell(m_failures.front().file, head, list);
}

/// The details go beside the text, which dollar signs would part.
void ScriptRun::tell(const std::string& file, const std::string& head, const std::string& details) const {
  m_world.events->Subject(file.c_str(), details.c_str());
  m_world.events->Message(static_cast<int>(EventKind::Information), head.c_str(), 0,
                          static_cast<int>(EventButtons::Ok));
}

}  // namespace quillbay
