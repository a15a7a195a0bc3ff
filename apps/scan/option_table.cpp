#include "option_table.h"

#include <array>
#include <charconv>

#include "names.h"

namespace {

using Argument = OptionRow::Argument;
using Action = ScanOptions::Action;

constexpr const char* kScanner = "Scanner";
constexpr const char* kPage = "Page";
constexpr const char* kOutput = "Output";
constexpr const char* kRun = "Run";
constexpr const char* kMore = "More";
constexpr int kMaxDpi = 100000;
constexpr int kMaxPages = 1000000;
constexpr int kMaxDelay = 86400;

std::string takeNumber(std::string_view text, int least, int most, const char* what, std::optional<int>* out) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
    return "takes " + std::string(what) + ", a whole number from " + std::to_string(least) + " to " +
           std::to_string(most);
  }
  *out = value;
  return {};
}

std::string takePair(std::string_view text, std::vector<ScanOptions::KeyValue>* out) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos || equals == 0) return "takes KEY=VALUE";
  out->emplace_back(text.substr(0, equals), text.substr(equals + 1));
  return {};
}

std::string takeText(std::string_view text, std::string* out) {
  if (text.empty()) return "takes a text that is not empty";
  *out = text;
  return {};
}

std::string takeMode(ScanOptions& o, std::string_view v) {
  const int mode = names::modeOf(v);
  if (mode < 0) return "unknown mode; " + names::allowed(names::modes(), v, "--help");
  o.mode = mode;
  return {};
}

std::string takeTarget(ScanOptions& o, std::string_view v) {
  if (v == "file" || v == "view") {
    o.toView = v == "view";
    return {};
  }
  return "there are: file, view";
}

std::string takeBatch(ScanOptions& o, std::string_view v) {
  if (!v.empty()) return takeNumber(v, 1, kMaxPages, "a count of pages", &o.batch);
  o.batch = 0;
  return {};
}

std::string takeDelay(ScanOptions& o, std::string_view v) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(v.data(), v.data() + v.size(), seconds);
  if (error != std::errc() || end != v.data() + v.size() || !(seconds >= 0) || seconds > kMaxDelay) {
    return "takes seconds, a number from 0 to " + std::to_string(kMaxDelay);
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
    default: return "";
  }
}

/// Whoever asks for help gets it, whatever else is asked for.
bool isText(Action action) { return action >= Action::Help; }

std::string setAction(ScanOptions& o, Action action) {
  if (isText(action)) {
    o.action = action;
  } else if (o.action == Action::Scan || o.action == action) {
    o.action = action;
  } else if (!isText(o.action)) {
    return "excludes " + std::string(nameOf(o.action)) + ", choose one";
  }
  return {};
}

template <Action action>
std::string act(ScanOptions& o, std::string_view) {
  return setAction(o, action);
}

/// One of two that exclude each other; `other` names the other one.
std::string choose(std::optional<bool>& choice, bool value, const char* other) {
  if (choice && *choice != value) return "excludes " + std::string(other) + ", choose one";
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
        "Scan with this device, as --list-devices names it; sim: is the simulated scanner. Without it: the "
        "environment's SANE_DEFAULT_DEVICE, else the device of the saved settings, else the only device that is "
        "there; with several of them, or none, the program ends with their list (exit status 2).",
        take<&ScanOptions::device>},
    OptionRow{"list-devices", 'L', Argument::None, nullptr, kScanner, "List the devices and exit.",
              act<Action::ListDevices>},
    OptionRow{
        "all-options", 'A', Argument::None, nullptr, kScanner,
        "List what the device and the program take, with the values of the moment: modes, resolutions, papers, "
        "formats, options of the device, parameters; then exit.",
        act<Action::AllOptions>},
    OptionRow{"device-option", 0, Argument::Required, "NAME=VALUE", kScanner,
              "Set an option of the device itself, e.g. source=feeder. May be repeated.",
              takeInto<&ScanOptions::deviceOptions>},

    OptionRow{"mode", 0, Argument::Required, "MODE", kPage,
              "What is scanned: bw-threshold, bw-adaptive, bw-copy-normal, bw-copy-photo, bw-copy-adaptive, grey, "
              "palette or rgb.",
              takeMode},
    OptionRow{
        "resolution", 'r', Argument::Required, "DPI", kPage, "Dots per inch.",
        [](ScanOptions& o, std::string_view v) { return takeNumber(v, 1, kMaxDpi, "dots per inch", &o.dpi); }},
    OptionRow{
        "area", 0, Argument::Required, "AREA", kPage,
        "custom:L,T,R,B (edges on the bed, in millimetres or with a unit: custom:0,0,24in,36in), the name of a "
        "paper (A1, ARCH E), auto-width or fixed-width (to the end of the document; fixed-width:WIDTH). "
        "Without it: as in the saved settings, else the whole bed of a flatbed, else the full width to the end "
        "of the document.",
        take<&ScanOptions::area>},
    OptionRow{"center", 0, Argument::None, nullptr, kPage, "The document lies in the middle of the bed.",
              [](ScanOptions& o, std::string_view) { return choose(o.center, true, "--no-center"); }},
    OptionRow{"no-center", 0, Argument::None, nullptr, kPage, "The document lies at the left of the bed.",
              [](ScanOptions& o, std::string_view) { return choose(o.center, false, "--center"); }},
    OptionRow{"portrait", 0, Argument::None, nullptr, kPage, "The paper lies upright.",
              [](ScanOptions& o, std::string_view) { return choose(o.portrait, true, "--landscape"); }},
    OptionRow{"landscape", 0, Argument::None, nullptr, kPage, "The paper lies across.",
              [](ScanOptions& o, std::string_view) { return choose(o.portrait, false, "--portrait"); }},

    OptionRow{
        "output", 'o', Argument::Required, "FILE", kOutput,
        "Write this file; its extension chooses the format. With --batch or --bursting and without --multipage "
        "every page gets a counter behind the name, unless it holds <COUNTER>. A file in the way ends the run "
        "(exit "
        "status 3), unless --overwrite or --increment is given. - is standard output, for one page (TIFF without "
        "--format).",
        take<&ScanOptions::output>},
    OptionRow{"dir", 0, Argument::Required, "FOLDER", kOutput,
              "Write into this folder, which is made when missing. Without it: the current one.",
              take<&ScanOptions::dir>},
    OptionRow{"mask", 0, Argument::Required, "MASK", kOutput,
              "Name files by this mask; tags are <COUNTER>, <DATE>, <TIME>, <USER>, <COLORSPACE>, <DPI>, <SIZE>. "
              "Without <COUNTER> a counter follows the name. The characters \" * ? < > | outside of tags become -. "
              "Without a mask: scan.",
              take<&ScanOptions::mask>},
    OptionRow{"format", 0, Argument::Required, "FORMAT", kOutput,
              "The file format, TIFF without it; --all-options lists them.", take<&ScanOptions::format>},
    OptionRow{"option", 0, Argument::Required, "KEY=VALUE", kOutput,
              "Set an option of the file format, e.g. compression=lzw. May be repeated.",
              takeInto<&ScanOptions::formatOptions>},
    OptionRow{"multipage", 0, Argument::None, nullptr, kOutput,
              "All pages go into one file. Pages are added to an existing file, whose pages stay as they are.",
              raise<&ScanOptions::multipage>},
    OptionRow{"overwrite", 0, Argument::None, nullptr, kOutput, "Replace files that exist.",
              raise<&ScanOptions::overwrite>},
    OptionRow{"increment", 0, Argument::None, nullptr, kOutput, "Count on until a name is free.",
              raise<&ScanOptions::increment>},
    OptionRow{
        "to", 0, Argument::Required, "TARGET", kOutput,
        "file (the default) writes the page while it is scanned; view keeps it whole, as a program with a view "
        "does, and saves it then when --output, --dir or --mask is given.",
        takeTarget},

    OptionRow{
        "batch", 0, Argument::Optional, "COUNT", kRun,
        "Scan COUNT pages one after another; without COUNT, until no document comes. A device without a feeder "
        "waits between the pages: Return scans the next one, Ctrl-D ends.",
        takeBatch},
    OptionRow{"batch-prompt", 0, Argument::None, nullptr, kRun,
              "Wait for Return between the pages with a feeder too, and whatever standard input is.",
              raise<&ScanOptions::batchPrompt>},
    OptionRow{"batch-delay", 0, Argument::Required, "SECONDS", kRun,
              "Wait so long between the pages, and ask nobody.", takeDelay},
    OptionRow{"bursting", 0, Argument::None, nullptr, kRun,
              "Scan a long document in pieces of the area's height, without a line lost or doubled.",
              raise<&ScanOptions::bursting>},
    OptionRow{"set", 0, Argument::Required, "KEY=VALUE", kRun,
              "Set any parameter of the panel or its pages; --all-options lists them. A rectangle is L,T,R,B in "
              "millimetres. May be repeated.",
              takeInto<&ScanOptions::settings>},
    OptionRow{"save-settings", 0, Argument::None, nullptr, kRun,
              "Keep the settings of this run and its device. Otherwise saved settings are read and nothing is "
              "changed.",
              raise<&ScanOptions::saveSettings>},
    OptionRow{"finish-page", 0, Argument::None, nullptr, kRun,
              "The first interrupt waits for the end of the page that is being scanned.",
              raise<&ScanOptions::finishPage>},
    OptionRow{"dry-run", 0, Argument::None, nullptr, kRun,
              "Print the name that the first page would get, create nothing, and exit.", act<Action::DryRun>},
    OptionRow{
        "recover", 0, Argument::Required, "FILE.part", kRun,
        "Publish the finished pages of a file that a killed program left under its name, or under --output, "
        "print the name, and exit. A file in the way stays (exit status 3), unless --overwrite or --increment "
        "is given.",
        [](ScanOptions& o, std::string_view v) {
          const std::string wrong = setAction(o, Action::Recover);
          return wrong.empty() ? takeText(v, &o.recover) : wrong;
        }},

    OptionRow{"json", 0, Argument::None, nullptr, kMore,
              "One event a line on standard output, as a JSON object, in place of the names.",
              raise<&ScanOptions::json>},
    OptionRow{"quiet", 'q', Argument::None, nullptr, kMore, "Only errors on standard error.",
              raise<&ScanOptions::quiet>},
    OptionRow{"verbose", 'v', Argument::None, nullptr, kMore,
              "Say what is done; twice: with every step of the scanner.",
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
