#include "destinations/scan_to_print.h"

#include <QApplication>
#include <QPointer>
#include <QSignalBlocker>
#include <filesystem>
#include <utility>

#include "destinations/cp_setup.h"
#include "destinations/page_draft.h"
#include "platform/base_services.h"
#include "quillbay/print_templates.h"
#include "quillbay/scan_keys.h"
#include "quillbay/tools.h"
#include "stores/scan_to_print_stor.h"
#include "ui_scan_to_print.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

constexpr int kJobRefreshMs = 500;
constexpr const char* kPrintNotes = "quillbay.print";

/// The wait cursor while one lives.
class PrintCursor {
 public:
  PrintCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~PrintCursor() { QGuiApplication::restoreOverrideCursor(); }
  PrintCursor(const PrintCursor&) = delete;
  PrintCursor& operator=(const PrintCursor&) = delete;
};

/// What is known of the page before the scan. Of a document that is looked for nothing is.
void describe(const ScanValues& v, IParam* options) {
  const bool isKnown = v.customScanValid != 0 || detectionOf(v) == 0 || isFound(v);
  const tagRRECT& area = v.customScanValid != 0 ? v.rcCustomScan : v.rcScan;
  options->SetValue(print_key::PageLines, isKnown ? leastPageLines(v) : 0);
  options->SetValue(print_key::PageWidth,
                    isKnown ? static_cast<std::int32_t>(roundHalfUp(mmToPixels(area.width(), v.dpi))) : 0);
  options->SetValue(print_key::PageDpi, v.dpi);
}

/// "Job 12 on plotter"; empty while the printer has given it no number.
std::string jobText(IPrintOutcome& outcome) {
  const std::int32_t job = outcome.GetJob();
  if (job == 0) return {};
  return formatText(Supp_Translate("Job %d on %s"), {std::to_string(job), outcome.GetPrinter()});
}

std::string joined(std::string one, const std::string& other) {
  if (one.empty() || other.empty()) return one + other;
  return one.append(": ").append(other);
}

}  // namespace

CScanToPrint::CScanToPrint(const DestinationContext& context)
    : CDialog(context.parent),
      m_context(context),
      m_params(*context.params),
      m_form(std::make_unique<Ui::ScanToPrint>()),
      m_list(KxPtr<IApp>::share(context.params->app()), m_automatic) {
  m_automatic->SetValue(print_key::AutoDetect, 1);
  m_automatic->SetValue(print_key::Copies, 1);
  m_automatic->SetValue(print_key::PrinterName, loadString(kTextAutoPrinter));
  m_form->setupUi(this);
  attachControls();
  // Shown like a label: it can be selected and read out, not typed into.
  QPalette plain = m_form->printer->palette();
  plain.setColor(QPalette::Base, Qt::transparent);
  m_form->printer->setPalette(plain);
  m_form->printer->setFrame(false);
  m_form->note->setMinimumWidth(1);  // a long text does not widen the panel
  m_form->job->setMinimumWidth(1);
  fillList();
  choose(0);
  watchTemplates();
  connect(&m_templates, &QFileSystemWatcher::directoryChanged, this, [this] { rebuildList(); });
  m_clock.setInterval(kJobRefreshMs);
  connect(&m_clock, &QTimer::timeout, this, [this] { showJob(); });
  m_changes.Subscribe(m_params.connectionPoint());
  const auto reactors = query<IParamProvider>(m_params.app()).as<IParamReactors>();
  if (reactors) m_reactor.Subscribe(KxPtr<IConnectionPoint<IParamReactor>>::adopt(reactors->GetReactors()).get());
  installEmptyStore();
}

CScanToPrint::~CScanToPrint() {
  m_changes.Unsubscribe();
  m_reactor.Unsubscribe();
}

void CScanToPrint::installEmptyStore() { m_params.destinationStore = m_context.makeStore(m_context.mode); }

bool CScanToPrint::OnCommand(int id, int code, std::int64_t) {
  return m_context.controller->Guarded([&] { return handle(id, code); });
}

bool CScanToPrint::handle(int id, int code) {
  switch (id) {
    case kOptions:
      if (code == kCodeSelected) choose(chosen());
      return true;
    case kSetup: setUp(); return true;
    case kCopies: return true;
    default: return false;
  }
}

// The list of options.

int CScanToPrint::chosen() const { return m_form->options->currentIndex(); }

int CScanToPrint::copies() const { return m_form->copies->value(); }

void CScanToPrint::fillList() {
  const QSignalBlocker quiet(m_form->options);
  m_form->options->clear();
  for (const PrintOptionsList::Entry& entry : m_list.entries())
    m_form->options->addItem(QString::fromStdString(entry.text), QString::fromStdString(entry.carried));
}

void CScanToPrint::rebuildList() {
  const std::string before = m_form->options->currentData().toString().toStdString();
  const QString name = m_form->options->currentText();
  watchTemplates();
  if (!m_list.rebuild()) return showPrinter();  // what a template holds may be something else
  fillList();
  const int entry = m_list.find(before);
  choose(entry);
  if (m_list.entries()[static_cast<std::size_t>(entry)].carried == before) return;
  m_why = formatText(Supp_Translate("The template \"%s\" is gone; the current options are chosen."),
                     {name.toStdString()});
  showNote();
}

/// The folder, or the nearest one above it while it is not there.
void CScanToPrint::watchTemplates() {
  namespace fs = std::filesystem;
  fs::path folder = TemplatesFolder(m_params.app(), tool_name::PrintOptions);
  std::error_code unknown;
  while (folder.has_relative_path() && !fs::is_directory(folder, unknown)) folder = folder.parent_path();
  const QString wanted = QString::fromStdString(folder.string());
  const QStringList watched = m_templates.directories();
  if (watched.contains(wanted)) return;
  if (!watched.isEmpty()) m_templates.removePaths(watched);
  m_templates.addPath(wanted);
}

void CScanToPrint::choose(int entry) {
  const QSignalBlocker quiet(m_form->options);
  m_form->options->setCurrentIndex(entry);
  showPrinter();
}

void CScanToPrint::showPrinter() {
  m_why.clear();
  const auto options = m_list.options(chosen(), &m_why);
  const QString name = QString::fromStdString(paramString(options.get(), print_key::PrinterName));
  m_form->printer->setText(name);
  m_form->printer->setPlaceholderText(
      options ? QString::fromStdString(Supp_Translate("the system's default printer")) : QString());
  m_form->printer->setCursorPosition(0);
  m_form->printer->setToolTip(name);
  showNote();
}

void CScanToPrint::showNote() {
  const ScanValues& v = m_params.values();
  const bool isOpen = v.customScanValid == 0 && (v.scanType == kAreaAutoWidth || v.scanType == kAreaFixedWidth);
  std::string text = m_why;
  if (text.empty() && isOpen) {
    text = Supp_Translate(
        "The length is known only at the end: the page is printed in pieces as long as the paper allows, without a "
        "gap; the last one is filled with white.");
  }
  m_form->note->setText(QString::fromStdString(text));
  m_form->note->setVisible(!text.empty());
}

void CScanToPrint::toolChanged(std::string_view tool) {
  if (sameKey(tool, tool_name::PrintOptions)) showPrinter();
}

int CScanToPrint::paramChanged(const char* key) {
  if (sameKey(key, key::ScanAreaType) || sameKey(key, key::CustomScanValid)) showNote();
  return 1;
}

void CScanToPrint::changeEvent(QEvent* event) {
  // Folders on a network tell nothing of their changes.
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) rebuildList();
  CDialog::changeEvent(event);
}

void CScanToPrint::setUp() {
  const int entry = chosen();
  if (entry < 0) return;
  const PrintOptionsList::Entry& options = m_list.entries()[static_cast<std::size_t>(entry)];
  if (options.kind == PrintOptionsList::Kind::Auto) return QApplication::beep();
  const std::string path = options.kind == PrintOptionsList::Kind::Template ? options.carried : std::string();
  std::string why;
  const auto chosenOptions = m_list.options(entry, &why);
  if (!chosenOptions) return tell(why);
  const KxPtr<IParam> values = new_MemParam();
  Param_CopyTo(chosenOptions.get(), values.get());
  describe(m_params.values(), values.get());  // for the drawing
  const QPointer<CScanToPrint> alive(this);
  const QPointer<CPSetup> dialog =
      new CPSetup(this, KxPtr<IApp>::share(m_params.app()), m_context.controller, values, path);
  dialog->DoModal();
  delete dialog;
  if (alive) rebuildList();
}

// Pages.

int CScanToPrint::refuse(const std::string& why) {
  m_why = why;
  showNote();
  tell(why);
  return 0;
}

bool CScanToPrint::startJob(IParam* options, std::string* why) {
  const auto factory = query<IToolsFactory>(m_params.app());
  const auto tool =
      factory ? KxPtr<IKxUnknown>::adopt(factory->MakeTool(tool_name::RunPrinting)) : KxPtr<IKxUnknown>{};
  const auto job = tool.as<IPrintingJob>();
  if (!job) {
    *why = Supp_Translate("This program cannot print: it has no printing tool.");
    return false;
  }
  const KxPtr<IParam> ofPage = new_MemParam();
  Param_CopyTo(options, ofPage.get());
  describe(m_params.values(), ofPage.get());
  if (job->Start(Supp_Translate("Image from scanner").c_str(), ofPage.get())) {
    m_job = job;
    return true;
  }
  const auto outcome = job.as<IPrintOutcome>();
  if (outcome) *why = outcome->GetError();
  if (why->empty()) *why = Supp_Translate("The printer did not accept the job.");
  return false;
}

int CScanToPrint::BeginScan() {
  m_params.quiet().outputFile.clear();  // of a panel before this one
  m_job = nullptr;
  std::string why;
  const auto options = m_list.options(chosen(), &why);
  if (!options) return refuse(why);
  options->SetValue(print_key::Copies, copies());
  if (!startJob(options.get(), &why)) return refuse(why);
  m_why.clear();
  showNote();
  m_params.destinationStore = KxPtr<ISStripStor>::adopt(new CScanToPrintStor(m_job, options, m_params.progress));
  showJob();
  m_clock.start();
  return 1;
}

int CScanToPrint::EndScan(int cancelled) {
  m_clock.stop();
  if (cancelled) {
    m_params.destinationStore->Reset();
    installEmptyStore();
    m_job = nullptr;
    m_form->job->setText(QString::fromStdString(Supp_Translate("The page was not printed.")));
    return 0;
  }
  return finishPage();
}

int CScanToPrint::finishPage() {
  // Kept here: what the page's end sets off may put another store into the slot.
  const KxPtr<ISStripStor> store = m_params.destinationStore;
  const KxPtr<IPrintingJob> job = std::exchange(m_job, nullptr);
  {
    const PrintCursor wait;
    store->Finish(nullptr, leastPageLines(m_params.values()), 1);
  }
  const auto outcome = store.as<IStoreOutcome>();
  std::string why = outcome ? outcome->GetError() : std::string();
  if (why.empty() && outcome && outcome->GetLines() == 0)
    why = Supp_Translate("The page has no lines; nothing was printed.");
  installEmptyStore();
  if (!why.empty()) {
    m_form->job->setText(QString::fromStdString(Supp_Translate("The page was not printed.")));
    return refuse(why);
  }
  const auto fares = job.as<IPrintOutcome>();
  if (fares) {
    const std::string sent = joined(jobText(*fares), fares->GetNote());
    m_form->job->setText(QString::fromStdString(sent));
    m_form->job->setToolTip(m_form->job->text());
    const auto events = m_context.events ? m_context.events : query<IEvents>(m_params.app());
    if (events && !sent.empty()) events->Note(kPrintNotes, sent.c_str());
  }
  const auto watch = query<IPrintWatch>(m_params.app());
  if (watch && job) watch->Watch(job.get());
  return 1;
}

/// While the page is scanned. A run that was refused before its first line does not come to an end here.
void CScanToPrint::showJob() {
  if (!m_params.runs && m_clock.isActive()) {
    m_clock.stop();
    m_job = nullptr;
  }
  const auto outcome = m_job.as<IPrintOutcome>();
  const std::string text = outcome ? joined(jobText(*outcome), outcome->GetNote()) : std::string();
  m_form->job->setText(QString::fromStdString(text));
  m_form->job->setToolTip(m_form->job->text());
}

// Settings.

int CScanToPrint::LoadParams(IParam* params) {
  setSpinValue(m_form->copies, paramInt(params, print_key::Copies, copies()));
  m_list.rebuild();
  const std::string before = m_form->options->currentData().toString().toStdString();
  fillList();
  choose(m_list.find(paramString(params, kChosenOptionsKey, before)));
  return 1;
}

int CScanToPrint::SaveParams(IParam* params) {
  if (chosen() >= 0) {
    params->SetValue(kChosenOptionsKey, m_form->options->currentData().toString().toStdString());
  }
  params->SetValue(print_key::Copies, copies());
  return 1;
}

void CScanToPrint::Destroy() { delete this; }

HWND CScanToPrint::GetFooter() { return m_form->job; }

int CScanToPrint::Enable(int enable) {
  setEnabled(enable != 0);
  return 1;
}

int CScanToPrint::Show(int command) {
  setVisible(command != 0);
  return 1;
}

void CScanToPrint::GetTargetText(std::string* out) {
  *out = (m_form->options->currentText() + ' ' + m_form->printer->text()).toStdString();
}

void CScanToPrint::tell(const std::string& text) {
  logLine(LogLevel::Warning, kPrintNotes, text);
  m_context.controller->Message(EventKind::Information, text, EventButtons::Ok);
}

}  // namespace quillbay
