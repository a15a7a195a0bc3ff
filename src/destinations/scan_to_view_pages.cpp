/// The pages of the Scan To File and Scan To View panel: before, after, and saving.
#include <QGuiApplication>
#include <limits>

#include "destinations/batch_script.h"
#include "destinations/file_names.h"
#include "destinations/output_file.h"
#include "destinations/page_end.h"
#include "destinations/scan_to_view.h"
#include "platform/base_services.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {
/// The wait cursor while one lives.
class WaitCursor {
 public:
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};
}  // namespace

void CScanToView::installStore() { m_params.destinationStore = m_context.makeStore(m_mode); }

int CScanToView::BeginScan() {
  m_mayReplace = false;
  m_preparedAt.reset();
  if (m_useFileOut) {
    const ScanValues& v = m_params.values();
    if (v.dir.empty() || v.mask.empty()) {
      tell(loadString(kTextMaskEmpty));
      return 0;
    }
    const auto host = events();
    const bool goesOn = v.multiPage && !m_openPart.empty() && m_openPart == v.outputFile;
    const PreparedFile prepared = PrepareOutputFile(m_params, host.get(), goesOn);
    refreshNextName();
    if (!prepared.goOn) return 0;
    if (!checkSpace(v, host.get(), isInteractive() && !v.batch)) return 0;
    m_mayReplace = prepared.mayReplace;
    m_preparedAt = prepared.moment;
    remember();
  } else {
    m_params.quiet().outputFile.clear();  // no file: the rule for existing ones refuses nothing
  }
  installStore();
  return 1;
}

int CScanToView::EndScan(int cancelled) {
  const int answer = endPage(cancelled != 0);
  m_preparedAt.reset();
  refreshNextName();  // however the page ended: its start may have moved the counter without a word
  return answer;
}

int CScanToView::endPage(bool cancelled) {
  if (cancelled) {
    m_openPart.clear();
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
    store->Finish(raster.put(), minimumPageLines(m_params.values()), 1);
  } catch (const CXException& e) {
    tell(e.what());
    return 0;
  }
  return handToHost(std::move(raster));
}

int CScanToView::finishFile(const KxPtr<ISStripStor>& store) {
  std::string error;
  int finished = 0;
  const auto outcome = store.as<IStoreOutcome>();
  try {
    const WaitCursor wait;
    finished = store->Finish(nullptr, minimumPageLines(m_params.values()), 1);
    if (outcome) error = outcome->GetError();
  } catch (const CXException& e) {
    error = e.what();
  }
  if (error.empty() && outcome && !finished && outcome->GetLines() == 0)
    error =
        formatText(Supp_Translate("The page has no lines; %s was not written."), {m_params.values().outputFile});
  if (!error.empty() && publishByRule(m_params, events().get())) error.clear();
  if (!error.empty()) {
    m_openPart.clear();
    store->Reset();  // the error is told once
    tell(error);
    return 0;
  }
  const bool multiPage = m_params.values().multiPage != 0;
  m_openPart = multiPage && m_context.controller->BatchContinues() ? m_params.values().outputFile : std::string{};
  if (!multiPage) advanceCounter();
  return 1;
}

int CScanToView::handToHost(KxPtr<IRStor> raster) {
  if (!raster) {
    tell(Supp_Translate("The page has no lines; nothing was handed to the document."));
    return 0;
  }
  const ScanValues& v = m_params.values();
  const KxPtr<IParam> arguments = new_MemParam();
  arguments->SetValue("RStor", raster.as<IKxUnknown>());
  arguments->SetValue("FileName", v.outputFile.empty() ? buildOutputPath(nameSnapshot()) : v.outputFile);
  if (v.multiPage) arguments->SetValue("Multipage", 1);
  if (v.batch) arguments->SetValue("BatchScan", 1);
  try {
    if (m_context.controller->ExecCommand("IntAddRaster", arguments.get()) != 0) {
      tell(Supp_Translate("The program did not take the scanned page."));
      return 0;
    }
  } catch (const CXException& e) {
    tell(e.what());
    return 0;
  }
  arguments->SetValue("RStor", CKxVariant{});
  raster = nullptr;
  m_context.controller->RunPostProcessing();
  return v.hasScriptSyntax ? savePage() : 1;
}

int CScanToView::savePage() {
  if (!m_useFileOut) return 1;
  if (m_params.values().dir.empty() && isInteractive()) {
    browse();
    m_params.quiet().outputFile = buildOutputPath(nameSnapshot());
  }
  const auto host = events();
  if (!checkWritable(host.get(), m_params.values().outputFile)) return 0;
  try {
    if (!sendSave()) return 0;
  } catch (const CXException& e) {
    // The page is in the document already: it is only not saved, which the person can do there.
    tell(e.what());
  }
  if (!m_params.values().multiPage) advanceCounter();
  return 1;
}

bool CScanToView::sendSave() {
  const std::string& file = m_params.values().outputFile;
  const KxPtr<IParam> arguments = new_MemParam();
  if (m_params.values().multiPage) {
    arguments->SetValue("FileName", file);
    return m_context.controller->ExecCommand("IntAddPage", arguments.get()) == 0;
  }
  const BatchScript script(file);
  arguments->SetValue("FileName", script.path());
  arguments->SetValue("_donthidewindow", 1);
  m_context.controller->ExecCommand("ProcessScript", arguments.get());
  return true;
}

void CScanToView::advanceCounter() {
  const std::int32_t counter = m_params.values().counter;
  if (counter < std::numeric_limits<std::int32_t>::max()) m_params.set(scan_key::Counter, counter + 1);
}

}  // namespace quillbay
