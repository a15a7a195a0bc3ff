#include "host/script_sink.h"

#include <QFile>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/host_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

constexpr int kYesNo = static_cast<int>(EventButtons::YesNo);
constexpr int kQuestion = static_cast<int>(EventKind::Question);
constexpr int kYes = static_cast<int>(EventAnswer::Yes);
constexpr qint64 kMostScriptBytes = 16 << 20;

}  // namespace

void appendPage(IIOParams* io, const std::string& file, IRStor* raster) {
  const auto channel = new_FileChanel(io, file, nullptr, nullptr);
  const auto save = channel.as<IKxRasterSavePagedChanel>();
  if (!save)
    throw CXFileException(
        formatText(Supp_Translate("%s: this format cannot store this page; choose another one."), {file}), file);
  if (!save->AcceptColorSpace(raster->GetColorSpace())) {
    throw CXFileException(
        formatText(Supp_Translate("%s: this format cannot store these colours; choose another format or "
                                  "another scan mode."),
                   {file}),
        file);
  }
  PageTarget target;
  target.path = file;
  target.joinsPart = target.addsToFile = true;
  target.expectedLines = raster->GetHeight();
  channel->SetTarget(target);
  if (!save->Save(raster, nullptr))
    throw CXFileException(formatText(Supp_Translate("%s: the page was cancelled."), {file}), file);
  channel->Commit();
}

std::string readScriptFile(const std::string& path) {
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    throw CXFileException(
        formatText(Supp_Translate("The script %s cannot be read: %s."), {path, file.errorString().toStdString()}),
        path);
  }
  if (file.size() > kMostScriptBytes) {
    throw CXFileException(formatText(Supp_Translate("%s is too long for a script."), {path}), path);
  }
  return file.readAll().toStdString();
}

CHostScriptSink::CHostScriptSink(Parts parts, const HostOptions& options)
    : m_parts(std::move(parts)),
      m_onSaved(options.onSaved),
      m_programs{options.allowPrograms},
      m_clear(options.clear) {
  m_ownPages->setKept([queue = m_queue.get()](int id) { return queue->holds(id); });
}

void CHostScriptSink::setPages(IHostPages* pages) {
  m_queue->Finish();
  m_programPages = KxPtr<IHostPages>::share(pages);
}

int CHostScriptSink::ExecCommand(const char* command, IParam* arguments) {
  const std::string name = command ? command : "";
  bool done = false;
  if (sameKey(name, script_key::ClearAllRasters)) {
    done = clearRasters(arguments);
  } else if (sameKey(name, script_key::AddRaster)) {
    done = addRaster(arguments);
  } else if (sameKey(name, script_key::AddPage)) {
    done = addPage(arguments);
  } else if (sameKey(name, script_key::Process)) {
    done = paramInt(arguments, kIgnoreCommand) || processScript(arguments);
  } else if (sameKey(name, script_key::Autocorrect)) {
    done = paramInt(arguments, kIgnoreCommand) || autocorrect(arguments);
  } else if (sameKey(name, script_key::Kill)) {
    done = !m_onClose || m_onClose();
  } else {
    logLine(LogLevel::Warning, "quillbay.host", "unknown script command " + name);
  }
  return done ? 0 : 1;
}

KxPtr<IHostPages> CHostScriptSink::pages() const {
  return m_programPages ? m_programPages : KxPtr<IHostPages>::share(m_ownPages.get());
}

KxPtr<IEvents> CHostScriptSink::events() const {
  auto registered = query<IEvents>(m_parts.app.get());
  return registered ? registered : KxPtr<IEvents>::share(m_parts.events.get());
}

ScriptWorld CHostScriptSink::world() const {
  ScriptWorld world{pages(), events(), m_parts.app, m_parts.services.as<IScriptReports>(), m_onSaved};
  world.programs = programPolicyOf(m_parts.profile.get());
  world.programs.allowed = world.programs.allowed || m_programs.allowed;
  return world;
}

bool CHostScriptSink::clearRasters(IParam* arguments) {
  // No page comes after a preview or a connection; the pages of a multi-page document are kept.
  const bool noPageComes = paramInt(arguments, script_key::Prescan) || paramInt(arguments, script_key::Connect);
  if (m_clear == ClearPolicy::Keep || noPageComes || paramInt(arguments, script_key::MultiPage)) return true;
  const auto held = pages();
  if (m_programPages && m_queue->Count() > 0) return true;  // some of them are worked on
  if (m_clear == ClearPolicy::Discard) {
    held->Clear(m_parts.events->interactive() ? 0 : 1);
    return true;
  }
  if (paramInt(arguments, script_key::BatchScan)) return true;  // no questions during a batch
  if (held->CountUnsaved() > 0) {
    const std::string text =
        Supp_Translate("Some scanned pages are not saved. Discard them?$QBHelp:IDH_DiscardPages$");
    if (events()->Message(kQuestion, text.c_str(), kMessageForUser, kYesNo) != kYes) return false;
  }
  held->Clear(1);
  return true;
}

bool CHostScriptSink::addRaster(IParam* arguments) {
  const CKxVariant value = paramValue(arguments, script_key::Raster);
  const auto* object = value.get<KxPtr<IKxUnknown>>();
  HostPage page;
  page.raster = object ? object->as<IRStor>() : KxPtr<IRStor>{};
  if (!page.raster) return false;
  page.file = paramString(arguments, script_key::FileName);
  page.multipage = paramInt(arguments, script_key::MultiPage) != 0;
  page.batch = paramInt(arguments, script_key::BatchScan) != 0;
  const int id = pages()->Add(page);
  if (id <= 0) return false;
  m_lastPage = id;
  noteGiven(id, page.file);
  if (m_onRaster) m_onRaster(m_programPages ? HostDocument{page.file, {page.raster}, false} : documents().back());
  return true;
}

bool CHostScriptSink::addPage(IParam* arguments) {
  const std::string file = paramString(arguments, script_key::FileName);
  const auto held = pages();
  HostPage page;
  if (file.empty() || !held->GetPage(m_lastPage, &page)) return false;
  // Also one that no script works on keeps its place after those before it.
  if (m_queue->Count() > 0) return queueAddPage(file), true;
  try {
    appendPage(m_parts.io.get(), file, page.raster.get());
  } catch (const CXException& e) {
    sayCannotWrite(events().get(), file, e.what());
    return false;
  }
  held->NoteSaved(m_lastPage, file);
  if (m_onSaved) m_onSaved(file);
  return true;
}

bool CHostScriptSink::processScript(IParam* arguments) {
  const std::string text = paramString(arguments, script_key::Text);
  if (!text.empty())
    return runText(text, {}, paramString(arguments, script_key::Title, Supp_Translate("command")), arguments);
  const std::string file = paramString(arguments, script_key::FileName);
  const auto runner = m_parts.services->runner();
  if (runner && isPicture(file)) return processPicture(file, *runner);
  // The panel saves the page that a script still works on.
  const int page = pages()->GetCurrent();
  if (!paramInt(arguments, script_key::KeepWindow) || !m_queue->holds(page)) return runFile(file, arguments);
  try {
    return queueSource({readScriptFile(file), file, file}, asideOf(page, true));
  } catch (const CXFileException& e) {
    ScriptRun(world(), file, arguments).refuse(file, e.what());
  }
  return false;
}

std::string CHostScriptSink::correctionPath(IParam* arguments, IScriptRunner* runner) const {
  std::string path = paramString(arguments, script_key::FileName);
  if (path.empty() && runner) path = runner->GetScript();
  if (path.empty()) {
    const auto scripts = KxPtr<IParam>::adopt(m_parts.profile->GetSection(section_name::Scripts, 0));
    path = paramString(scripts.get(), script_key::Autocorrect);
  }
  return path.empty() ? path : fio::expandHome(path);
}

bool CHostScriptSink::autocorrect(IParam* arguments) {
  const auto runner = arguments ? KxPtr<IScriptRunner>{} : m_parts.services->runner();
  const std::string path = correctionPath(arguments, runner.get());
  if (runner) return correctAside(path, asideOf(pages()->GetCurrent(), false));
  if (!path.empty()) return runFile(path, arguments);
  return runText(std::string("/") + script_key::Autocorrect, {}, Supp_Translate(script_key::Autocorrect),
                 arguments);
}

bool CHostScriptSink::runFile(const std::string& path, IParam* arguments) {
  try {
    return runText(readScriptFile(path), path, path, arguments);
  } catch (const CXFileException& e) {
    ScriptRun(world(), path, arguments).refuse(path, e.what());
  }
  return false;
}

bool CHostScriptSink::runText(const std::string& text, const std::string& file, const std::string& title,
                              IParam* arguments) {
  ScriptRun run(world(), title, arguments);
  std::vector<ScriptStep> steps;
  try {
    steps = compileScript(text, file, title, m_parts.syntax.get());
  } catch (const CXException& e) {
    run.refuse(title, e.what());
    return false;
  }
  return run.run(steps);
}

}  // namespace quillbay
