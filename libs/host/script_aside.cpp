/// The scripts that the sink has worked on aside from the user-interface thread.
#include <algorithm>

#include "host/script_sink.h"
#include "platform/base_services.h"
#include "quillbay/formats.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

/// Pages that nobody tries again are forgotten.
constexpr std::size_t kMostUnprocessed = 10000;
constexpr std::size_t kMostNamed = 100000;

/// What a job must not throw out of its thread.
void guardJob(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.script", e.what());
  } catch (...) {
    logLine(LogLevel::Error, "quillbay.script", "unknown error");
  }
}

/// Whether a file has other pages than one; what cannot be read has none.
bool holdsSeveral(const std::string& file) {
  try {
    return fio::exists(file) && CountRasterPages(file) > 1;
  } catch (const CXException& e) {
    logLine(LogLevel::Warning, "quillbay.script", e.what());
    return false;
  }
}

std::string withPage(const std::string& file, int page) {
  const std::string extension = fio::extensionOf(file);
  const std::string number = formatText(Supp_Translate("page %d"), {toText(std::int64_t{page})});
  return file.substr(0, file.size() - extension.size()) + " (" + number + ")" + extension;
}

ScriptStep fileStep(ScriptAction action, const char* name, const std::string& file) {
  ScriptStep step;
  step.action = action;
  step.name = name;
  step.file = file;
  return step;
}

}  // namespace

int CheckScript(IApp* app, const std::string& file, int mayRun, std::string* why) {
  try {
    const auto profile = query<IProfile>(app);
    const bool isAllowed = mayRun != 0 || (profile && programPolicyOf(profile.get()).allowed);
    for (const ScriptStep& step : compileScript(readScriptFile(file), file, file, nullptr)) {
      if (step.action == ScriptAction::Run && !isAllowed)
        throw CXException(file + ": " + programsNotAllowed(step.program.words.front()));
    }
    return 1;
  } catch (const CXException& e) {
    *why = e.what();
  }
  return 0;
}

CHostScriptSink::Aside CHostScriptSink::asideOf(int page, bool isSave) {
  HostPage held;
  Aside aside{page, {}, isSave, {}};
  if (pages()->GetPage(page, &held)) aside.name = held.file;
  // A program's pages may have names for a user until they are in a file.
  const auto given = held.saved ? m_given.end() : m_given.find(page);
  if (given != m_given.end()) aside.name = given->second;
  if (aside.name.empty()) {
    aside.name = formatText(Supp_Translate("page %d"), {toText(std::int64_t{page})});
    return aside;
  }
  // Pages that are not saved, and those of one file, are handed over with the same name.
  if (m_named.size() >= kMostNamed) m_named.clear();
  const auto first = m_named.try_emplace(aside.name, page).first;
  HostPage other;
  if (first->second != page && (held.multipage || pages()->GetPage(first->second, &other))) {
    aside.name = withPage(aside.name, page);
  } else {
    first->second = page;
  }
  return aside;
}

void CHostScriptSink::noteGiven(int page, const std::string& file) {
  if (m_given.size() >= kMostNamed) m_given.clear();
  if (!file.empty()) m_given[page] = file;
}

ScriptWorld CHostScriptSink::worldOf(const Aside& aside) const {
  ScriptWorld own = world();
  own.page = aside.page;
  own.pageName = aside.name;
  own.replaced = aside.replaced;
  if (!aside.isSave) own.isListed = [services = m_parts.services] { return services->listsFailures(); };
  return own;
}

bool CHostScriptSink::correctAside(const std::string& path, const Aside& aside) {
  if (path.empty()) {
    const std::string name = script_key::Autocorrect;
    return queueSource({"/" + name, {}, Supp_Translate(name)}, aside);
  }
  std::string text, why;
  try {
    return queueSource({readScriptFile(path), path, path}, aside);
  } catch (const CXFileException& e) {
    why = e.what();
  }
  ScriptRun(worldOf(aside), path, nullptr).refuse(path, why);
  m_unprocessed[aside.name] = aside.page;
  return false;
}

std::vector<ScriptStep> CHostScriptSink::compile(const Source& source) const {
  return compileScript(source.text, source.file, source.title, m_parts.syntax.get());
}

bool CHostScriptSink::queueSource(const Source& source, const Aside& aside) {
  std::string why;
  try {
    return queueSteps(compile(source), source.title, aside);
  } catch (const CXException& e) {
    why = e.what();
  }
  ScriptRun(worldOf(aside), source.title, nullptr).refuse(source.title, why);
  if (!aside.isSave) m_unprocessed[aside.name] = aside.page;
  return false;
}

bool CHostScriptSink::queueSteps(std::vector<ScriptStep> steps, const std::string& title, const Aside& aside) {
  CScriptQueue::Job job;
  job.page = aside.page;
  if (!aside.isSave) job.cancelled = std::make_shared<std::atomic<bool>>(false);
  const auto cancelled = job.cancelled ? job.cancelled : std::make_shared<std::atomic<bool>>(false);
  const ScriptWorld side =
      sideWorld(worldOf(aside), m_queue->calls(), cancelled, [queue = m_queue.get()] { queue->Cancel(); });
  job.work = [this, side, steps = std::move(steps), title, aside] {
    guardJob([&] {
      if (ScriptRun(side, title, nullptr).run(steps)) return;
      m_queue->calls().run([&] {
        if (m_unprocessed.size() >= kMostUnprocessed) m_unprocessed.clear();
        if (!aside.isSave && aside.page > 0) m_unprocessed[aside.name] = aside.page;
      });
    });
  };
  m_queue->add(std::move(job));
  return true;
}

/// The document's last page, to a file that grows by it.
void CHostScriptSink::queueAddPage(const std::string& file) {
  const int page = m_lastPage;
  const ScriptWorld side = sideWorld(world(), m_queue->calls(), std::make_shared<std::atomic<bool>>(false), [] {});
  CScriptQueue::Job job;
  job.page = page;
  job.work = [side, io = m_parts.io, page, file] {
    guardJob([&] {
      HostPage held;
      try {
        if (!side.pages->GetPage(page, &held))
          throw CXException(Supp_Translate("The page was closed before it could be saved."));
        appendPage(io.get(), file, held.raster.get());
        side.pages->NoteSaved(page, file);
        if (side.onSaved) side.onSaved(file);
      } catch (const CXException& e) {
        const auto parameters = new_MemParam();
        parameters->SetValue(script_key::Error, e.what());
        side.reports->FileFailed(file, parameters.get(), false);
        sayCannotWrite(side.events.get(), file, e.what());
      }
    });
  };
  m_queue->add(std::move(job));
}

/// A page that a script could not process, or a file with the extension of a picture.
bool CHostScriptSink::isPicture(const std::string& file) const {
  if (m_unprocessed.count(file) != 0) return true;
  const std::string extension = fio::extensionOf(file);
  const std::vector<FormatInfo> formats = ListFormats();
  return std::any_of(formats.begin(), formats.end(), [&](const FormatInfo& format) {
    return std::any_of(format.extensions.begin(), format.extensions.end(),
                       [&](const std::string& known) { return sameKey(known, extension); });
  });
}

/// Works on the page of the document again, and writes its file anew when it was saved; else on the file itself.
bool CHostScriptSink::processPicture(const std::string& file, IScriptRunner& runner) {
  const std::string path = correctionPath(nullptr, &runner);
  const auto known = m_unprocessed.find(file);
  HostPage held;
  if (known != m_unprocessed.end() && pages()->GetPage(known->second, &held)) {
    const int page = known->second;
    Aside save = asideOf(page, true);
    m_unprocessed.erase(known);
    if (!correctAside(path, asideOf(page, false))) return false;
    if (!held.saved) return true;
    if (holdsSeveral(held.file)) {
      m_parts.services->Log(formatText(
          Supp_Translate("%s has other pages and stays as it is; save the document when the page is done."),
          {held.file}));
      return true;
    }
    save.replaced = held.file;
    return queueSteps({fileStep(ScriptAction::SaveAs, "/SaveAs", held.file)}, file, save);
  }
  const std::string name = std::string("/") + script_key::Autocorrect;
  std::string why;
  try {
    if (known != m_unprocessed.end() && holdsSeveral(file)) {
      throw CXException(Supp_Translate(
          "the page was closed, and its file has other pages, which are done; open the file and run the script "
          "on this page"));
    }
    std::vector<ScriptStep> steps = compile(path.empty() ? Source{name, {}, Supp_Translate(script_key::Autocorrect)}
                                                         : Source{readScriptFile(path), path, path});
    for (ScriptStep& step : steps)
      step.ignored = step.ignored || step.action == ScriptAction::Open || step.action == ScriptAction::Close;
    steps.insert(steps.begin(), fileStep(ScriptAction::Open, "/Open", file));
    steps.push_back(fileStep(ScriptAction::SaveAs, "/SaveAs", file));
    steps.push_back(fileStep(ScriptAction::Close, "/Close", {}));
    const Aside aside{0, file, false, file};
    return queueSteps(std::move(steps), path.empty() ? Supp_Translate(script_key::Autocorrect) : path, aside);
  } catch (const CXException& e) {
    why = e.what();
  }
  const auto parameters = new_MemParam();
  parameters->SetValue(script_key::Error, why);
  m_parts.services->FileFailed(file, parameters.get(), false);
  return false;
}

}  // namespace quillbay
