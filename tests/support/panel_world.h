#pragma once
#include <map>
#include <string>
#include <vector>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_page.h"
#include "quillbay/host.h"
#include "quillbay/unit_setup.h"
#include "support/temp_dir.h"

namespace quillbay::test {

/// A store that notes what it is told, and ends its page as a test wants it.
class NotingStore final : public CKxUnknownImpl<ISStripStor, IStoreOutcome> {
 public:
  int IsAvailable() override { return 1; }
  int AddStripe(IScanBuffer*) override { return 1; }
  void Reset() override { ++resets; }
  int Finish(IRStor** out, int minLines, int) override {
    finishedWith = minLines;
    if (out && raster) *out = KxPtr(raster).detach();
    return error.empty() ? 1 : 0;
  }
  void Paint(IRasterDC*, const CRDirectTfm*) override {}
  void GetRect(double*) override {}
  void GetRectMM(double*) override {}
  bool IsEmpty() override { return false; }
  std::string GetError() override { return error; }
  std::string GetFile() override { return {}; }
  int IsPublished() override { return error.empty() ? 1 : 0; }
  int IsWritten() override { return written; }
  std::int64_t GetLines() override { return 1; }
  void Wake() override {}
  void BeginFinish(int, void (*)(void*), void*) override {}

  int resets = 0;
  int finishedWith = -1;
  KxPtr<IRStor> raster;
  std::string error;
  int written = 0;  ///< the page is whole in its part all the same
};

/// A scanner with the modes, resolutions and key ranges of a test, and with a setup of its own where it has one.
class NotedUnit final : public CKxUnknownImpl<IQuillbayUnit, IUnitOptions, IUnitKeyRanges> {
 public:
  int QueryInterface(const std::type_info& type, void** out) override {
    if (type == typeid(IUnitOptions) && !describesOptions) return 0;
    if (type != typeid(IQuillbayUnitSetup) || !setup) return CKxUnknownImpl::QueryInterface(type, out);
    *out = KxPtr(setup).detach();
    return 1;
  }
  int GetKeyRange(std::string_view key, UnitKeyRange* out) override {
    const auto found = ranges.find(std::string(key));
    if (found == ranges.end()) return 0;
    *out = found->second;
    return 1;
  }
  int GetResolutions(std::vector<UnitResolution>* out, int mode) override {
    out->clear();
    for (const int dpi : mode < 5 ? bitonalDpi : colourDpi) out->push_back({std::to_string(dpi), dpi});
    return static_cast<int>(out->size());
  }
  int Scan(IScanSink*, IParam*) override { return 1; }
  int Command(IScanSink*, int code) override {
    commands.push_back(code);
    return 1;
  }
  double GetMaxWidth() override { return 900; }
  int HasMode(int mode) override { return mode <= 7 ? 1 : 0; }
  IConnectionPoint<IScanSink>* GetScanSinks() override { return nullptr; }
  double GetMaxLength() override { return 0; }
  int GetCentring() override { return 0; }
  std::vector<UnitOption> GetOptions() override {
    UnitOption option;
    option.name = "resolution";
    option.range = dpiRange;
    return {option};
  }
  int SetOption(std::string_view, std::string_view, std::string*) override { return 0; }
  int SaveOptions(IParam*) override { return 1; }
  int LoadOptions(IParam*) override { return 1; }

  std::vector<int> bitonalDpi{100, 200, 300}, colourDpi{75, 200, 600};
  std::string dpiRange;
  std::map<std::string, UnitKeyRange> ranges;
  KxPtr<IQuillbayUnitSetup> setup;
  bool describesOptions = true;
  std::vector<int> commands;
};

/// The controller as pages and destinations see it: notes every call.
class NotingController final : public IPanelController {
 public:
  bool Guarded(const std::function<bool()>& command) override { return command(); }
  IQuillbayUnit* Unit() override { return unit.get(); }
  void PageChanged() override {
    ++pageChanges;
    if (onPageChanged) onPageChanged();
  }
  void ForgetPalette() override { ++palettesForgotten; }
  void AreaChanged() override { ++areaChanges; }
  int OffersDetection() override { return offersDetection; }
  int DetectArea(int mask) override {
    detectMask = mask;
    return detects;
  }
  void RunPostProcessing() override { commands.emplace_back("post-processing"); }
  int ExecCommand(const char* command, IParam* arguments) override {
    commands.emplace_back(command);
    lastArguments = new_MemParam();
    Param_CopyTo(arguments, lastArguments.get());
    if (onCommand) onCommand(command, arguments);
    return commands.back() == refused ? 1 : 0;
  }

  int Message(EventKind kind, const std::string& text, EventButtons buttons) override {
    return events ? events->Message(static_cast<int>(kind), text.c_str(), 0, static_cast<int>(buttons)) : 0;
  }
  void PostPanelCommand(int command) override { posted.push_back(command); }
  int IsCommandEnabled(int) override { return enablesCommands; }
  void RestartPreview() override { ++previewRestarts; }
  int DockPreview() override { return ++docks; }
  int FloatPreview() override { return ++floats; }
  std::vector<IUIScanPage*> PagesOf(int) override { return pages; }
  std::vector<IUIScanPage*> AllPages() override { return pages; }
  int LoadPage(IUIScanPage* page, IParam* set) override { return page->Load(set); }
  int SavePage(IUIScanPage* page, IParam* set) override { return page->Save(set); }
  IPresetManager* Presets() override { return presets; }
  KxPtr<IParam> PreviewSettings() override { return previewSettings; }

  KxPtr<IEvents> events;
  std::vector<IUIScanPage*> pages;
  IPresetManager* presets = nullptr;
  std::vector<int> posted;
  KxPtr<NotedUnit> unit = KxPtr<NotedUnit>::adopt(new NotedUnit);
  int offersDetection = 1, enablesCommands = 1;
  int previewRestarts = 0, docks = 0, floats = 0;
  int pageChanges = 0, palettesForgotten = 0, areaChanges = 0, detectMask = -1, detects = 0;
  std::vector<std::string> commands;
  KxPtr<IParam> lastArguments, previewSettings;
  std::function<void()> onPageChanged;
  std::string refused;  ///< a command that the host answers with a failure
  std::function<void(const std::string&, IParam*)> onCommand;
};

/// A host of its own, with its settings in a folder of the test, and the process's scan parameters.
struct PanelWorld {
  PanelWorld() {
    HostOptions options;
    options.configFolder = dir.file("config");
    options.stateFolder = dir.file("state");
    options.dataFolder = dir.file("data");
    options.interactive = false;
    options.chooseFile = [this](const std::string& channel, std::string* path) {
      askedChannel = channel;
      if (!chosenFile.empty()) *path = chosenFile;
      return !chosenFile.empty();
    };
    options.log = HostLog::Quiet;
    options.onMessage = [this](const HostMessage& message) {
      messages.push_back(message);
      return message.kind != EventKind::Information ? answer : message.answer;
    };
    options.onNote = [this](const std::string&, const std::string& text) { notes.push_back(text); };
    app = New_HostApp(options);
    controller.events = query<IEvents>(app.get());
    params = CSharedScanParams::acquire(app.get(), [] { return KxPtr<ISStripStor>::adopt(new NotingStore); });
    params->quiet().dir = dir.file("out");
  }

  TempDir dir;
  KxPtr<IHostApp> app;
  KxPtr<CSharedScanParams> params;
  NotingController controller;
  std::vector<HostMessage> messages;
  std::vector<std::string> notes;
  EventAnswer answer = EventAnswer::No;  ///< to questions
  std::string askedChannel, chosenFile;  ///< of the file dialog; empty: the user cancels
};

}  // namespace quillbay::test
