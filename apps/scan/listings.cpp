#include "listings.h"

#include <QJsonArray>
#include <array>
#include <charconv>
#include <map>

#include "failure.h"
#include "names.h"
#include "quillbay/formats.h"
#include "quillbay/print_host.h"
#include "quillbay/scan_keys.h"
#include "setting_names.h"
#include "translated.h"

namespace {

constexpr std::size_t kLongestValue = 60;

/// What the device takes, by key.
using Ranges = std::map<std::string, quillbay::UnitKeyRange>;

QString listedText(const std::string& s) { return QString::fromStdString(s); }

QJsonArray array(const std::vector<std::string>& list) {
  QJsonArray result;
  for (const std::string& item : list) result.append(listedText(item));
  return result;
}

std::string listedNumber(double value) {
  std::array<char, 32> buffer{};
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

/// " (0 to 255)" for a key whose range the device tells, otherwise nothing.
std::string rangeOf(const Ranges& ranges, const std::string& key) {
  const auto found = ranges.find(key);
  return found == ranges.end()
             ? std::string()
             : " (" +
                   translated("%s to %s", {listedNumber(found->second.least), listedNumber(found->second.most)}) +
                   ")";
}

/// "Resolution in dpi [m_uiDPI, --resolution]: 300".
std::string setting(const ScanOptions::KeyValue& pair) {
  const std::string title = setting_names::titleOf(pair.first), option = setting_names::optionOf(pair.first);
  std::string line = "    " + (title.empty() ? pair.first : title + " [" + pair.first);
  if (!title.empty()) line += (option.empty() ? "" : ", " + option) + "]";
  return line + ": " + pair.second;
}

std::string barred(const std::vector<std::string>& list) {
  std::string result;
  for (const std::string& item : list) result += (result.empty() ? "" : "|") + item;
  return result;
}

/// Everything that --all-options lists.
struct Inventory {
  std::string device;
  Bed bed;
  std::vector<std::string> modes;
  std::vector<std::string> resolutions;
  std::string resolutionRange;
  std::vector<Paper> papers;
  std::vector<quillbay::FormatInfo> formats;
  std::vector<quillbay::UnitOption> options;
  std::vector<ScanOptions::KeyValue> parameters, pageKeys;
  Ranges ranges;
};

Inventory takeInventory(quillbay::IApp* app, const ScannerChoice& scanner, quillbay::IQuillbayControl* control,
                        int mode) {
  Inventory all;
  all.device = scanner.name();
  all.bed = scanner.bed();
  all.modes = scanner.modes();
  for (const int dpi : scanner.resolutions(mode)) all.resolutions.push_back(std::to_string(dpi));
  all.resolutionRange = scanner.resolutionRange(mode);
  all.papers = listPapers(app);
  all.formats = quillbay::ListFormats();
  all.options = scanner.options();
  for (const std::string& key : control->GetParamKeys()) {
    quillbay::CKxVariant value;
    control->GetParam(key, &value);
    all.parameters.emplace_back(key, valueText(value));
  }
  const auto page = quillbay::new_MemParam();
  control->GetPageParams(page.get());
  const auto ranges = quillbay::query<quillbay::IUnitKeyRanges>(scanner.unit());
  for (const std::string& key : page->GetKeys()) {
    all.pageKeys.emplace_back(key, valueText(quillbay::paramValue(page.get(), key)));
    quillbay::UnitKeyRange range;
    if (ranges && ranges->GetKeyRange(key, &range)) all.ranges[key] = range;
  }
  return all;
}

QJsonObject pairs(const std::vector<ScanOptions::KeyValue>& list) {
  QJsonObject object;
  for (const auto& [key, value] : list) object[listedText(key)] = listedText(value);
  return object;
}

QJsonObject asJson(const Ranges& ranges) {
  QJsonObject object;
  for (const auto& [key, range] : ranges)
    object[listedText(key)] =
        QJsonObject{{"initial", range.initial}, {"least", range.least}, {"most", range.most}, {"step", range.step}};
  return object;
}

QJsonObject asJson(const Inventory& all) {
  QJsonArray papers, formats, options;
  for (const Paper& p : all.papers)
    papers.append(QJsonObject{{"name", listedText(p.name)}, {"width", p.width}, {"height", p.height}});
  for (const auto& f : all.formats) {
    QJsonArray keys;
    for (const auto& o : f.options) {
      keys.append(
          QJsonObject{{"key", listedText(o.key)}, {"choices", array(o.choices)}, {"help", listedText(o.help)}});
    }
    formats.append(QJsonObject{
        {"name", listedText(f.name)}, {"extensions", array(f.extensions)}, {"paged", f.paged}, {"options", keys}});
  }
  for (const auto& o : all.options) {
    options.append(QJsonObject{{"name", listedText(o.name)},
                               {"title", listedText(o.title)},
                               {"description", listedText(o.description)},
                               {"value", listedText(o.value)},
                               {"unit", listedText(o.unit)},
                               {"choices", array(o.choices)},
                               {"range", listedText(o.range)},
                               {"active", o.active},
                               {"settable", o.settable}});
  }
  return {{"event", "options"},
          {"device", listedText(all.device)},
          {"bed", QJsonObject{{"width", all.bed.width}, {"length", all.bed.length}}},
          {"modes", array(all.modes)},
          {"resolutions", array(all.resolutions)},
          {"papers", papers},
          {"formats", formats},
          {"deviceOptions", options},
          {"parameters", pairs(all.parameters)},
          {"pageKeys", pairs(all.pageKeys)},
          {"ranges", asJson(all.ranges)}};
}

/// The current value and its unit; only the start of a table.
std::string currentValue(const quillbay::UnitOption& o, const std::string& unit) {
  if (o.value.empty()) return translated("empty");
  std::string text;
  text.append(o.value, 0, kLongestValue);
  if (o.value.size() > kLongestValue) text.append("...");
  text.append(unit);
  return text;
}

/// "Scan source [source]: Flatbed|Feeder, now Flatbed".
void printOption(const quillbay::UnitOption& o, Reporter& out) {
  std::string line = "    " + (o.title.empty() ? o.name : o.title) + " [" + o.name + "]: ";
  const bool inNumbers = !o.range.empty() && o.range.find_first_of("-0123456789") == 0;
  const std::string unit = o.unit.empty() ? "" : " " + o.unit;
  if (!o.active) {
    line += translated("inactive now");
  } else if (o.type == quillbay::UnitOptionType::Button) {
    line += translated("a button");
  } else {
    const std::string allowed = o.choices.empty() ? o.range : barred(o.choices);
    if (!allowed.empty()) line += allowed + (inNumbers ? unit : "") + ", ";
    line += translated("now %s", {currentValue(o, unit)});
  }
  out.line(line + (o.settable ? "" : translated(", read-only")));
  const bool repeats = !o.title.empty() && o.description.starts_with(o.title + ":");
  if (o.description.empty() || repeats) return;
  std::string text = o.description;
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 9)
    text.replace(at, 1, "\n        ");
  out.line("        " + text);
}

void print(const Inventory& all, Reporter& out) {
  out.line(translated("All options of device `%s':", {all.device}));
  out.line("  " + translated(all.bed.length > 0 ? "Bed: %s" : "Bed: %s, any length",
                             {sizeText(all.bed.width, all.bed.length)}));
  out.line("  " + translated("Modes:"));
  out.line("    --mode " + barred(all.modes));
  out.line("  " + translated("Resolutions:"));
  out.line("    --resolution " + barred(all.resolutions) +
           (all.resolutionRange.empty() ? "" : " (" + all.resolutionRange + ")"));
  out.line("  " + translated("Papers and areas:"));
  out.line("    --area auto|custom:L,T,R,B|auto-width|fixed-width[:WIDTH]");
  for (const Paper& p : all.papers) out.line("    --area \"" + p.name + "\" (" + sizeText(p.width, p.height) + ")");
  for (const auto& f : all.formats) {
    out.line("  " + translated(f.paged ? "Format %s (%s, several pages):" : "Format %s (%s):",
                               {f.name, names::joined(f.extensions)}));
    out.line("    --format " + f.name);
    for (const auto& o : f.options) {
      out.line("    --option " + o.key + "=" + (o.choices.empty() ? "..." : barred(o.choices)));
      if (!o.help.empty()) out.line("        " + translated(o.help));
    }
  }
  if (!all.options.empty())
    out.line("  " + translated("Options of the device (--device-option NAME=VALUE; the name is in brackets):"));
  for (const auto& o : all.options) printOption(o, out);
  out.line(
      "  " +
      translated(
          "Parameters of the panel (--set KEY=VALUE; in brackets: the key, and the option that also sets it):"));
  for (const auto& pair : all.parameters) out.line(setting(pair));
  out.line("  " + translated("Settings of its pages (--set KEY=VALUE):"));
  for (const auto& pair : all.pageKeys) out.line(setting(pair) + rangeOf(all.ranges, pair.first));
}

}  // namespace

std::string valueText(const quillbay::CKxVariant& value) {
  if (const auto* i = value.get<std::int32_t>()) return std::to_string(*i);
  if (const auto* d = value.get<double>()) return listedNumber(*d);
  if (const auto* s = value.get<std::string>()) return *s;
  if (const auto* r = value.get<quillbay::tagRRECT>()) {
    return listedNumber(r->left) + "," + listedNumber(r->top) + "," + listedNumber(r->right) + "," +
           listedNumber(r->bottom);
  }
  if (const auto* p = value.get<quillbay::tagRPOINT>()) return listedNumber(p->x) + "," + listedNumber(p->y);
  return {};
}

void listDevices(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter) {
  const auto manager = quillbay::query<quillbay::IScanManager>(app);
  if (!manager) throw Failure(kDevice, translated("this build has no scanner manager"));
  std::vector<quillbay::ScannerEntry> entries;
  std::string why;
  const bool complete = manager->List(&entries, &why) != 0;
  for (const auto& e : entries) {
    if (options.json) {
      reporter.json({{"event", "device"},
                     {"device", listedText(e.device)},
                     {"vendor", listedText(e.vendor)},
                     {"model", listedText(e.model)},
                     {"type", listedText(e.type)}});
    } else {
      reporter.line(translated("device `%s' is a %s %s %s", {e.device, e.vendor, e.model, e.type}));
    }
  }
  if (!complete) throw Failure(kDevice, translated("not all devices could be listed: %s", {why}));
}

void listPrinters(const ScanOptions& options, Reporter& reporter) {
  std::vector<quillbay::PrinterEntry> printers;
  std::string why;
  const bool complete = quillbay::ListPrinters(&printers, &why) != 0;
  for (const quillbay::PrinterEntry& printer : printers) {
    if (options.json) {
      reporter.json({{"event", "printer"},
                     {"name", listedText(printer.name)},
                     {"description", listedText(printer.description)},
                     {"state", listedText(printer.state)},
                     {"default", printer.isDefault}});
      continue;
    }
    std::string state = printer.state;
    if (printer.isDefault) state += (state.empty() ? "" : ", ") + translated("the default printer");
    reporter.line(printer.name + '\t' + state + '\t' + printer.description);
  }
  if (!complete) throw Failure(kOutput, translated("the printers could not be listed: %s", {why}));
  if (printers.empty() && !options.json) reporter.note(translated("there are no printers"));
}

void listAllOptions(quillbay::IApp* app, const ScannerChoice& scanner, quillbay::IQuillbayControl* control,
                    const ScanOptions& options, Reporter& reporter) {
  quillbay::CKxVariant mode;
  control->GetParam(quillbay::key::CurrMode, &mode);
  const Inventory all = takeInventory(app, scanner, control, options.mode.value_or(mode.toInt()));
  if (options.json) {
    reporter.json(asJson(all));
  } else {
    print(all, reporter);
  }
}
