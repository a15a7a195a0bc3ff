/// The pages of the Scan To Net panel: before and after.
#include <limits>
#include <utility>

#include "destinations/name_fields.h"
#include "destinations/output_file.h"
#include "destinations/part_publisher.h"
#include "destinations/scan_to_net.h"
#include "destinations/store_finish.h"
#include "platform/base_services.h"
#include "platform/log_category.h"
#include "quillbay/scan_keys.h"
#include "ui_scan_to_net.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {
/// How long the end of a page waits for its hand-off, which takes a moment where the folder is at hand. A longer
/// one goes on beside the next page.
constexpr int kHandOffWaitMs = 500;
}  // namespace

RunOutput& CScanToNet::output() {
  if (!m_output) m_output = std::make_unique<RunOutput>();
  return *m_output;
}

void CScanToNet::installStore() { m_params.destinationStore = m_context.makeStore(ScanToNet); }

PageDraft CScanToNet::draft(bool isLast) const {
  PageDraft draft = m_output ? m_output->draft() : PageDraft{};
  const auto moment = draft.names.moment;
  draft.names = makeNameContext(m_params);
  if (moment != 0) draft.names.moment = moment;
  draft.isLast = isLast;
  draft.isTaken = [spool = m_spool](const std::string& name) {
    const auto taken = std::make_shared<bool>(false);
    const bool answered = runWithin(kHotFolderLimitMs, [=] { *taken = netNameTest(spool)(name); });
    return answered ? *taken : spool->holds(name);
  };
  draft.place = [spool = m_spool, id = m_staged, to = target({}, false)](const std::string& name) {
    HandOff placed = to;
    placed.file = name;
    return spool->place(id, placed);
  };
  return draft;
}

HandOff CScanToNet::target(const std::string& file, bool mayReplace) const {
  HandOff to;
  to.file = file;
  to.hotFolder = fio::withDelimiter(fio::expandHome(m_params.values().dir));
  to.mayReplace = mayReplace;
  const NetClient* chosen = client();
  if (!chosen) return to;
  to.client = chosen->path;
  if (chosen->hotFolder == to.hotFolder) to.mountPoint = chosen->mountPoint;
  return to;
}

int CScanToNet::BeginScan() {
  const ScanValues& v = m_params.values();
  if (v.dir.empty() || v.mask.empty()) {
    tell(loadString(kTextMaskEmpty));
    return 0;
  }
  output().preparePage();
  const bool joins = v.multiPage && !output().joinPart().empty();
  if (joins)
    m_params.quiet().outputFile = m_runFile;
  else if (!prepareFile())
    return 0;
  refreshNextName();
  if (m_masks.add(v.mask)) fillHistoryCombo(m_form->mask, m_masks);
  installStore();
  return 1;
}

bool CScanToNet::prepareFile() {
  if (!prepareName()) {
    refreshNextName();
    return false;
  }
  ScanValues here = m_params.values();
  here.outputFile = m_spool->folder() + "/";
  const auto space = [this](const std::string&) { return m_spool->freeBytes(); };
  const bool asks = isInteractive() && !here.batch;
  return checkSpace(here, events().get(), asks, space) && stagePage();
}

/// The name by the rule for existing files. False when the user was told why there is none.
bool CScanToNet::prepareName() {
  const NameContext context = makeNameContext(m_params);
  const auto host = events();
  const NetName found = findNetName(context, target({}, false).mountPoint, m_spool);
  const OutputName& name = found.name;
  m_params.quiet().outputFile = name.path;
  // A folder that is away takes the page later; one that refuses it does so later as well.
  if (found.folder.fate == HotFolderState::Refuses) {
    signalCannotWrite(host.get(), name.path,
                      formatText(Supp_Translate("The hot folder %s cannot take the page: %s"),
                                 {m_params.values().dir, found.folder.why}));
    return false;
  }
  const bool asks = name.refused && name.exists;
  if (name.refused && !asks) {
    signalCannotWrite(host.get(), name.path, name.why);
    return false;
  }
  if (asks && !mayOverwrite(host.get(), name.path)) return false;
  m_params.setIfChanged(scan_key::Counter, name.counter);
  m_params.setIfChanged(scan_key::UseAutoCounter, name.useAutoCounter);
  m_params.quiet().outputFile = name.path;
  PageDraft& draft = output().draft();
  draft.names.moment = context.moment;
  const ScanValues& v = m_params.values();
  draft.mayReplace = !v.multiPage && (asks || v.fileFate == kFateOverwrite);
  return true;
}

bool CScanToNet::stagePage() {
  discardStaged();
  try {
    m_staged = m_spool->stage();
    return true;
  } catch (const CXException& e) {
    signalCannotWrite(events().get(), m_params.values().outputFile, e.what());
    return false;
  }
}

void CScanToNet::discardStaged() {
  if (!m_staged.empty()) m_spool->discard(std::exchange(m_staged, {}));
  m_runFile.clear();
}

void CScanToNet::pageStarted(const NamedPage& page) {
  output().startPage(page);
  if (!page.refused.empty()) return;
  ScanValues& v = m_params.quiet();
  v.outputFile = page.file();
  v.counter = page.names.values.counter;
  v.useAutoCounter = page.names.values.useAutoCounter;
}

int CScanToNet::EndScan(int cancelled) {
  m_endedFile.clear();
  m_endedIsThere = false;
  const int answer = cancelled ? cancelPage() : finishPage();
  output().endPage();
  refreshNextName();  // however the page ended: its start may have moved the counter without a word
  return answer;
}

int CScanToNet::cancelPage() {
  if (m_params.destinationStore) m_params.destinationStore->Reset();
  // The pages before it in a multi-page file stay.
  if (m_runFile.empty()) discardStaged();
  installStore();
  return 1;
}

int CScanToNet::finishPage() {
  // Kept here: what the page's end sets off may put another store into the slot.
  const KxPtr<ISStripStor> store = m_params.destinationStore;
  const PageTarget page = output().target();
  const std::string name = m_params.values().outputFile;
  const std::string error = finishFileStore(store, page.leastLines, name);
  if (!error.empty()) {
    store->Reset();  // the error is told once
    if (m_runFile.empty()) discardStaged();
    tell(error);
    return 0;
  }
  const bool hasClient = client() != nullptr;
  m_endedFile = name;
  if (page.joinsPart && !page.isLast) {
    m_runFile = name;
    output().addToPart();
  } else {
    if (page.joinsPart) output().forgetPart();
    if (!handOff(page.path, page.mayReplace)) return 0;
  }
  if (!hasClient) {
    tell(formatText(Supp_Translate("No client is chosen: %s was put into the hot folder for nobody."), {name}));
    return 0;
  }
  advanceCounter();
  return 1;
}

bool CScanToNet::handOff(const std::string& file, bool mayReplace) {
  const std::string name = m_runFile.empty() ? m_params.values().outputFile : std::exchange(m_runFile, {});
  const std::string id = m_staged;
  try {
    m_spool->enqueue(id, file, target(name, mayReplace));
    m_staged.clear();
  } catch (const CXException& e) {
    // Complete, and no longer this panel's to delete: it joins the queue when the next program starts.
    m_staged.clear();
    tell(formatText(Supp_Translate("%s was scanned, and waits in %s. It could not be put into the queue now: %s"),
                    {name, file, e.what()}));
    return false;
  }
  const std::string got = m_spool->waitFor(id, kHandOffWaitMs);
  m_endedIsThere = !got.empty();
  m_endedFile = got.empty() ? name : got;
  if (m_endedIsThere)
    m_params.quiet().outputFile = got;
  else
    tellIfItWaits();
  showQueue();
  return true;
}

/// Once while the folder is away. The panel shows it all the time; a message would hold up a batch.
void CScanToNet::tellIfItWaits() {
  const std::vector<NetPage> pages = m_queue->GetPages();
  const std::string text = queueText(pages);
  if (text.empty() || pages.front().why.empty() || pages.front().why == m_toldWhy) return;
  m_toldWhy = pages.front().why;
  const std::string line =
      text + ". " +
      formatText(Supp_Translate("Pages that wait are kept in %s, and sent when the folder is back."),
                 {m_spool->folder()});
  if (!isInteractive()) return tell(line);
  logLine(LogLevel::Warning, kStoreLog, line);
  if (const auto host = events()) host->Note(kStoreLog, line.c_str());
}

bool CScanToNet::endedPage(std::string* file, bool* published) const {
  *file = m_endedFile;
  *published = m_endedIsThere;
  return true;
}

RunFile CScanToNet::endRun() {
  const std::unique_ptr<RunOutput> ended = std::move(m_output);
  if (!ended) return {};
  std::string why;
  const std::string name = m_runFile;
  RunFile file = ended->publishPart(events().get(), &why);
  if (!why.empty()) {
    m_staged.clear();  // the user was told where its pages are
    m_runFile.clear();
    tell(why);
  }
  if (file.fate != RunFile::Fate::Published) {
    discardStaged();  // of a page that never came
    return file;
  }
  if (!handOff(file.file, false)) return {RunFile::Fate::Failed, file.file, file.pages};
  file.file = m_endedFile.empty() ? name : m_endedFile;
  return file;
}

void CScanToNet::advanceCounter() {
  const std::int32_t counter = m_params.values().counter;
  if (counter < std::numeric_limits<std::int32_t>::max()) m_params.set(scan_key::Counter, counter + 1);
}

}  // namespace quillbay
