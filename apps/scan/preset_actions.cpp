#include "preset_actions.h"

#include <QFile>
#include <QJsonArray>
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "failure.h"
#include "names.h"
#include "translated.h"

namespace {

using quillbay::Preset;
using quillbay::PresetEntry;

constexpr qint64 kLongestInput = 1 << 21;  // more than a preset takes

QString presetText(const std::string& s) { return QString::fromStdString(s); }

std::string lowered(const std::string& name) { return presetText(name).toCaseFolded().toStdString(); }

QJsonObject eventOf(const PresetEntry& entry) {
  QJsonArray pages;
  for (const std::int32_t number : entry.pages) {
    pages.append(QJsonObject{{"page", number}, {"title", presetText(quillbay::PresetPageTitle(number))}});
  }
  return {{"event", "preset"},
          {"name", presetText(entry.name)},
          {"comment", presetText(entry.comment)},
          {"id", entry.id},
          {"pages", pages}};
}

PresetEntry entryOf(const Preset& preset) {
  PresetEntry entry{quillbay::PresetId(preset.name), preset.name, preset.comment, {}};
  for (const quillbay::PresetPage& page : preset.pages) entry.pages.push_back(page.number);
  return entry;
}

void tell(const PresetEntry& entry, const ScanOptions& options, Reporter& reporter) {
  if (options.json) return reporter.json(eventOf(entry));
  std::string line = entry.name;
  if (!entry.comment.empty()) line += '\t' + presetText(entry.comment).simplified().toStdString();
  reporter.line(line);
}

void refuseTaken(quillbay::IApp* app, const ScanOptions& options, const char* option, const std::string& name) {
  for (const PresetEntry& entry : quillbay::ListPresets(app)) {
    if (entry.id != quillbay::PresetId(name) || options.overwrite) continue;
    throw Failure(kOutput, translated("%s: there is a preset \"%s\" already; use --overwrite to replace it",
                                      {option, entry.name}));
  }
}

Preset readPreset(const std::string& path) {
  Preset preset;
  std::string why;
  if (path != "-") {
    if (!quillbay::ReadPresetFile(path, &preset, &why)) throw Failure(kUsage, "--import-preset: " + why);
    return preset;
  }
  QFile input;
  const bool opened = input.open(stdin, QIODevice::ReadOnly);
  std::string bytes;
  // A pipe gives what has come so far.
  for (QByteArray piece; opened; bytes.append(piece.data(), static_cast<std::size_t>(piece.size()))) {
    piece = input.read(kLongestInput - static_cast<qint64>(bytes.size()));
    if (piece.isEmpty()) break;
  }
  if (!quillbay::ReadPresetText(bytes, &preset, &why))
    throw Failure(kUsage, translated("--import-preset: standard input cannot be used: %s", {why}));
  return preset;
}

}  // namespace

namespace preset_actions {

PresetEntry find(quillbay::IApp* app, const std::string& option, const std::string& name) {
  const std::vector<PresetEntry> list = quillbay::ListPresets(app);
  std::vector<PresetEntry> alike;
  std::vector<std::string> known;
  for (const PresetEntry& entry : list) {
    if (entry.name == name) return entry;
    if (lowered(entry.name) == lowered(name)) alike.push_back(entry);
    known.push_back(entry.name);
  }
  if (alike.size() == 1) return alike.front();
  if (list.empty()) throw Failure(kUsage, translated("%s \"%s\": there are no presets", {option, name}));
  throw Failure(kUsage, translated("%s \"%s\": unknown preset; %s",
                                   {option, name, names::allowed(known, name, "--list-presets")}));
}

int list(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter) {
  for (const PresetEntry& entry : quillbay::ListPresets(app)) tell(entry, options, reporter);
  return kDone;
}

int write(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter) {
  const PresetEntry entry = find(app, "--export-preset", options.exportPreset);
  Preset preset;
  std::string why;
  if (!quillbay::GetPreset(app, entry.id, &preset))
    throw Failure(kUsage, translated("%s \"%s\": unknown preset", {"--export-preset", entry.name}));
  if (options.presetFile == "-") {
    const std::string text = quillbay::WritePresetText(preset);
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!written) throw Failure(kOutput, translated("standard output cannot be written"));
    return kDone;
  }
  std::error_code error;
  if (!options.overwrite && std::filesystem::exists(options.presetFile, error))
    throw Failure(kOutput,
                  translated("--export-preset: the file %s exists; use --overwrite", {options.presetFile}));
  if (!quillbay::WritePresetFile(preset, options.presetFile, options.overwrite, &why)) throw Failure(kOutput, why);
  reporter.published(options.presetFile, 0);
  return kDone;
}

int read(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter) {
  const Preset preset = readPreset(options.presetFile);
  refuseTaken(app, options, "--import-preset", preset.name);
  if (!quillbay::StorePreset(app, preset))
    throw Failure(kOutput, translated("the preset \"%s\" could not be saved", {preset.name}));
  tell(entryOf(preset), options, reporter);
  return kDone;
}

std::string takeName(quillbay::IApp* app, const ScanOptions& options) {
  Preset preset{options.savePreset, {}, {}};
  std::string why;
  // A name that a file could not hold could not be brought to another computer.
  if (!quillbay::ReadPresetText(quillbay::WritePresetText(preset), &preset, &why))
    throw Failure(kUsage, "--save-preset: " + why);
  refuseTaken(app, options, "--save-preset", preset.name);
  return preset.name;
}

int store(quillbay::IApp* app, const ScanOptions& options, const Preset& preset, Reporter& reporter) {
  if (!quillbay::StorePreset(app, preset))
    throw Failure(kOutput, translated("the preset \"%s\" could not be saved", {preset.name}));
  tell(entryOf(preset), options, reporter);
  return kDone;
}

}  // namespace preset_actions
