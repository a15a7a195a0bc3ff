#include "destinations/output_file.h"

#include "destinations/disk_space.h"
#include "destinations/file_names.h"
#include "destinations/part_publisher.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/log_category.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

/// False, after event 9, when a running program writes the file.
bool setAsideLeftover(IEvents* events, const std::string& path) {
  try {
    const std::string aside = SetAsideLeftover(path);
    if (aside.empty()) return true;
    const std::string text =
        formatText(Supp_Translate("A scan of %s was interrupted earlier. What it had finished was kept as "
                                  "%s.$QBHelp:IDH_Recovering$"),
                   {path, aside});
    logLine(LogLevel::Warning, kStoreLog, splitEventText(text).text);
    if (!events) return true;
    events->Subject(aside.c_str(), nullptr);
    events->Message(static_cast<int>(EventKind::Information), text.c_str(), 0, static_cast<int>(EventButtons::Ok));
    return true;
  } catch (const CXException& e) {
    signalCannotWrite(events, path, e.what());
    return false;
  }
}

/// Asks what to do about little space: true looks again, false gives the page up.
bool retriesSpace(IEvents* events, const SpaceVerdict& verdict) {
  const std::string advice = verdict.fate == SpaceVerdict::Full
                                 ? Supp_Translate("Retry looks again, Cancel stops.")
                                 : Supp_Translate(
                                       "Retry looks again and scans, also when there is still too little; "
                                       "Cancel stops.");
  const std::string text = verdict.text + '\n' + advice;
  logLine(LogLevel::Warning, kStoreLog, verdict.text);
  return events->Message(static_cast<int>(EventKind::Retry), text.c_str(), 0,
                         static_cast<int>(EventButtons::RetryCancel)) == static_cast<int>(EventAnswer::Retry);
}

/// Takes over what the rule gave, with the broadcasts of what changed.
void adopt(CSharedScanParams& params, const OutputName& name) {
  params.setIfChanged(scan_key::Counter, name.counter);
  params.setIfChanged(scan_key::UseAutoCounter, name.useAutoCounter);
  params.quiet().outputFile = name.path;
}

}  // namespace

void signalCannotWrite(IEvents* events, const std::string& path, const std::string& cause) {
  logLine(LogLevel::Error, kStoreLog, cause);
  if (!events) return;
  events->Subject(path.c_str(), cause.c_str());
  events->Event(kEventCannotWrite, nullptr, static_cast<int>(EventButtons::Ok));
}

bool checkWritable(IEvents* events, const std::string& path) {
  try {
    fio::createFolder(fio::folderOf(path));
    fio::testWritable(path);
    return true;
  } catch (const CXException& e) {
    signalCannotWrite(events, path, e.what());
    return false;
  }
}

int PrepareOutputFile(CSharedScanParams& params, IEvents* events, PageDraft* draft,
                      const std::set<std::string>& pending) {
  const NameContext context = makeNameContext(params);
  const OutputName name =
      applyExistsRule(context, [&](const std::string& path) { return pending.count(path) || fio::exists(path); });
  const bool asks = name.refused && name.exists;
  params.quiet().outputFile = name.path;
  if (name.refused && !asks) {
    signalCannotWrite(events, name.path, name.why);
    return 0;
  }
  if (!checkWritable(events, name.path)) return 0;
  if (asks && !mayOverwrite(events, name.path)) return 0;
  adopt(params, name);
  if (!pending.count(name.path) && !setAsideLeftover(events, name.path)) return 0;
  draft->names.moment = context.moment;
  draft->addsToFile = params.values().multiPage && name.exists;
  draft->mayReplace = !params.values().multiPage && (asks || params.values().fileFate == kFateOverwrite);
  return 1;
}

bool checkSpace(const ScanValues& values, IEvents* events, bool interactive, const SpaceTest& space) {
  const std::string folder = fio::folderOf(values.outputFile);
  for (bool again = false;; again = true) {
    const SpaceVerdict verdict =
        judgeSpace(folder, space ? space(folder) : fio::freeSpace(folder), expectedBytes(values));
    if (verdict.fate == SpaceVerdict::Enough) return true;
    const bool full = verdict.fate == SpaceVerdict::Full;
    if (events && interactive && (full || !again)) {
      if (retriesSpace(events, verdict)) continue;
      return false;
    }
    if (full) {
      signalCannotWrite(events, values.outputFile, verdict.text);
      return false;
    }
    logLine(LogLevel::Warning, kStoreLog, verdict.text);
    if (events) events->Note(kStoreLog, verdict.text.c_str());
    return true;
  }
}

}  // namespace quillbay
