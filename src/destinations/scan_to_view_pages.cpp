/// The pages of the Scan To File and Scan To View panel: before, after, and saving.
#include <limits>
#include <tuple>

#include "destinations/batch_script.h"
#include "destinations/file_names.h"
#include "destinations/output_file.h"
#include "destinations/part_publisher.h"
#include "destinations/scan_to_view.h"
#include "destinations/store_finish.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "quillbay/script_services.h"
#include "widgets/string_table.h"

namespace quillbay {

RunOutput& CScanToView::output() {
  if (!m_output) m_output = std::make_unique<RunOutput>();
  return *m_output;
}

void CScanToView::installStore() { m_params.destinationStore = m_context.makeStore(m_mode); }

/// In a batch the panel saves the pages, whatever the user's script does with files.
void CScanToView::suppressCommands() {
  const bool suppresses = m_mode == ScanToView && m_params.values().batch;
  if (!suppresses) {
    m_suppressed = nullptr;
  } else if (!m_suppressed) {
    m_suppressed = std::make_unique<CommandSuppression>(m_params.app());
  }
}

int CScanToView::BeginScan() {
  suppressCommands();
  output().preparePage();
  if (!m_useFileOut) {
    m_params.quiet().outputFile.clear();  // no file: the rule for existing ones refuses nothing
  } else if (!prepareFile()) {
    return 0;
  }
  installStore();
  return 1;
}

/// A host that works aside may not have written the pages before this one yet. The rule for existing files has to
/// find them when this one would get the name of one: a mask without a counter does that.
const std::set<std::string>& CScanToView::pendingSaves() {
  const auto queue = m_pendingSaves.empty() ? KxPtr<IScriptQueue>{} : query<IScriptQueue>(m_params.app());
  if (!queue || queue->Count() == 0) m_pendingSaves.clear();
  return m_pendingSaves;
}

bool CScanToView::prepareFile() {
  const ScanValues& v = m_params.values();
  if (v.dir.empty() || v.mask.empty()) {
    tell(loadString(kTextMaskEmpty));
    return false;
  }
  const auto host = events();
  const std::string part = v.multiPage ? output().joinPart() : std::string();
  if (!part.empty()) {
    m_params.quiet().outputFile = part;
  } else {
    PageDraft draft = output().draft();  // a copy: the run may end while a question is shown
    if (!PrepareOutputFile(m_params, host.get(), &draft, std::set(pendingSaves()))) {
      refreshNextName();
      return false;
    }
    output().draft() = std::move(draft);
  }
  refreshNextName();
  if (!checkSpace(v, host.get(), isInteractive() && !v.batch)) return false;
  remember();
  return true;
}

void CScanToView::pageStarted(const NamedPage& page) {
  output().startPage(page);
  if (!page.refused.empty()) return;
  ScanValues& v = m_params.quiet();
  v.outputFile = page.target.path;
  v.counter = page.names.values.counter;
  v.useAutoCounter = page.names.values.useAutoCounter;
}

int CScanToView::EndScan(int cancelled) {
  const int answer = endPage(cancelled != 0);
  output().endPage();
  refreshNextName();  // however the page ended: its start may have moved the counter without a word
  return answer;
}

int CScanToView::endPage(bool cancelled) {
  if (cancelled) {
    if (m_params.destinationStore) m_params.destinationStore->Reset();
    installStore();
    return 0;
  }
  // Kept here: what the page's end sets off may put another store into the slot.
  const KxPtr<ISStripStor> store = m_params.destinationStore;
  if (m_mode != ScanToView) return finishFile(store);
  KxPtr<IRStor> raster;
  try {
    const WaitCursor wait;
    store->Finish(raster.put(), output().target().leastLines, 1);
  } catch (const CXException& e) {
    tell(e.what());
    return 0;
  }
  const auto outcome = store.as<IStoreOutcome>();
  const std::string error = outcome && !raster ? outcome->GetError() : std::string();
  if (error.empty()) return handToHost(std::move(raster));
  store->Reset();  // the error is told once
  tell(error);
  return 0;
}

/// A page that is whole in its part, whose name was in the way, gets another one. Returns the error that is left.
std::string CScanToView::tryOtherName(const KxPtr<ISStripStor>& store, const std::string& error) {
  const auto outcome = store.as<IStoreOutcome>();
  if (!outcome || !outcome->IsWritten() || outcome->IsPublished()) return error;
  const PartFate fate = publishByRule(output().page(), events().get());
  if (output().target().joinsPart) output().forgetPart();
  if (!fate.why.empty()) return fate.why;
  m_params.quiet().outputFile = fate.file;
  if (output().target().joinsPart) return {};
  m_params.setIfChanged(scan_key::Counter, fate.counter);
  m_params.setIfChanged(scan_key::UseAutoCounter, fate.useAutoCounter);
  return {};
}

int CScanToView::finishFile(const KxPtr<ISStripStor>& store) {
  std::string error = finishFileStore(store, output().target().leastLines, output().target().path);
  if (!error.empty()) error = tryOtherName(store, error);
  if (!error.empty()) {
    store->Reset();  // the error is told once
    tell(error);
    return 0;
  }
  if (output().target().joinsPart)
    output().addToPart();
  else
    advanceCounter();
  return 1;
}

RunFile CScanToView::endRun() {
  m_suppressed = nullptr;
  const std::unique_ptr<RunOutput> ended = std::move(m_output);
  if (!ended) return {};
  std::string why;
  RunFile file = ended->publishPart(events().get(), &why);
  if (!why.empty()) tell(why);
  return file;
}

int CScanToView::handToHost(KxPtr<IRStor> raster) {
  if (!raster) {
    tell(Supp_Translate("The page has no lines; nothing was handed to the document."));
    return 0;
  }
  const ScanValues& v = m_params.values();
  const KxPtr<IParam> arguments = new_MemParam();
  arguments->SetValue(script_key::Raster, raster.as<IKxUnknown>());
  arguments->SetValue(script_key::FileName,
                      v.outputFile.empty() ? buildOutputPath(draft(true).names) : v.outputFile);
  if (output().target().joinsPart) arguments->SetValue(script_key::MultiPage, 1);
  if (v.batch) arguments->SetValue(script_key::BatchScan, 1);
  try {
    if (m_context.controller->ExecCommand(script_key::AddRaster, arguments.get()) != 0)
      logLine(LogLevel::Warning, "quillbay.store", "the host did not take the raster of a page");
  } catch (const CXException& e) {
    tell(e.what());
    return 0;
  }
  arguments->SetValue(script_key::Raster, CKxVariant{});
  raster = nullptr;
  m_context.controller->RunPostProcessing();
  return v.hasScriptSyntax ? savePage() : 1;
}

int CScanToView::savePage() {
  if (!m_useFileOut) return 1;
  if (m_params.values().dir.empty() && isInteractive()) {
    browse();
    m_params.quiet().outputFile = buildOutputPath(draft(true).names);
  }
  const auto host = events();
  if (!checkWritable(host.get(), m_params.values().outputFile)) return 0;
  try {
    if (!sendSave()) return 0;
  } catch (const CXException& e) {
    // The page is in the document already: it is only not saved, which the user can do there.
    tell(e.what());
  }
  if (!output().target().joinsPart) advanceCounter();
  return 1;
}

bool CScanToView::sendSave() {
  const std::string& file = m_params.values().outputFile;
  const KxPtr<IParam> arguments = new_MemParam();
  std::ignore = pendingSaves();
  m_pendingSaves.insert(file);
  if (output().target().joinsPart) {
    arguments->SetValue(script_key::FileName, file);
    return m_context.controller->ExecCommand(script_key::AddPage, arguments.get()) == 0;
  }
  const BatchScript script(file);
  arguments->SetValue(script_key::FileName, script.path());
  arguments->SetValue(script_key::KeepWindow, 1);
  m_context.controller->ExecCommand(script_key::Process, arguments.get());
  return true;
}

void CScanToView::advanceCounter() {
  const std::int32_t counter = m_params.values().counter;
  if (counter < std::numeric_limits<std::int32_t>::max()) m_params.set(scan_key::Counter, counter + 1);
}

}  // namespace quillbay
