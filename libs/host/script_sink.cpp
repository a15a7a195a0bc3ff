#include "host/script_sink.h"

#include <QFile>
#include <algorithm>

#include "host/script_text.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"

namespace quillbay {
namespace {

constexpr const char* kOverwriteQuestion = "File %s already exists. Overwrite?$QBHelp:IDH_QB_OverWrite$";
constexpr int kYesNo = static_cast<int>(EventButtons::YesNo);
constexpr int kQuestion = static_cast<int>(EventKind::Question);
constexpr int kYes = static_cast<int>(EventAnswer::Yes);

/// Writes `raster` through a channel as a page of its own (`Chanel` is the saving interface that is needed).
template <class Chanel>
void writeRaster(IIOParams* io, const std::string& file, IRStor* raster, bool mayReplace) {
  const auto channel = new_FileChanel(io, file, nullptr, nullptr);
  const auto save = channel.as<Chanel>();
  if (!save)
    throw CXFileException(formatText("%s: this format takes no such page; choose another one.", {file}), file);
  if (!save->AcceptColorSpace(raster->GetColorSpace())) {
    throw CXFileException(
        formatText("%s: this format takes no pages of this kind of colour; choose another format or "
                   "another scan mode.",
                   {file}),
        file);
  }
  channel->SetExpectedLines(raster->GetHeight());
  channel->SetMayReplace(mayReplace);
  if (!save->Save(raster, nullptr)) throw CXFileException(formatText("%s: the page was given up.", {file}), file);
  channel->Commit();
}

std::string readScript(const std::string& path) {
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    throw CXFileException(formatText("The script %s cannot be read: %s.", {path, file.errorString().toStdString()}),
                          path);
  }
  return file.readAll().toStdString();
}

}  // namespace

int CHostScriptSink::ExecCommand(const char* command, IParam* arguments) {
  const std::string name = command ? command : "";
  bool done = false;
  if (sameKey(name, "IntClearAllRasters")) {
    done = clearRasters(arguments);
  } else if (sameKey(name, "IntAddRaster")) {
    done = addRaster(arguments);
  } else if (sameKey(name, "IntAddPage")) {
    done = addPage(arguments);
  } else if (sameKey(name, "ProcessScript")) {
    done = processScript(arguments);
  } else if (sameKey(name, "KillCommand")) {
    done = !m_onClose || m_onClose();
  } else {
    logLine(LogLevel::Warning, "quillbay.host", "unknown script command " + name);
  }
  return done ? 0 : 1;
}

bool CHostScriptSink::clearRasters(IParam* arguments) {
  if (m_clear == ClearPolicy::Keep) return true;
  const bool unsaved = std::any_of(m_documents.begin(), m_documents.end(), [](const auto& d) { return !d.saved; });
  // In the middle of a batch or of a preview nobody shall be asked.
  const bool busy = m_batch || paramInt(arguments, "BatchScan") || paramInt(arguments, "Prescan");
  if (m_clear == ClearPolicy::Ask && unsaved) {
    if (busy) return true;
    const std::string text =
        Supp_Translate("Some scanned pages are not saved. Discard them?$QBHelp:IDH_DiscardPages$");
    if (m_events->Message(kQuestion, text.c_str(), 0, kYesNo) != kYes) return false;
  }
  if (!paramInt(arguments, "Multipage")) m_documents.clear();
  return true;
}

bool CHostScriptSink::addRaster(IParam* arguments) {
  const CKxVariant value = paramValue(arguments, "RStor");
  const auto* object = value.get<KxPtr<IKxUnknown>>();
  const auto raster = object ? object->as<IRStor>() : KxPtr<IRStor>{};
  if (!raster) return false;
  const bool multi = paramInt(arguments, "Multipage") != 0;
  m_batch = paramInt(arguments, "BatchScan") != 0;
  const std::string file = paramString(arguments, "FileName");
  if (!multi || m_documents.empty()) m_documents.emplace_back();
  HostDocument& document = m_documents.back();
  document.file = file;
  document.pages.push_back(raster);
  document.saved = false;
  if (m_onRaster) m_onRaster(document);
  return true;
}

bool CHostScriptSink::guarded(const std::string& file, const std::function<bool()>& step) {
  try {
    return step();
  } catch (const CXFileException& e) {
    sayCannotWrite(m_events.get(), e.path().empty() ? file : e.path(), e.what());
  } catch (const CXException& e) {
    sayCannotWrite(m_events.get(), file, e.what());
  }
  return false;
}

bool CHostScriptSink::addPage(IParam* arguments) {
  const std::string file = paramString(arguments, "FileName");
  if (m_documents.empty() || file.empty()) return false;
  HostDocument& document = m_documents.back();
  return guarded(file, [&] {
    writeRaster<IKxRasterSavePagedChanel>(m_io.get(), file, document.pages.back().get(), false);
    saved(document, file);
    return true;
  });
}

void CHostScriptSink::saved(HostDocument& document, const std::string& file) {
  document.saved = true;
  if (m_onSaved) m_onSaved(file);
}

bool CHostScriptSink::mayReplace(const std::string& file) {
  if (!fio::exists(file)) return true;
  const std::string text = formatText(Supp_Translate(kOverwriteQuestion), {file});
  return m_events->Message(kQuestion, text.c_str(), 0, kYesNo) == kYes;
}

bool CHostScriptSink::saveAs(const std::string& file) {
  if (file.empty() || m_documents.empty()) return false;
  const bool replace = fio::exists(file);
  if (!mayReplace(file)) return false;
  HostDocument& document = m_documents.back();
  writeRaster<IKxRasterSaveFileChanel>(m_io.get(), file, document.pages.back().get(), replace);
  saved(document, file);
  return true;
}

bool CHostScriptSink::processScript(IParam* arguments) {
  const std::string path = paramString(arguments, "FileName");
  return guarded(path, [&] {
    for (const ScriptCommand& command : parseScript(readScript(path), path)) {
      bool done = false;
      if (sameKey(command.name, "/SaveAs")) {
        done = guarded(command.argument("FNAME"), [&] { return saveAs(command.argument("FNAME")); });
      } else {
        logLine(LogLevel::Warning, "quillbay.host",
                formatText("%s, line %d: unknown command %s.", {path, std::to_string(command.line), command.name}));
      }
      // A script may mark a command whose failure does not end it.
      if (!done && command.argument("_ignore_command_") != "1") return false;
    }
    return true;
  });
}

}  // namespace quillbay
