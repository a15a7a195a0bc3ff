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
constexpr const char* kAutocorrect = "Autocorrect";
constexpr qint64 kMostScriptBytes = 16 << 20;

/// Adds `raster` to a file as its next page.
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

std::string readScript(const std::string& path) {
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

}  // namespace

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
  } else if (sameKey(name, kAutocorrect)) {
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

ScriptWorld CHostScriptSink::world() const { return {pages(), events(), m_parts.app, m_parts.services, m_onSaved}; }

bool CHostScriptSink::clearRasters(IParam* arguments) {
  // No page comes after a preview or a connection; the pages of a multi-page document are kept.
  const bool noPageComes = paramInt(arguments, script_key::Prescan) || paramInt(arguments, script_key::Connect);
  if (m_clear == ClearPolicy::Keep || noPageComes || paramInt(arguments, script_key::MultiPage)) return true;
  const auto held = pages();
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
  if (m_onRaster) m_onRaster(m_programPages ? HostDocument{page.file, {page.raster}, false} : documents().back());
  return true;
}

bool CHostScriptSink::addPage(IParam* arguments) {
  const std::string file = paramString(arguments, script_key::FileName);
  const auto held = pages();
  HostPage page;
  if (file.empty() || !held->GetPage(m_lastPage, &page)) return false;
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
  if (text.empty()) return runFile(paramString(arguments, script_key::FileName), arguments);
  return runText(text, {}, paramString(arguments, script_key::Title, Supp_Translate("command")), arguments);
}

bool CHostScriptSink::autocorrect(IParam* arguments) {
  std::string path = paramString(arguments, script_key::FileName);
  if (path.empty()) {
    const auto scripts = KxPtr<IParam>::adopt(m_parts.profile->GetSection("Scripts", 0));
    path = paramString(scripts.get(), kAutocorrect);
  }
  if (!path.empty()) return runFile(fio::expandHome(path), arguments);
  return runText(std::string("/") + kAutocorrect, {}, Supp_Translate(kAutocorrect), arguments);
}

bool CHostScriptSink::runFile(const std::string& path, IParam* arguments) {
  try {
    return runText(readScript(path), path, path, arguments);
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
