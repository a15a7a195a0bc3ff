#include "option_table.h"

#include <array>
#include <charconv>

#include "names.h"
#include "translated.h"

namespace {

using Argument = OptionRow::Argument;
using Action = ScanOptions::Action;

constexpr const char* kScanner = "Scanner";
constexpr const char* kPage = "Page";
constexpr const char* kOutputGroup = "Output";
constexpr const char* kPrinting = "Printing";
constexpr const char* kRun = "Run";
constexpr const char* kPresets = "Presets";
constexpr const char* kNetGroup = "Scan servers";
constexpr const char* kMore = "More";
constexpr int kMaxDpi = 100000;
constexpr int kMaxPages = 1000000;
constexpr int kMaxDelay = 86400;
constexpr int kMaxCopies = 999;
constexpr int kMaxNetWait = 86400;

std::string takeNumber(std::string_view text, int least, int most, std::optional<int>* out) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
    return translated("the value must be a whole number from %s to %s",
                      {std::to_string(least), std::to_string(most)});
  }
  *out = value;
  return {};
}

std::string takePair(std::string_view text, std::vector<ScanOptions::KeyValue>* out) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos || equals == 0) return translated("the value must be KEY=VALUE");
  out->emplace_back(text.substr(0, equals), text.substr(equals + 1));
  return {};
}

std::string takeText(std::string_view text, std::string* out) {
  if (text.empty()) return translated("the value must not be empty");
  *out = text;
  return {};
}

std::string takeMode(ScanOptions& o, std::string_view v) {
  const int mode = names::modeOf(v);
  if (mode < 0) return translated("unknown mode; %s", {names::allowed(names::modes(), v, "--help")});
  o.mode = mode;
  return {};
}

std::string takeTarget(ScanOptions& o, std::string_view v) {
  if (v == "file" || v == "view" || v == "print" || v == "net") {
    o.toNet = v == "net";
    o.toPrint = v == "print";
    o.toView = v == "view" || !o.script.empty();
    return {};
  }
  return names::allowed({"file", "view", "print", "net"}, v, "--help");
}

std::string takeNotFound(ScanOptions& o, std::string_view v) {
  if (v != "scan-all" && v != "fail") return names::allowed({"scan-all", "fail"}, v, "--help");
  o.failsIfNotFound = v == "fail";
  return {};
}

std::string takeBatch(ScanOptions& o, std::string_view v) {
  if (!v.empty()) return takeNumber(v, 1, kMaxPages, &o.batch);
  o.batch = 0;
  return {};
}

std::string takeDelay(ScanOptions& o, std::string_view v) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(v.data(), v.data() + v.size(), seconds);
  if (error != std::errc() || end != v.data() + v.size() || !(seconds >= 0) || seconds > kMaxDelay) {
    return translated("the value must be a number of seconds from 0 to %s", {std::to_string(kMaxDelay)});
  }
  o.batchDelay = seconds;
  return {};
}

const char* nameOf(Action action) {
  switch (action) {
    case Action::ListDevices: return "--list-devices";
    case Action::AllOptions: return "--all-options";
    case Action::DryRun: return "--dry-run";
    case Action::Recover: return "--recover";
    case Action::ListPresets: return "--list-presets";
    case Action::SavePreset: return "--save-preset";
    case Action::ExportPreset: return "--export-preset";
    case Action::ImportPreset: return "--import-preset";
    case Action::ListPrinters: return "--list-printers";
    case Action::ListClients: return "--list-clients";
    case Action::SetUpNet: return "--net-folder, --add-client and --remove-client";
    case Action::Deliver: return "--deliver";
    default: return "";
  }
}

/// Help is printed whatever else is on the command line.
bool isText(Action action) { return action >= Action::Help; }

std::string setAction(ScanOptions& o, Action action) {
  if (isText(action) || o.action == Action::Scan || o.action == action) {
    o.action = action;
    return {};
  }
  return isText(o.action) ? std::string() : translated("cannot be used together with %s", {nameOf(o.action)});
}

template <Action action>
std::string act(ScanOptions& o, std::string_view) {
  return setAction(o, action);
}

/// An action over a preset: its name, or a file.
template <Action action, std::string ScanOptions::*text>
std::string actOn(ScanOptions& o, std::string_view v) {
  const std::string wrong = setAction(o, action);
  return wrong.empty() ? takeText(v, &(o.*text)) : wrong;
}

std::string takeExport(ScanOptions& o, std::string_view v) {
  const auto end = std::min(v.find('\n'), v.size());
  const std::string wrong = actOn<Action::ExportPreset, &ScanOptions::exportPreset>(o, v.substr(0, end));
  return wrong.empty() ? takeText(v.substr(std::min(end + 1, v.size())), &o.presetFile) : wrong;
}

template <std::vector<std::string> ScanOptions::*list>
std::string takeClient(ScanOptions& o, std::string_view v) {
  (o.*list).emplace_back(v);
  return v.empty() ? translated("the value must not be empty") : setAction(o, Action::SetUpNet);
}

/// Sets one of two options that exclude each other; `other` is the name of the other one.
std::string choose(std::optional<bool>& choice, bool value, const char* other) {
  if (choice && *choice != value) return translated("cannot be used together with %s", {other});
  choice = value;
  return {};
}

template <bool ScanOptions::*flag>
std::string raise(ScanOptions& o, std::string_view) {
  o.*flag = true;
  return {};
}

template <std::string ScanOptions::*text>
std::string take(ScanOptions& o, std::string_view v) {
  return takeText(v, &(o.*text));
}

template <std::vector<ScanOptions::KeyValue> ScanOptions::*list>
std::string takeInto(ScanOptions& o, std::string_view v) {
  return takePair(v, &(o.*list));
}

constexpr std::array kTable{
    OptionRow{
        "device", 'd', Argument::Required, "DEVICE", kScanner,
        "Scan with this device, named as in --list-devices; sim: is the simulated scanner. Default: the "
        "environment "
        "variable SANE_DEFAULT_DEVICE, else the device of the saved settings, else the only device found. If there "
        "are several devices or none, the program lists them and exits with status 2.",
        take<&ScanOptions::device>},
    OptionRow{"list-devices", 'L', Argument::None, nullptr, kScanner, "List the devices and exit.",
              act<Action::ListDevices>},
    OptionRow{"all-options", 'A', Argument::None, nullptr, kScanner,
              "List what the device and the program accept, with the current values: modes, resolutions, papers, "
              "formats, "
              "device options, parameters; then exit.",
              act<Action::AllOptions>},
    OptionRow{"device-option", 0, Argument::Required, "NAME=VALUE", kScanner,
              "Set an option of the device, e.g. source=feeder. May be repeated.",
              takeInto<&ScanOptions::deviceOptions>},

    OptionRow{"mode", 0, Argument::Required, "MODE", kPage,
              "Scan mode: bw-threshold, bw-adaptive, bw-copy-normal, bw-copy-photo, bw-copy-adaptive, grey, "
              "palette or rgb.",
              takeMode},
    OptionRow{"resolution", 'r', Argument::Required, "DPI", kPage, "Dots per inch.",
              [](ScanOptions& o, std::string_view v) { return takeNumber(v, 1, kMaxDpi, &o.dpi); }},
    OptionRow{
        "area", 0, Argument::Required, "AREA", kPage,
        "auto (the document is found on the bed, in a scan at low resolution before each page), "
        "custom:L,T,R,B (edges on the bed, in millimetres or with a unit: custom:0,0,24in,36in), the name of a "
        "paper (A1, ARCH E), auto-width (full width) or fixed-width:WIDTH, both to the end of the document. "
        "Default: the saved area, else the whole bed of a flatbed, else the full width to the end of the "
        "document.",
        take<&ScanOptions::area>},
    OptionRow{"deskew", 0, Argument::None, nullptr, kPage,
              "With --area auto, find the skew of the document, too, and straighten the page while it is scanned. "
              "Another area is not straightened.",
              [](ScanOptions& o, std::string_view) { return choose(o.deskew, true, "--no-deskew"); }},
    OptionRow{"no-deskew", 0, Argument::None, nullptr, kPage, "Scan the document as it lies.",
              [](ScanOptions& o, std::string_view) { return choose(o.deskew, false, "--deskew"); }},
    OptionRow{"if-not-found", 0, Argument::Required, "WHAT", kPage,
              "If --area auto finds no document: scan-all (the default) scans the full width to the end of the "
              "document, fail ends the run with exit status 4.",
              takeNotFound},
    OptionRow{"center", 0, Argument::None, nullptr, kPage, "The document is centred on the bed.",
              [](ScanOptions& o, std::string_view) { return choose(o.center, true, "--no-center"); }},
    OptionRow{"no-center", 0, Argument::None, nullptr, kPage, "The document is at the left edge of the bed.",
              [](ScanOptions& o, std::string_view) { return choose(o.center, false, "--center"); }},
    OptionRow{"portrait", 0, Argument::None, nullptr, kPage, "The paper is upright.",
              [](ScanOptions& o, std::string_view) { return choose(o.portrait, true, "--landscape"); }},
    OptionRow{"landscape", 0, Argument::None, nullptr, kPage, "The paper is sideways.",
              [](ScanOptions& o, std::string_view) { return choose(o.portrait, false, "--portrait"); }},

    OptionRow{
        "output", 'o', Argument::Required, "FILE", kOutputGroup,
        "Write to this file; its extension selects the format. With --batch or --bursting, and without "
        "--multipage, a "
        "counter follows the name of each page, unless the name contains <COUNTER>. If the file exists, the run "
        "ends with exit status 3, unless --overwrite or --increment is given. - is standard output, for one page "
        "(TIFF unless --format is given).",
        take<&ScanOptions::output>},
    OptionRow{"dir", 0, Argument::Required, "FOLDER", kOutputGroup,
              "Write into this folder, which is created if it is missing. Default: the current folder.",
              take<&ScanOptions::dir>},
    OptionRow{"mask", 0, Argument::Required, "MASK", kOutputGroup,
              "Name files by this mask; tags are <COUNTER>, <DATE>, <TIME>, <USER>, <COLORSPACE>, <DPI>, <SIZE>. "
              "Without <COUNTER>, a counter follows the name. The characters \" * ? < > | outside tags become -. "
              "Default: scan.",
              take<&ScanOptions::mask>},
    OptionRow{
        "format", 0, Argument::Required, "FORMAT", kOutputGroup,
        "File format by its name or extension, for this run; --all-options lists them. Default: what the panel's "
        "page Save Settings says, at first TIFF.",
        take<&ScanOptions::format>},
    OptionRow{"option", 0, Argument::Required, "KEY=VALUE", kOutputGroup,
              "Set an option of the file format, e.g. compression=lzw. May be repeated.",
              takeInto<&ScanOptions::formatOptions>},
    OptionRow{"multipage", 0, Argument::None, nullptr, kOutputGroup,
              "Write all pages into one file. If the file exists, the pages are added to those in it.",
              raise<&ScanOptions::multipage>},
    OptionRow{"overwrite", 0, Argument::None, nullptr, kOutputGroup, "Replace existing files.",
              raise<&ScanOptions::overwrite>},
    OptionRow{"increment", 0, Argument::None, nullptr, kOutputGroup, "Use the next free number if a file exists.",
              raise<&ScanOptions::increment>},
    OptionRow{"to", 0, Argument::Required, "TARGET", kOutputGroup,
              "file (the default) writes each page while it is scanned; view first stores the complete page, as a "
              "program "
              "with a view does, and then saves it if --output, --dir or --mask is given; print prints each page "
              "while it is scanned; net hands each page to a scan server, for the client of --client.",
              takeTarget},

    OptionRow{
        "printer", 0, Argument::Required, "NAME", kPrinting,
        "Print on this printer: a name that --list-printers prints, an address as ipp://host/ipp/print, or auto "
        "for the default printer or the first that takes the page's size. Default: what the print options of "
        "the panel say.",
        take<&ScanOptions::printer>},
    OptionRow{"list-printers", 0, Argument::None, nullptr, kPrinting,
              "List the printers and exit: a line for each, its name and, after tabs, its state and description.",
              act<Action::ListPrinters>},
    OptionRow{
        "print-option", 0, Argument::Required, "KEY=VALUE", kPrinting,
        "Set an option of printing: media, scaling (true, fit or a percentage), turn, place, margins, color, "
        "halftone, resolution, quality, tile, overlap, crop-marks, pieces. A wrong value is answered with what "
        "is allowed. May be repeated.",
        takeInto<&ScanOptions::printOptions>},
    OptionRow{
        "template", 0, Argument::Required, "NAME", kPrinting,
        "Print with the options of this template, which the panel or the desktop program has saved. --printer "
        "and --print-option win over it.",
        take<&ScanOptions::printTemplate>},
    OptionRow{"copies", 0, Argument::Required, "COUNT", kPrinting, "Print this many copies of each page.",
              [](ScanOptions& o, std::string_view v) { return takeNumber(v, 1, kMaxCopies, &o.copies); }},

    OptionRow{
        "script", 0, Argument::Required, "FILE", kRun,
        "Work on each page with the commands of this file, while the next page is scanned, then save it. A page "
        "that the script cannot process is reported, saved as it was scanned, and makes the exit status 5. "
        "autocorrect is the program's own correction. Implies --to view.",
        [](ScanOptions& o, std::string_view v) {
          o.toView = true;
          return takeText(v, &o.script);
        }},
    OptionRow{"allow-programs", 0, Argument::None, nullptr, kRun,
              "The script may run programs (/Run). Otherwise, a script that does is refused, unless the settings "
              "allow it.",
              raise<&ScanOptions::allowPrograms>},
    OptionRow{
        "batch", 0, Argument::Optional, "COUNT", kRun,
        "Scan COUNT pages; without COUNT, until there are no more documents. With a device that has no feeder, the "
        "program waits between pages: Return scans the next page, Ctrl-D ends the batch.",
        takeBatch},
    OptionRow{"batch-prompt", 0, Argument::None, nullptr, kRun,
              "Wait for Return between pages, also with a feeder, and also if standard input is not a terminal.",
              raise<&ScanOptions::batchPrompt>},
    OptionRow{"batch-delay", 0, Argument::Required, "SECONDS", kRun,
              "Wait this long between pages, not for Return.", takeDelay},
    OptionRow{"bursting", 0, Argument::None, nullptr, kRun,
              "Scan a long document in pieces of the area's height. No line is lost or repeated.",
              raise<&ScanOptions::bursting>},
    OptionRow{
        "set", 0, Argument::Required, "KEY=VALUE", kRun,
        "Set a parameter of the panel or its pages; --all-options lists them. A rectangle is L,T,R,B in "
        "millimetres. Short names of the mode's adjustments: brightness, contrast, hue, saturation, red, green, "
        "blue, sharpen, blur; level and background (suppression) of the black-and-white modes; palette (0 "
        "linear, 1 photos, 2 maps, 3 lookup file), colors and lut of the mode palette. May be repeated.",
        takeInto<&ScanOptions::settings>},
    OptionRow{"save-settings", 0, Argument::None, nullptr, kRun,
              "Save the settings of this run and its device. Otherwise, saved settings are read and not changed.",
              raise<&ScanOptions::saveSettings>},
    OptionRow{"finish-page", 0, Argument::None, nullptr, kRun, "The first interrupt stops after the current page.",
              raise<&ScanOptions::finishPage>},
    OptionRow{"dry-run", 0, Argument::None, nullptr, kRun,
              "Print the file name of the first page, or with --to print the printer, create nothing, and exit.",
              act<Action::DryRun>},
    OptionRow{
        "recover", 0, Argument::Required, "FILE.part", kRun,
        "Recover the finished pages that a killed program left in FILE.part: save them as FILE or as --output, "
        "print "
        "the name, and exit. An existing file is kept (exit status 3), unless --overwrite or --increment is given.",
        [](ScanOptions& o, std::string_view v) {
          const std::string wrong = setAction(o, Action::Recover);
          return wrong.empty() ? takeText(v, &o.recover) : wrong;
        }},

    OptionRow{"preset", 0, Argument::Required, "NAME", kPresets,
              "Scan with the settings of this preset. Other options win over it.", take<&ScanOptions::preset>},
    OptionRow{
        "list-presets", 0, Argument::None, nullptr, kPresets,
        "List the presets and exit: a line for each, its name and, after a tab, its comment. With --json also "
        "its pages.",
        act<Action::ListPresets>},
    OptionRow{
        "save-preset", 0, Argument::Required, "NAME", kPresets,
        "Save the settings that the device and the other options give as a preset, and exit; nothing is scanned. "
        "Folder and mask are not part of it. A preset that exists is kept (exit status 3), unless --overwrite is "
        "given.",
        actOn<Action::SavePreset, &ScanOptions::savePreset>},
    OptionRow{
        "export-preset", 0, Argument::Two, "NAME FILE", kPresets,
        "Write a preset into a file for another computer, and exit. - is standard output. If the file exists, "
        "the exit status is 3, unless --overwrite is given.",
        takeExport},
    OptionRow{
        "import-preset", 0, Argument::Required, "FILE", kPresets,
        "Read a preset from such a file, print its name, and exit. - is standard input. A preset of this name "
        "is kept (exit status 3), unless --overwrite is given.",
        actOn<Action::ImportPreset, &ScanOptions::presetFile>},

    OptionRow{
        "client", 0, Argument::Required, "NAME", kNetGroup,
        "With --to net: the client of the scan server that the pages are for, by its name or as --list-clients "
        "lists it. It may be left out if there is one.",
        take<&ScanOptions::client>},
    OptionRow{
        "list-clients", 0, Argument::None, nullptr, kNetGroup,
        "List the clients of the scan servers and exit: a line for each with the hot folder of its server, and "
        "whether that can take pages now, separated by tabs.",
        act<Action::ListClients>},
    OptionRow{
        "deliver", 0, Argument::None, nullptr, kNetGroup,
        "Hand off the pages that wait for their hot folders, print their names, and exit: with status 3 if some "
        "still wait.",
        act<Action::Deliver>},
    OptionRow{
        "net-wait", 0, Argument::Required, "SECONDS", kNetGroup,
        "How long the end of the program waits until all pages are handed off. Default: 30. What is not handed off "
        "then waits on this computer for the next program, and the exit status is 3.",
        [](ScanOptions& o, std::string_view v) { return takeNumber(v, 0, kMaxNetWait, &o.netWait); }},
    OptionRow{"net-folder", 0, Argument::Required, "FOLDER", kNetGroup,
              "Set the hot folder of the scan server, and exit.",
              [](ScanOptions& o, std::string_view v) {
                o.netFolder = v;
                return v.empty() ? translated("the value must not be empty") : setAction(o, Action::SetUpNet);
              }},
    OptionRow{"add-client", 0, Argument::Required, "NAME", kNetGroup,
              "Add a client of the scan server, and exit. May be repeated.", takeClient<&ScanOptions::addClients>},
    OptionRow{"remove-client", 0, Argument::Required, "NAME", kNetGroup,
              "Remove a client of the scan server, and exit. May be repeated.",
              takeClient<&ScanOptions::removeClients>},

    OptionRow{"json", 0, Argument::None, nullptr, kMore,
              "Print one event per line on standard output, as a JSON object, instead of file names.",
              raise<&ScanOptions::json>},
    OptionRow{"quiet", 'q', Argument::None, nullptr, kMore, "Print only errors on standard error.",
              raise<&ScanOptions::quiet>},
    OptionRow{"verbose", 'v', Argument::None, nullptr, kMore,
              "Print what is done; if repeated, also each step of the scanner.",
              [](ScanOptions& o, std::string_view) {
                ++o.verbose;
                return std::string();
              }},
    OptionRow{"help", 'h', Argument::None, nullptr, kMore, "Print this help and exit.", act<Action::Help>},
    OptionRow{"version", 'V', Argument::None, nullptr, kMore, "Print the version and exit.", act<Action::Version>},
    OptionRow{"help-man", 0, Argument::None, nullptr, nullptr, "Print the man page.", act<Action::HelpMan>},
    OptionRow{"help-completion", 0, Argument::None, nullptr, nullptr, "Print the completion for bash.",
              act<Action::HelpCompletion>},
};

}  // namespace

std::span<const OptionRow> optionTable() { return kTable; }
