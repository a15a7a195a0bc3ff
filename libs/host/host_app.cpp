#include "host/host_app.h"

#include <QApplication>
#include <sstream>

#include "core/folders.h"
#include "host/linear_unit.h"
#include "host/std_papers.h"
#include "platform/base_services.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

/// Stores the object's interface in `*out` when it is what is wanted.
template <class I, class Object>
bool answerWith(const std::type_info& wanted, const KxPtr<Object>& object, void** out) {
  if (wanted != typeid(I) || !object) return false;
  object->AddRef();
  *out = static_cast<I*>(object.get());
  return true;
}

LogLevel leastLevel(HostLog log) {
  switch (log) {
    case HostLog::Quiet: break;
    case HostLog::Warnings: return LogLevel::Warning;
    case HostLog::Info: return LogLevel::Info;
    case HostLog::Debug: return LogLevel::Debug;
  }
  return LogLevel::Error;
}

void dropLine(LogLevel, const char*, std::string_view) {}

HostOptions completed(HostOptions options) {
  if (options.modulePath.empty()) options.modulePath = QCoreApplication::applicationFilePath().toStdString();
  if (options.configFolder.empty()) options.configFolder = settingsFolder();
  if (options.stateFolder.empty()) options.stateFolder = stateFolder();
  return options;
}

/// What was found out of format modules, for a host that saves no settings; null for others, which save it there.
KxPtr<IProfile> keptAnswers(const HostOptions& options) {
  if (options.keepSettings) return {};
  const std::string path = fio::withDelimiter(options.stateFolder) + "formats.json";
  return KxPtr<IProfile>::adopt(new Profile(openStore(path, JsonStore::Mode::ReadWrite, {}), {}));
}

KxPtr<IParam> sectionOf(IProfile* profile, const char* name) {
  return KxPtr<IParam>::adopt(profile->GetSection(name, 0));
}

}  // namespace

CHostProfile::CHostProfile(const std::string& configFolder, const std::string& stateFolder, bool keep,
                           const StoreMessage& tell)
    : m_tell(tell) {
  const auto mode = keep ? JsonStore::Mode::ReadWrite : JsonStore::Mode::ReadOnly;
  m_profile = KxPtr<IProfile>::adopt(
      new Profile(openStore(fio::withDelimiter(configFolder) + "settings.json", mode, tell), tell));
  m_state = openStore(fio::withDelimiter(stateFolder) + "state.json", mode, tell);
}

CHostProfile::~CHostProfile() { saveState(); }

int CHostProfile::Flush() {
  const bool state = saveState();
  return m_profile->Flush() && state ? 1 : 0;
}

bool CHostProfile::saveState() {
  try {
    if (const auto damaged = m_state->save()) logLine(LogLevel::Warning, "quillbay.host", damaged->text());
    return true;
  } catch (const CXException& e) {
    // It may be lost: a line in the log is enough.
    logLine(LogLevel::Warning, "quillbay.host", e.what());
    return false;
  }
}

CHostApp::CHostApp(const HostOptions& options)
    : m_options(completed(options)),
      m_forwarder(KxPtr<CAppForwarder>::adopt(new CAppForwarder(this))),
      m_help(m_options.interactive ? KxPtr<CHostHelp>::adopt(new CHostHelp(m_options.showManual)) : nullptr),
      m_events(KxPtr<CHostEvents>::adopt(new CHostEvents(m_options, KxPtr<IHelp>::share(m_help.get())))),
      m_files(KxPtr<CHostFiles>::adopt(new CHostFiles(m_options.dataFolder, m_options.chooseFile))) {
  const auto tell = [events = m_events](const std::string& text) {
    events->Message(static_cast<int>(EventKind::Information), text.c_str(), 0, static_cast<int>(EventButtons::Ok));
  };
  m_profile = KxPtr<CHostProfile>::adopt(
      new CHostProfile(m_options.configFolder, m_options.stateFolder, m_options.keepSettings, tell));
  m_io = KxPtr<CIOParams>::adopt(new CIOParams(sectionOf(m_profile.get(), "Formats").get(), GetProductName()));
  m_formats = KxPtr<CFormatSettings>::adopt(
      new CFormatSettings(KxPtr<IProfile>::share(m_profile.get()), m_io, keptAnswers(m_options)));
  m_styles = new_HostStyles();
  m_tools = KxPtr<CToolsFactory>::adopt(new CToolsFactory(m_events.as<IEvents>()));
  m_toolParams = KxPtr<CParamProvider>::adopt(new CParamProvider(KxPtr<IProfile>::share(m_profile.get())));
  m_printWatch = KxPtr<CPrintWatch>::adopt(new CPrintWatch(m_events.as<IEvents>()));
  m_papers = new_StdPapers(sectionOf(m_profile.get(), "Papers").get());
  m_script = KxPtr<CHostScriptSink>::adopt(
      new CHostScriptSink({m_events, KxPtr<IApp>::share(m_forwarder.get()), KxPtr<IIOParams>::share(m_io.get()),
                           KxPtr<IProfile>::share(m_profile.get()), m_services, m_syntax},
                          m_options));
  RegisterApp(static_cast<IHostApp*>(this));
}

CHostApp::~CHostApp() {
  m_script->queue()->Finish();
  WithdrawApp(static_cast<IHostApp*>(this));
  m_forwarder->clear();
}

int CHostApp::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted == typeid(IApp)) {
    AddRef();
    *out = static_cast<IApp*>(static_cast<IHostApp*>(this));
    return 1;
  }
  if (m_registry->answer(wanted, out)) return 1;
  if (wanted == typeid(IScanManager)) return answerWith<IScanManager>(wanted, scanManager(), out) ? 1 : 0;
  if (wanted == typeid(IParam)) return answerWith<IParam>(wanted, m_profile->state(), out) ? 1 : 0;
  if (answerWith<IEvents>(wanted, m_events, out) || answerWith<IProfile>(wanted, m_profile, out) ||
      answerWith<IIOParams>(wanted, m_io, out) || answerWith<IFormatSettings>(wanted, m_formats, out) ||
      answerWith<IStyleManager>(wanted, m_styles, out) || answerWith<IToolsFactory>(wanted, m_tools, out) ||
      answerWith<IStdPapersParam>(wanted, m_papers, out) || answerWith<IScriptCmdSink>(wanted, m_script, out) ||
      answerWith<IScriptServices>(wanted, m_services, out) ||
      answerWith<IScriptQueue>(wanted, m_script ? m_script->queue() : KxPtr<CScriptQueue>{}, out) ||
      answerWith<IStdDirectories>(wanted, m_files, out) || answerWith<IParamProvider>(wanted, m_toolParams, out) ||
      answerWith<IPrintWatch>(wanted, m_printWatch, out) ||
      answerWith<IInterfaceRegistry>(wanted, m_registry, out) || answerWith<IHelp>(wanted, m_help, out)) {
    return 1;
  }
  const bool canAsk = m_options.interactive || m_options.chooseFile;
  if (canAsk && answerWith<IFileDialogs>(wanted, m_files, out)) return 1;
  return CKxUnknownImpl::QueryInterface(wanted, out);
}

std::string CHostApp::GetProductName() { return m_options.productName + " " + LibraryVersion(); }

std::uint32_t CHostApp::GetVersion() {
  unsigned major = 0, minor = 0;
  std::istringstream text(LibraryVersion());
  char dot = 0;
  text.imbue(std::locale::classic());
  text >> major >> dot >> minor;
  return (major & 0xFFFFU) | minor << 16U;
}

void CHostApp::SetRasterHandler(std::function<void(const HostDocument&)> handler) {
  m_script->setRasterHandler(std::move(handler));
}

int CHostApp::SetFormatOption(std::string_view format, std::string_view key, std::string_view value,
                              std::string* why) {
  return m_io->setOption(ListFormats(), format, key, value, why) ? 1 : 0;
}

int CHostApp::IsClosing() { return QCoreApplication::closingDown() ? 1 : 0; }

int CHostApp::ChooseScanner(IScanManager* manager, std::string* device) {
  if (!manager || !device) return 0;
  return m_options.chooseScanner && m_options.chooseScanner(manager, device) ? 1 : 0;
}

IParam* CHostApp::GetSyntax() { return KxPtr<IParam>(m_syntax).detach(); }

KxPtr<IScanManager> CHostApp::scanManager() {
  if (m_manager) return m_manager;
  m_manager = new_IScanManagerEx(m_forwarder.get(), m_options.watchesScanner ? 1 | 2 : 1);
  const auto settings = KxPtr<IParam>::adopt(m_profile->state()->GetSubStore(section_name::ScannerSource, 1));
  m_manager->Initialise(fio::folderOf(m_options.modulePath), settings.get(), 0);
  return m_manager;
}

KxPtr<IHostApp> New_HostApp(const HostOptions& options) {
  setLogSink(options.log == HostLog::Quiet ? dropLine : nullptr, leastLevel(options.log));
  Folders folders;
  folders.settings = options.configFolder;
  folders.state = options.stateFolder;
  setFolders(folders);
  return KxPtr<IHostApp>::adopt(new CHostApp(options));
}

}  // namespace quillbay
