#include "panel_setup.h"

#include <QCoreApplication>
#include <algorithm>
#include <charconv>
#include <filesystem>

#include "listings.h"
#include "names.h"
#include "net_pages.h"
#include "preset_actions.h"
#include "quillbay/formats.h"
#include "quillbay/preview_resolution.h"
#include "quillbay/scan_keys.h"
#include "quillbay/translation.h"
#include "setting_names.h"
#include "translated.h"

using quillbay::CKxVariant;

namespace {

constexpr std::size_t kNearestResolutions = 6;
/// Width, length, position and skew.

/// The numbers of "1,2.5,3", or nothing.
std::vector<double> numbersOf(const std::string& text) {
  std::vector<double> list;
  for (std::size_t begin = 0; begin <= text.size();) {
    const auto end = std::min(text.find(',', begin), text.size());
    double value = 0;
    const auto parsed = std::from_chars(text.data() + begin, text.data() + end, value);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + end) return {};
    list.push_back(value);
    begin = end + 1;
  }
  return list;
}

/// The text as a value of the type that `like` has. Throws Failure.
CKxVariant valueLike(const CKxVariant& like, const std::string& key, const std::string& text) {
  const auto refuse = [&](const char* what) {
    throw Failure(kUsage, translated("--set %s=%s: it takes %s; its value is %s now",
                                     {key, text, translated(what), valueText(like)}));
  };
  const auto list = numbersOf(text);
  if (like.get<std::int32_t>()) {
    std::int32_t value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) refuse("a whole number");
    return value;
  }
  if (like.get<double>()) {
    if (list.size() != 1) refuse("a number");
    return list[0];
  }
  if (like.get<quillbay::tagRRECT>()) {
    if (list.size() != 4) refuse("four numbers, L,T,R,B");
    return quillbay::tagRRECT{list[0], list[1], list[2], list[3]};
  }
  if (like.get<quillbay::tagRPOINT>()) {
    if (list.size() != 2) refuse("two numbers, X,Y");
    return quillbay::tagRPOINT{list[0], list[1]};
  }
  if (!like.get<std::string>() && !like.isEmpty()) refuse("no value from the command line");
  return text;
}

/// "--set KEY=VALUE" as it was typed.
std::string typed(const char* option, const ScanOptions::KeyValue& pair) {
  std::string text = option;
  text.append(" ").append(pair.first).append("=").append(pair.second);
  return text;
}

/// The resolutions nearest to `dpi`, ascending.
std::string nearestTo(std::vector<int> list, int dpi) {
  std::stable_sort(list.begin(), list.end(), [&](int a, int b) { return std::abs(a - dpi) < std::abs(b - dpi); });
  const bool shortened = list.size() > kNearestResolutions;
  if (shortened) list.resize(kNearestResolutions);
  std::sort(list.begin(), list.end());
  std::vector<std::string> texts;
  texts.reserve(list.size());
  for (const int value : list) texts.push_back(std::to_string(value));
  return translated(shortened ? "nearest: %s; --all-options lists all" : "available: %s", {names::joined(texts)});
}

}  // namespace

PanelSetup::PanelSetup(quillbay::IApp* app, quillbay::IQuillbaySink* sink, const ScannerChoice& scanner,
                       const ScanOptions& options, Reporter& reporter, bool saved)
    : m_app(app),
      m_sink(sink),
      m_control(quillbay::query<quillbay::IQuillbayControl>(sink)),
      m_scanner(scanner),
      m_options(options),
      m_reporter(reporter),
      m_saved(saved) {}

void PanelSetup::apply(OutputChoice& output, bool writesFile) {
  applyPreset();
  applyMode();
  applyResolution();
  applyArea();
  applyDeskew();
  applyBursting();
  if (writesFile) applyOutput(output);
  checkPaged(output);
  completeFormat(output);
  applyFormatOptions(output);
  applySettings(writesFile);
  choosePreviewResolution();
  tellDeskew();
}

void PanelSetup::set(const std::string& key, const CKxVariant& value, const std::string& what, ExitStatus status) {
  std::string why;
  if (m_control->SetParam(key, value, &why)) return;
  // "m_Mask takes text" if the user typed the key, "--mask: takes text" otherwise.
  const std::string said = what.starts_with("--set") ? why : setting_names::withOptions(why);
  const std::string option = what.substr(0, what.find(' '));
  const bool repeats = said.starts_with(option + " ");
  throw Failure(status, what + ": " + (repeats ? said.substr(option.size() + 1) : said));
}

/// Reports that the panel took another value than the requested one.
void PanelSetup::tellChanged(const ScanOptions::KeyValue& asked, const CKxVariant& wanted,
                             const CKxVariant& taken) const {
  if (valueText(taken) == valueText(wanted)) return;
  m_reporter.note(
      translated("%s: out of range or not possible now; %s is used", {typed("--set", asked), valueText(taken)}));
}

int PanelSetup::number(const std::string& key) const {
  CKxVariant value;
  m_control->GetParam(key, &value);
  return value.toInt();
}

void PanelSetup::applyPreset() {
  if (m_options.preset.empty()) return;
  const quillbay::PresetEntry entry = preset_actions::find(m_app, "--preset", m_options.preset);
  const auto presets = quillbay::query<quillbay::IQuillbayPresets>(m_sink);
  if (!presets || !presets->ApplyPreset(entry.id)) {
    throw Failure(kUsage, translated("--preset \"%s\": it holds nothing for the settings of this scanner",
                                     {m_options.preset}));
  }
  m_presetPages = entry.pages;
  tellScript(entry.id);
}

/// Scripts work on pages that are scanned to view.
void PanelSetup::tellScript(std::int32_t preset) const {
  quillbay::Preset held;
  if (m_options.toView || !quillbay::GetPreset(m_app, preset, &held)) return;
  const bool uses = std::any_of(held.pages.begin(), held.pages.end(), [](const quillbay::PresetPage& page) {
    CKxVariant value;
    return page.values->GetValue(quillbay::key::UseScript, &value) && value.toInt() != 0;
  });
  if (!uses) return;
  m_reporter.note(
      translated("--preset \"%s\": its script is not run on pages that are scanned to a file; add --to view",
                 {m_options.preset}));
}

bool PanelSetup::presetHolds(std::int32_t page) const {
  return std::find(m_presetPages.begin(), m_presetPages.end(), page) != m_presetPages.end();
}

/// A file that the options name has to take what the preset makes of it.
void PanelSetup::checkPaged(const OutputChoice& output) const {
  if (m_options.preset.empty() || output.format.empty() || number(quillbay::key::MultiPage) == 0) return;
  for (const quillbay::FormatInfo& format : quillbay::ListFormats()) {
    if (!names::same(format.name, output.format) || format.paged) continue;
    throw Failure(kUsage,
                  translated("--preset \"%s\" writes all pages into one file, and a %s file holds one page; choose "
                             "another format, or --set %s=0",
                             {m_options.preset, format.name, quillbay::key::MultiPage}));
  }
}

void PanelSetup::applyMode() {
  if (!m_options.mode) return;
  const std::string name = names::modes()[static_cast<std::size_t>(*m_options.mode)];
  if (!m_scanner.unit()->HasMode(*m_options.mode)) {
    throw Failure(kDevice,
                  translated("--mode %s: the device %s does not offer it; %s",
                             {name, m_scanner.name(), names::allowed(m_scanner.modes(), name, "--all-options")}));
  }
  set(quillbay::key::CurrMode, *m_options.mode, "--mode " + name, kDevice);
}

void PanelSetup::applyResolution() {
  if (!m_options.dpi) return;
  std::string why;
  if (m_control->SetParam(quillbay::key::Dpi, *m_options.dpi, &why)) return;
  const int mode = number(quillbay::key::CurrMode);
  const std::string range = m_scanner.resolutionRange(mode);
  throw Failure(kDevice,
                translated("--resolution %s: the device %s does not offer it; %s",
                           {std::to_string(*m_options.dpi), m_scanner.name(),
                            range.empty() ? nearestTo(m_scanner.resolutions(mode), *m_options.dpi) : range}));
}

void PanelSetup::applyDeskew() {
  if (m_options.deskew) set(quillbay::key::Deskew, *m_options.deskew ? 1 : 0, "--deskew", kUsage);
}

void PanelSetup::choosePreviewResolution() {
  const bool isChosen = std::any_of(m_options.settings.begin(), m_options.settings.end(), [](const auto& pair) {
    return names::same(pair.first, quillbay::key::PreviewDpi);
  });
  if (!isChosen) quillbay::liftPreviewResolution(*m_control, *m_scanner.unit());
}

/// An area of the saved settings, or the whole bed without --area, is not looked for.
void PanelSetup::tellDeskew() {
  if (!m_options.deskew.value_or(false) || number(quillbay::key::Autodetect) != 0) return;
  m_reporter.note(
      translated("--deskew does nothing here: only a document that is found is straightened; add --area auto"));
}

void PanelSetup::applyArea() {
  const AreaRequest request = parseArea(m_options.area);
  const bool asSaved =
      request.kind == AreaRequest::Kind::None && (m_saved || presetHolds(quillbay::kPresetMainPage));
  if (!asSaved) {
    const AreaChoice area = chooseArea(request, listPapers(m_app), m_scanner.bed(), m_options.portrait,
                                       number(quillbay::key::Portrait) != 0);
    if (area.portrait) set(quillbay::key::Portrait, *area.portrait ? 1 : 0, "--portrait", kUsage);
    // An area that the user names is not looked for.
    const bool finds = request.kind == AreaRequest::Kind::Auto;
    if (!finds || number(quillbay::key::Autodetect) == 0)
      set(quillbay::key::Autodetect, finds ? quillbay::kDetectAll : 0, "--area", kUsage);
    if (!area.paper.empty()) set(quillbay::key::PaperName, area.paper, "--area " + area.paper, kUsage);
    set(quillbay::key::ScanAreaType, area.type, "--area", kUsage);
    set(quillbay::key::RcScan, area.rect, "--area", kUsage);
    const bool placed = area.type == quillbay::kAreaCustom && !m_options.center;
    if (placed && m_scanner.unit()->GetCentring() != quillbay::kAlwaysCentres)
      set(quillbay::key::Center, 0, "--area", kUsage);
  } else if (m_options.portrait) {
    set(quillbay::key::Portrait, *m_options.portrait ? 1 : 0, "--portrait", kUsage);
  }
  if (m_options.center)
    set(quillbay::key::Center, *m_options.center ? 1 : 0, *m_options.center ? "--center" : "--no-center", kDevice);
}

void PanelSetup::applyOutput(const OutputChoice& output) {
  if (!m_options.toNet) set(quillbay::key::Dir, output.folder, "--dir", kUsage);
  set(quillbay::key::Mask, output.mask, "--mask", kUsage);
  if (m_options.multipage || !presetHolds(quillbay::kPresetSavePage))
    set(quillbay::key::MultiPage, m_options.multipage ? 1 : 0, "--multipage", kUsage);
  set(quillbay::key::UseAutoCounter, output.counter ? 1 : 0, "--output", kUsage);
  // Over what the save page says, for this run alone.
  if (!output.extension.empty()) set(quillbay::key::Extension, output.extension, "--format", kUsage);
  if (m_options.increment) {
    set(quillbay::key::FileFate, quillbay::kFateIncrement, "--increment", kUsage);
  } else if (output.named || m_options.overwrite || number(quillbay::key::FileFate) == quillbay::kFateOverwrite) {
    set(quillbay::key::FileFate, quillbay::kFateAsk, "--output", kUsage);  // the answer comes from the policy
  }
}

void PanelSetup::completeFormat(OutputChoice& output) {
  CKxVariant extension;
  m_control->GetParam(quillbay::key::Extension, &extension);
  if (const auto* text = extension.get<std::string>()) completeOutput(output, *text);
}

void PanelSetup::applyFormatOptions(const OutputChoice& output) {
  const auto host = quillbay::query<quillbay::IHostApp>(m_app);
  for (const auto& pair : m_options.formatOptions) {
    std::string why;
    if (!host || !host->SetFormatOption(output.format, pair.first, pair.second, &why)) {
      throw Failure(kUsage, typed("--option", pair) + ": " + why);
    }
  }
}

void PanelSetup::applyBursting() {
  const int type = number(quillbay::key::ScanAreaType);
  if (m_options.bursting && type != quillbay::kAreaCustom && type != quillbay::kAreaPaper) {
    throw Failure(
        kUsage,
        translated("--bursting needs an area that sets the length of the pieces: --area custom:L,T,R,B or the name "
                   "of a paper"));
  }
  if (m_options.bursting || !presetHolds(quillbay::kPresetMainPage))
    set(quillbay::key::Bursting, m_options.bursting ? 1 : 0, "--bursting", kUsage);
}

/// Refuses an area outside the bed, as --area does.
void PanelSetup::checkOnBed(const ScanOptions::KeyValue& pair, const CKxVariant& value) const {
  const auto* rect = value.get<quillbay::tagRRECT>();
  const bool isArea =
      names::same(pair.first, quillbay::key::RcScan) || names::same(pair.first, quillbay::key::Rect);
  if (!rect || !isArea) return;
  const Bed bed = m_scanner.bed();
  const bool inside = rect->left >= 0 && rect->top >= 0 && rect->right <= bed.width &&
                      (bed.length <= 0 || rect->bottom <= bed.length);
  if (!inside) {
    throw Failure(kUsage,
                  translated("%s: outside the bed of %s", {typed("--set", pair), sizeText(bed.width, bed.length)}));
  }
}

/// Curves that were saved would hide what the user sets with the sliders.
void PanelSetup::chooseSliders(const std::vector<ScanOptions::KeyValue>& settings) {
  const auto has = [&](auto matches) {
    return std::any_of(settings.begin(), settings.end(), [&](const auto& pair) { return matches(pair.first); });
  };
  if (!has(setting_names::isColourSlider)) return;
  if (has([](const std::string& key) { return names::same(key, quillbay::key::IsGamma); })) return;
  const auto chosen = quillbay::new_MemParam();
  chosen->SetValue(quillbay::key::IsGamma, 0);
  m_sink->ApplyParams(chosen.get());
  QCoreApplication::processEvents();  // the panel applies it in an event of this thread
}

void PanelSetup::applySettings(bool writesFile) {
  const std::vector<std::string> keys = m_control->GetParamKeys();
  std::vector<ScanOptions::KeyValue> settings = m_options.settings;
  for (auto& pair : settings) pair.first = setting_names::keyOf(pair.first, number(quillbay::key::CurrMode));
  chooseSliders(settings);
  const auto page = quillbay::new_MemParam();
  m_control->GetPageParams(page.get());
  const auto chosen = quillbay::new_MemParam();
  if (m_options.toNet) chosen->SetValue(quillbay::kNetUserKey, net_pages::clientOf(m_options).text);
  if (m_options.toView) chosen->SetValue(quillbay::key::UseFileOut, writesFile ? 1 : 0);
  if (!m_options.script.empty()) {
    std::error_code error;
    const auto path = std::filesystem::absolute(m_options.script, error).string();
    chosen->SetValue(quillbay::key::UseScript, 1);
    chosen->SetValue(quillbay::key::ScriptName, m_options.script == kOwnScript
                                                    ? quillbay::Supp_Translate(quillbay::script_key::OwnCorrection)
                                                    : path);
  }
  std::vector<std::pair<ScanOptions::KeyValue, CKxVariant>> applied;
  for (const auto& pair : settings) {
    const auto& [key, text] = pair;
    CKxVariant current;
    if (m_control->GetParam(key, &current)) {
      const CKxVariant wanted = valueLike(current, key, text);
      checkOnBed(pair, wanted);
      set(key, wanted, typed("--set", pair), kUsage);
      m_control->GetParam(key, &current);
      tellChanged(pair, wanted, current);
      applied.emplace_back(pair, current);
    } else if (page->GetValue(key, &current)) {
      const CKxVariant wanted = valueLike(current, key, text);
      checkOnBed(pair, wanted);
      chosen->SetValue(key, wanted);
    } else {
      std::vector<std::string> known = keys;
      for (const std::string& name : page->GetKeys()) known.push_back(name);
      throw Failure(kUsage,
                    translated("--set %s: unknown key; %s", {key, names::allowed(known, key, "--all-options")}));
    }
  }
  if (chosen->GetKeys().empty()) return;
  m_sink->ApplyParams(chosen.get());
  QCoreApplication::processEvents();           // the panel applies them in an event of this thread
  for (const auto& [pair, value] : applied) {  // a page that fills its lists sets some of them
    CKxVariant current;
    if (m_control->GetParam(pair.first, &current) && valueText(current) != valueText(value))
      set(pair.first, value, typed("--set", pair), kUsage);
  }
  m_control->GetPageParams(page.get());
  for (const auto& pair : settings) {
    CKxVariant wanted, taken;
    if (chosen->GetValue(pair.first, &wanted) && page->GetValue(pair.first, &taken))
      tellChanged(pair, wanted, taken);
  }
}
