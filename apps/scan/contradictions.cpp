#include "contradictions.h"

#include <array>

#include "names.h"
#include "translated.h"

namespace {

using Test = bool (*)(const ScanOptions&);

bool batches(const ScanOptions& o) { return o.batch.has_value(); }
bool recovers(const ScanOptions& o) { return o.action == ScanOptions::Action::Recover; }
bool namesFile(const ScanOptions& o) { return !o.output.empty(); }
bool namesArea(const ScanOptions& o) { return !o.area.empty() && !names::same(o.area, "auto"); }
bool findsArea(const ScanOptions& o) { return names::same(o.area, "auto"); }
bool setsEdges(const ScanOptions& o) {
  return o.area.starts_with("custom") || o.area.starts_with("auto-width") || o.area.starts_with("fixed-width");
}

/// An option, and the test whether it was given.
struct Given {
  const char* name;
  Test test;
};

constexpr Given kOutputGiven{"--output", namesFile};
constexpr Given kStdout{"-o -", [](const ScanOptions& o) { return o.output == "-"; }};
constexpr Given kDir{"--dir", [](const ScanOptions& o) { return !o.dir.empty(); }};
constexpr Given kMask{"--mask", [](const ScanOptions& o) { return !o.mask.empty(); }};
constexpr Given kMultipage{"--multipage", [](const ScanOptions& o) { return o.multipage; }};
constexpr Given kOverwrite{"--overwrite", [](const ScanOptions& o) { return o.overwrite; }};
constexpr Given kIncrement{"--increment", [](const ScanOptions& o) { return o.increment; }};
constexpr Given kBatch{"--batch", batches};
constexpr Given kPrompt{"--batch-prompt", [](const ScanOptions& o) { return o.batchPrompt; }};
constexpr Given kDelay{"--batch-delay", [](const ScanOptions& o) { return o.batchDelay.has_value(); }};
constexpr Given kBursting{"--bursting", [](const ScanOptions& o) { return o.bursting; }};
constexpr Given kJson{"--json", [](const ScanOptions& o) { return o.json; }};
constexpr Given kPortrait{"--portrait", [](const ScanOptions& o) { return o.portrait == true; }};
constexpr Given kLandscape{"--landscape", [](const ScanOptions& o) { return o.portrait == false; }};
constexpr Given kCenter{"--center", [](const ScanOptions& o) { return o.center == true; }};
constexpr Given kDeskew{"--deskew", [](const ScanOptions& o) { return o.deskew == true; }};
constexpr Given kNotFound{"--if-not-found", [](const ScanOptions& o) { return o.failsIfNotFound.has_value(); }};
constexpr Given kAuto{"--area auto", findsArea};
constexpr Given kNamedArea{"this --area", namesArea};
constexpr Given kRecover{"--recover", recovers};
constexpr Given kDryRun{"--dry-run", [](const ScanOptions& o) { return o.action == ScanOptions::Action::DryRun; }};

constexpr Given kSaveSettings{"--save-settings", [](const ScanOptions& o) { return o.saveSettings; }};
constexpr Given kPreset{"--preset", [](const ScanOptions& o) { return !o.preset.empty(); }};
constexpr Given kPresetToStdout{"--export-preset to standard output", [](const ScanOptions& o) {
                                  return o.action == ScanOptions::Action::ExportPreset && o.presetFile == "-";
                                }};

constexpr Given kPrint{"--to print", [](const ScanOptions& o) { return o.toPrint; }};
/// What makes no sense where nothing is written.
constexpr std::array kOfFiles{kOutputGiven,
                              kDir,
                              kMask,
                              kMultipage,
                              kOverwrite,
                              kIncrement,
                              Given{"--format", [](const ScanOptions& o) { return !o.format.empty(); }},
                              Given{"--option", [](const ScanOptions& o) { return !o.formatOptions.empty(); }}};
/// What makes no sense without it.
constexpr std::array kOfPrinting{
    Given{"--printer", [](const ScanOptions& o) { return !o.printer.empty(); }},
    Given{"--print-option", [](const ScanOptions& o) { return !o.printOptions.empty(); }},
    Given{"--template", [](const ScanOptions& o) { return !o.printTemplate.empty(); }},
    Given{"--copies", [](const ScanOptions& o) { return o.copies.has_value(); }}};

template <ScanOptions::Action action>
bool acts(const ScanOptions& o) {
  return o.action == action;
}

/// Actions over presets, and what makes no sense with any of them.
constexpr Given kSavesPreset{"--save-preset", acts<ScanOptions::Action::SavePreset>};
constexpr std::array kKeepsPresets{Given{"--list-presets", acts<ScanOptions::Action::ListPresets>},
                                   Given{"--export-preset", acts<ScanOptions::Action::ExportPreset>},
                                   Given{"--import-preset", acts<ScanOptions::Action::ImportPreset>}};
constexpr std::array kOfScans{kOutputGiven, kDir, kMask, kBatch, kSaveSettings, kIncrement};

struct Pair {
  Given one, other;
  const char* advice;
};

constexpr Given kNet{"--to net", [](const ScanOptions& o) { return o.toNet; }};
constexpr const char* kOwnFolder = "pages go to the hot folder of the server; --mask names them";

constexpr std::array kPairs{
    Pair{kOutputGiven, kNet, kOwnFolder},
    Pair{kDir, kNet, kOwnFolder},
    Pair{kMultipage, kNet, "a scan server gets a file for each page"},
    Pair{{"--script", [](const ScanOptions& o) { return !o.script.empty(); }},
         kNet,
         "scripts work on pages of --to view"},
    Pair{{"--script", [](const ScanOptions& o) { return !o.script.empty(); }},
         kPrint,
         "scripts work on pages of --to view"},
    Pair{kOverwrite, kIncrement, "choose what happens to an existing file"},
    Pair{kOverwrite, kMultipage, "pages are added to an existing file; delete it first"},
    Pair{kIncrement, kMultipage, "pages are added to an existing file; choose another name"},
    Pair{kOutputGiven, kDir, "--output gives the folder and the file name"},
    Pair{kOutputGiven, kMask, "--output gives the folder and the file name"},
    Pair{kStdout, kBatch, "standard output takes one page"},
    Pair{kStdout, kBursting, "standard output takes one page"},
    Pair{kStdout, kMultipage, "standard output takes one page"},
    Pair{kStdout, kOverwrite, "standard output is not a file"},
    Pair{kStdout, kIncrement, "standard output is not a file"},
    Pair{kStdout, kDryRun, "standard output has no name"},
    Pair{kStdout, kRecover, "give the recovered file a name"},
    Pair{kStdout, kJson, "both write to standard output"},
    Pair{kPrompt, kDelay, "choose one"},
    Pair{{"--quiet", [](const ScanOptions& o) { return o.quiet; }},
         {"--verbose", [](const ScanOptions& o) { return o.verbose > 0; }},
         "choose one"},
    Pair{kPortrait, {"--area", setsEdges}, "only a paper has an orientation, edges and widths have none"},
    Pair{kLandscape, {"--area", setsEdges}, "only a paper has an orientation, edges and widths have none"},
    Pair{kPortrait, kAuto, "the document is scanned as it lies"},
    Pair{kLandscape, kAuto, "the document is scanned as it lies"},
    Pair{kCenter, kAuto, "the document is found where it lies"},
    Pair{kBursting, kAuto, "a document that is found is scanned whole"},
    Pair{kDeskew, kNamedArea, "only a document that is found is straightened; use --area auto"},
    Pair{kNotFound, kNamedArea, "nothing is looked for; use --area auto"},
    Pair{kPresetToStdout, kJson, "both write to standard output"},
    Pair{kSavesPreset,
         {"--option", [](const ScanOptions& o) { return !o.formatOptions.empty(); }},
         "a preset holds no options of file formats"},
    Pair{kRecover, kPreset, "nothing is scanned"},
    Pair{kRecover, kDir, "use --output"},
    Pair{kRecover, kMask, "use --output"},
    Pair{kRecover, kMultipage, "nothing is scanned"},
    Pair{kRecover, kBatch, "nothing is scanned"},
    Pair{kRecover, {"--device", [](const ScanOptions& o) { return !o.device.empty(); }}, "nothing is scanned"},
    Pair{kRecover,
         {"--format", [](const ScanOptions& o) { return !o.format.empty(); }},
         "the pages keep their format"},
};

constexpr const char* kNothingScanned = "nothing is scanned";

std::string excluded(const Pair& pair) {
  return translated("%s and %s cannot be used together: %s",
                    {pair.one.name, pair.other.name, translated(pair.advice)});
}

}  // namespace

std::string contradiction(const ScanOptions& o) {
  for (const Pair& pair : kPairs) {
    if (pair.one.test(o) && pair.other.test(o)) return excluded(pair);
  }
  for (const Given& scan : kOfScans) {
    if (scan.test(o) && kSavesPreset.test(o)) return excluded({kSavesPreset, scan, kNothingScanned});
  }
  for (const Given& action : kKeepsPresets) {
    for (const Given& scan : kOfScans) {
      if (action.test(o) && scan.test(o)) return excluded({action, scan, kNothingScanned});
    }
    if (action.test(o) && kPreset.test(o)) return excluded({action, kPreset, kNothingScanned});
  }
  for (const Given& given : kOfFiles) {
    if (given.test(o) && kPrint.test(o)) return excluded({kPrint, given, "pages are printed, not written"});
  }
  for (const Given& given : kOfPrinting) {
    if (given.test(o) && !kPrint.test(o)) return translated("%s needs %s", {given.name, kPrint.name});
  }
  if (o.allowPrograms && o.script.empty() && !o.toView)
    return translated("%s needs --script", {"--allow-programs"});
  if (!o.client.empty() && !o.toNet) return translated("%s needs --to net", {"--client"});
  if (o.netWait && !o.toNet && o.action != ScanOptions::Action::Deliver)
    return translated("%s needs --to net or --deliver", {"--net-wait"});
  for (const Given& given : {kPrompt, kDelay}) {
    if (given.test(o) && !batches(o)) return translated("%s needs --batch", {given.name});
  }
  return {};
}
