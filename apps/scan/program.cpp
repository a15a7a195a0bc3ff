#include "program.h"

#include <QCoreApplication>
#include <QWidget>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>

#include "cli_run.h"
#include "failure.h"
#include "interrupts.h"
#include "listings.h"
#include "net_pages.h"
#include "next_page.h"
#include "output_choice.h"
#include "panel_setup.h"
#include "preset_actions.h"
#include "print_setup.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "scanner_choice.h"
#include "stdout_page.h"
#include "translated.h"

using quillbay::KxPtr;
using quillbay::query;

namespace {

constexpr const char* kScriptLog = "quillbay.script";

/// The path quoted for a shell.
std::string quoted(const std::string& path) {
  std::string text = "'";
  for (const char c : path) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

/// What the user can do about a message on the command line.
std::string hintFor(const quillbay::HostMessage& message) {
  if (!message.helpTopic.ends_with("IDH_Recovering") || message.path.empty()) return {};
  return " " + translated("To recover it: %s", {"quillbay-scan --increment --recover " + quoted(message.path)});
}

/// `keeps`: what is changed in the settings is saved.
KxPtr<quillbay::IHostApp> makeApp(const ScanOptions& options, bool keeps, Reporter& reporter, NextPage& next,
                                  Refusals& refusals) {
  quillbay::HostOptions host;
  host.productName = "Quillbay";
  host.keepSettings = keeps;
  host.interactive = false;
  host.answers.overwrite = options.overwrite;
  host.answers.scanWholeImage = !options.failsIfNotFound.value_or(false);
  host.allowPrograms = options.allowPrograms;
  host.clear = options.multipage ? quillbay::ClearPolicy::Keep : quillbay::ClearPolicy::Discard;
  host.log = options.quiet || options.verbose == 0 ? quillbay::HostLog::Quiet
             : options.verbose == 1                ? quillbay::HostLog::Info
                                                   : quillbay::HostLog::Debug;
  host.onMessage = [&](const quillbay::HostMessage& message) {
    if (message.event == quillbay::kEventNextDocument) {
      // The text of the event names buttons, which a terminal has not.
      return next.wait(translated("Put the next document on the scanner.")) ? quillbay::EventAnswer::Ok
                                                                            : quillbay::EventAnswer::GiveUp;
    }
    reporter.message(message, hintFor(message));
    refusals.hear(message);
    return message.answer;
  };
  host.onNote = [&](const std::string& category, const std::string& text) {
    category == kScriptLog ? reporter.detail(text) : reporter.note(text);  // saving runs as a script, step by step
  };
  host.onSaved = [&](const std::string& file) { reporter.published(file, 1); };
  host.chooseScanner = [](quillbay::IScanManager*, std::string*) { return false; };
  return quillbay::New_HostApp(host);
}

/// The panel in a window that is never shown; closed with this object.
class HiddenPanel {
 public:
  HiddenPanel(quillbay::IApp* app, quillbay::eTarnwellMode mode) {
    const auto script = query<quillbay::IScriptCmdSink>(app);
    if (!quillbay::New_Quillbay(app, &m_window, nullptr, script.get(), m_sink.put(), mode) || !m_sink) {
      throw Failure(kDevice, translated("the panel cannot use the scanner"));
    }
    m_control = m_sink.as<quillbay::IQuillbayControl>();
    if (!m_control) throw Failure(kDevice, translated("the panel cannot be controlled"));
  }
  [[nodiscard]] quillbay::IQuillbaySink* sink() const { return m_sink.get(); }
  [[nodiscard]] quillbay::IQuillbayControl* control() const { return m_control.get(); }

 private:
  KxPtr<quillbay::IQuillbaySink> m_sink;
  KxPtr<quillbay::IQuillbayControl> m_control;
  QWidget m_window;  // is destroyed first
};

bool writesFile(const ScanOptions& o) {
  return (!o.toView && !o.toPrint) || !o.output.empty() || !o.dir.empty() || !o.mask.empty();
}

/// What a page would be printed on.
int printedDryRun(quillbay::IApp* app, quillbay::IQuillbayControl* control, const ScanOptions& options,
                  Reporter& reporter) {
  const std::string printer = chosenPrinter(app, control);
  if (options.json) {
    reporter.json({{"event", "name"}, {"printer", QString::fromStdString(printer)}});
  } else {
    reporter.line(printer);
  }
  return kDone;
}

int dryRun(quillbay::IApp* app, quillbay::IQuillbayControl* control, const ScanOptions& options,
           Reporter& reporter) {
  if (options.toPrint) return printedDryRun(app, control, options, reporter);
  const std::string name = control->GetNextFileName();
  if (name.empty())
    throw Failure(kOutput, translated("no file name can be made; give --output, or --dir and --mask"));
  quillbay::CKxVariant fate;
  control->GetParam(quillbay::key::FileFate, &fate);
  const bool refused = fate.toInt() == quillbay::kFateAsk && !options.overwrite && !options.multipage;
  if (refused && std::filesystem::exists(name))
    throw Failure(kOutput, translated("the file %s exists; use --overwrite or --increment", {name}));
  if (options.json) {
    reporter.json({{"event", "name"}, {"file", QString::fromStdString(name)}});
  } else {
    reporter.line(name);
  }
  return kDone;
}

int recover(const ScanOptions& options, Reporter& reporter) {
  std::string file, why;
  const quillbay::RecoverTarget target{options.output, options.overwrite, options.increment};
  if (!quillbay::RecoverPart(options.recover, target, &file, &why)) throw Failure(kOutput, why);
  reporter.published(file, 0);
  return kDone;
}

void stopIfSignalled() {
  if (Interrupts::number() != 0)
    throw Failure(static_cast<ExitStatus>(kSignal + Interrupts::number()), translated("stopped"));
}

quillbay::eTarnwellMode modeOf(const ScanOptions& o) {
  if (o.toPrint) return quillbay::ScanToPrint;
  if (o.toNet) return quillbay::ScanToNet;
  if (!o.toView) return quillbay::ScanToFile;
  return o.multipage ? quillbay::ScanToViewMultiPage : quillbay::ScanToView;
}

/// What a scan needs beside its options.
struct Run {
  Reporter& reporter;
  Interrupts& interrupts;
  NextPage& next;
  const Refusals& refusals;
  PageScripts& scripts;
  PrintJobs& prints;
};

int scanPages(quillbay::IQuillbayControl* control, const ScanOptions& options, const Run& run) {
  int status =
      CliRun(control, options, run.reporter, run.interrupts, run.next, run.refusals, run.scripts, run.prints).run();
  if (options.saveSettings && !control->SaveSettings() && status == kDone) status = kOutput;
  return status;
}

/// Before the paper moves.
void checkScript(quillbay::IApp* app, const ScanOptions& options) {
  if (options.script.empty() || options.script == kOwnScript) return;
  std::string why;
  if (!quillbay::CheckScript(app, options.script, options.allowPrograms ? 1 : 0, &why)) throw Failure(kUsage, why);
}

int scan(quillbay::IApp* app, const ScanOptions& options, const Run& run) {
  checkScript(app, options);
  (void)parseArea(options.area);  // reports wrong syntax before the device is opened
  OutputChoice output = chooseOutput(options);
  std::optional<StdoutPage> page;
  if (options.output == "-") output.folder = page.emplace().folder();
  if (options.toNet) (void)net_pages::clientOf(options);  // refuses before the device is opened
  const net_pages::Sending sending(options, run.reporter);
  const ScannerChoice scanner(app, options, run.reporter);
  stopIfSignalled();
  const bool saved = quillbay::HasSavedSettings(app, scanner.name()) != 0;
  const HiddenPanel panel(app, modeOf(options));
  PanelSetup(app, panel.sink(), scanner, options, run.reporter, saved).apply(output, writesFile(options));
  if (options.toPrint) applyPrintOptions(app, panel.sink(), options);
  if (options.action == ScanOptions::Action::AllOptions) {
    listAllOptions(app, scanner, panel.control(), options, run.reporter);
    return kDone;
  }
  if (output.changesMask) {
    run.reporter.note(
        translated("--mask \"%s\": the characters \" * ? < > | become - in names; the first name is %s",
                   {options.mask, panel.control()->GetNextFileName()}));
  }
  if (options.action == ScanOptions::Action::DryRun) return dryRun(app, panel.control(), options, run.reporter);
  run.next.begin(scanner.feeds());
  stopIfSignalled();
  const int status = sending.finish(scanPages(panel.control(), options, run));
  if (page && status == kDone) StdoutPage::send(page->folder() + "/" + output.mask + output.extension);
  return status;
}

/// The settings of the options, as a scan with them would use them.
quillbay::Preset takePreset(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter) {
  checkScript(app, options);
  (void)parseArea(options.area);
  OutputChoice output = chooseOutput(options);
  const std::string extension = output.extension;
  const ScannerChoice scanner(app, options, reporter);
  const bool saved = quillbay::HasSavedSettings(app, scanner.name()) != 0;
  const HiddenPanel panel(app, options.toNet    ? quillbay::ScanToNet
                               : options.toView ? quillbay::ScanToView
                                                : quillbay::ScanToFile);
  PanelSetup(app, panel.sink(), scanner, options, reporter, saved).apply(output, false);
  // The save page's own, which --format overrides for one run.
  const auto files = quillbay::new_MemParam();
  quillbay::CKxVariant mode;
  panel.control()->GetParam(quillbay::key::CurrMode, &mode);
  const int colors = std::max(0, mode.toInt() - (quillbay::kModeGrey - 1));  // one format for the five B/W modes
  if (!extension.empty())
    files->SetValue(quillbay::key::numbered(quillbay::key::FormatName, colors), "(*" + extension + ")");
  if (options.multipage) files->SetValue(quillbay::key::MultiPage, 1);
  if (!files->GetKeys().empty()) {
    panel.sink()->ApplyParams(files.get());
    QCoreApplication::processEvents();  // the panel applies them in an event of this thread
  }
  quillbay::Preset preset;
  const auto presets = query<quillbay::IQuillbayPresets>(panel.sink());
  if (!presets || !presets->TakePreset(&preset))
    throw Failure(kDevice, translated("the panel cannot be controlled"));
  return preset;
}

/// What needs no scan. Nothing when the options ask for something else.
std::optional<int> runPresetAction(const ScanOptions& options, Reporter& reporter,
                                   const std::function<KxPtr<quillbay::IHostApp>(bool keeps)>& open) {
  switch (options.action) {
    case ScanOptions::Action::ListPresets: return preset_actions::list(open(false).get(), options, reporter);
    case ScanOptions::Action::ExportPreset: return preset_actions::write(open(false).get(), options, reporter);
    case ScanOptions::Action::ImportPreset: return preset_actions::read(open(true).get(), options, reporter);
    case ScanOptions::Action::SavePreset: break;
    default: return std::nullopt;
  }
  quillbay::Preset preset;
  {
    const auto app = open(false);  // the panel's other settings are not saved
    const std::string name = preset_actions::takeName(app.get(), options);
    preset = takePreset(app.get(), options, reporter);
    preset.name = name;
  }
  return preset_actions::store(open(true).get(), options, preset, reporter);
}

}  // namespace

int runProgram(const ScanOptions& options, Reporter& reporter) {
  Interrupts interrupts;
  Refusals refusals;
  if (options.action == ScanOptions::Action::Recover) return recover(options, reporter);
  if (options.action == ScanOptions::Action::ListPrinters) {
    listPrinters(options, reporter);
    return kDone;
  }
  NextPage next(options, reporter, interrupts);
  const auto open = [&](bool keeps) { return makeApp(options, keeps, reporter, next, refusals); };
  if (const auto status = runPresetAction(options, reporter, open)) return *status;
  if (const auto status = net_pages::runAction(options, reporter, [&] { return open(false); })) return *status;
  const auto app = open(options.saveSettings);
  if (options.action == ScanOptions::Action::ListDevices) {
    listDevices(app.get(), options, reporter);
    return kDone;
  }
  PageScripts scripts(app.get(), reporter);
  PrintJobs prints(app.get(), reporter);
  return scan(app.get(), options, {reporter, interrupts, next, refusals, scripts, prints});
}
