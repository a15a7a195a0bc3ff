#include "program.h"

#include <QWidget>
#include <filesystem>

#include "failure.h"
#include "interrupts.h"
#include "listings.h"
#include "output_choice.h"
#include "panel_setup.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "scan_run.h"
#include "scanner_choice.h"

using quillbay::KxPtr;
using quillbay::query;

namespace {

KxPtr<quillbay::IHostApp> makeApp(const ScanOptions& options, Reporter& reporter, Refusals& refusals) {
  quillbay::HostOptions host;
  host.productName = "Quillbay";
  host.keepSettings = options.saveSettings;
  host.interactive = false;
  host.answers.overwrite = options.overwrite;
  host.clear = options.multipage ? quillbay::ClearPolicy::Keep : quillbay::ClearPolicy::Discard;
  host.log = options.quiet || options.verbose == 0 ? quillbay::HostLog::Quiet
             : options.verbose == 1                ? quillbay::HostLog::Info
                                                   : quillbay::HostLog::Debug;
  host.onMessage = [&](const quillbay::HostMessage& message) {
    reporter.message(message);
    refusals.hear(message);
    return message.answer;
  };
  host.onNote = [&](const std::string&, const std::string& text) { reporter.note(text); };
  host.onSaved = [&](const std::string& file) { reporter.published(file, 1); };
  host.chooseScanner = [](quillbay::IScanManager*, std::string*) { return false; };
  return quillbay::New_HostApp(host);
}

/// Whether the person has saved a page of settings for this scanner.
bool hasSavedSettings(quillbay::IApp* app, const std::string& scanner) {
  const auto profile = query<quillbay::IProfile>(app);
  const auto section = profile ? KxPtr<quillbay::IParam>::adopt(profile->GetSection("Quillbay2.0", 0)) : nullptr;
  if (!section) return false;
  for (const std::string& name : section->GetSubStores()) {
    if (name != scanner) continue;
    const auto own = KxPtr<quillbay::IParam>::adopt(section->GetSubStore(name, 0));
    for (const std::string& page : own->GetSubStores()) {
      if (page.starts_with("page")) return true;
    }
  }
  return false;
}

/// The panel in a window that is never shown; closed with this object.
class HiddenPanel {
 public:
  HiddenPanel(quillbay::IApp* app, quillbay::eTarnwellMode mode) {
    const auto script = query<quillbay::IScriptCmdSink>(app);
    if (!quillbay::New_Quillbay(app, &m_window, nullptr, script.get(), m_sink.put(), mode) || !m_sink) {
      throw Failure(kDevice, "the scanner cannot be used by the panel");
    }
    m_control = m_sink.as<quillbay::IQuillbayControl>();
    if (!m_control) throw Failure(kDevice, "the panel cannot be controlled");
  }
  [[nodiscard]] quillbay::IQuillbaySink* sink() const { return m_sink.get(); }
  [[nodiscard]] quillbay::IQuillbayControl* control() const { return m_control.get(); }

 private:
  KxPtr<quillbay::IQuillbaySink> m_sink;
  KxPtr<quillbay::IQuillbayControl> m_control;
  QWidget m_window;  // goes first
};

bool writesFile(const ScanOptions& o) {
  return !o.toView || !o.output.empty() || !o.dir.empty() || !o.mask.empty();
}

int dryRun(quillbay::IQuillbayControl* control, const ScanOptions& options, Reporter& reporter) {
  const std::string name = control->GetNextFileName();
  if (name.empty()) throw Failure(kOutput, "no name can be made; give --output, or --dir and --mask");
  quillbay::CKxVariant fate;
  control->GetParam("m_fFileFate", &fate);
  const bool refused = fate.toInt() == 2 && !options.overwrite && !options.multipage;
  if (refused && std::filesystem::exists(name))
    throw Failure(kOutput, "the file " + name + " is in the way; use --overwrite or --increment");
  if (options.json) {
    reporter.json({{"event", "name"}, {"file", QString::fromStdString(name)}});
  } else {
    reporter.line(name);
  }
  return kDone;
}

int recover(const ScanOptions& options, Reporter& reporter) {
  std::string file, why;
  if (!quillbay::RecoverPart(options.recover, options.overwrite, &file, &why)) throw Failure(kOutput, why);
  reporter.published(file, 0);
  return kDone;
}

void stopIfSignalled() {
  if (Interrupts::number() != 0) throw Failure(static_cast<ExitStatus>(kSignal + Interrupts::number()), "stopped");
}

int scan(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter, Interrupts& interrupts,
         const Refusals& refusals) {
  (void)parseArea(options.area);  // what is wrong whatever the device comes before the device is opened
  const OutputChoice output = chooseOutput(options);
  const ScannerChoice scanner(app, options, reporter);
  stopIfSignalled();
  const bool saved = hasSavedSettings(app, scanner.name());
  const HiddenPanel panel(app, !options.toView     ? quillbay::ScanToFile
                               : options.multipage ? quillbay::ScanToViewMultiPage
                                                   : quillbay::ScanToView);
  PanelSetup(app, panel.sink(), scanner, options, saved).apply(output, writesFile(options));
  if (options.action == ScanOptions::Action::AllOptions) {
    listAllOptions(app, scanner, panel.control(), options, reporter);
    return kDone;
  }
  if (options.action == ScanOptions::Action::DryRun) return dryRun(panel.control(), options, reporter);
  stopIfSignalled();
  int status = ScanRun(panel.control(), options, reporter, interrupts, refusals).run();
  if (options.saveSettings && !panel.control()->SaveSettings() && status == kDone) status = kOutput;
  return status;
}

}  // namespace

int runProgram(const ScanOptions& options, Reporter& reporter) {
  Interrupts interrupts;
  Refusals refusals;
  if (options.action == ScanOptions::Action::Recover) return recover(options, reporter);
  const auto app = makeApp(options, reporter, refusals);
  if (options.action == ScanOptions::Action::ListDevices) {
    listDevices(app.get(), options, reporter);
    return kDone;
  }
  return scan(app.get(), options, reporter, interrupts, refusals);
}
