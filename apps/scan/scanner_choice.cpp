#include "scanner_choice.h"

#include <algorithm>
#include <cstdlib>

#include "failure.h"
#include "names.h"
#include "translated.h"

using quillbay::KxPtr;
using quillbay::query;

namespace {

constexpr const char* kSimulated = "sim:";

}  // namespace

ScannerChoice::ScannerChoice(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter)
    : m_manager(query<quillbay::IScanManager>(app)) {
  if (!m_manager) throw Failure(kDevice, translated("this build has no scanner manager"));
  choose(options.device);
  open(options.device, reporter);
  for (const auto& [key, value] : options.deviceOptions) setOption(key, value);
}

void ScannerChoice::choose(const std::string& device) {
  std::string why;
  if (!device.empty() && !m_manager->SetCurrent(device, &why)) {
    throw Failure(kDevice, translated("device \"%s\": %s", {device, why}));
  }
}

void ScannerChoice::open(const std::string& device, Reporter& reporter) {
  const bool isKnown = m_manager->HasCurrent() != 0;
  m_scanner = KxPtr<quillbay::IScan>::adopt(m_manager->GetCurrent());
  m_unit = m_scanner.as<quillbay::IQuillbayUnit>();
  if (!m_unit) refuse(device);
  const std::string full = m_manager->GetScannerName(m_scanner.get());
  if (!isKnown) {
    reporter.note(translated("scanning with %s, the only scanner found", {full}));
  } else if (device.empty() && !std::getenv("SANE_DEFAULT_DEVICE") && full.starts_with(kSimulated)) {
    reporter.note(translated("scanning with the simulated scanner (%s) of the saved settings", {full}));
  }
}

void ScannerChoice::refuse(const std::string& device) const {
  const auto faults = m_scanner.as<quillbay::IUnitFault>();
  const quillbay::UnitFault fault = faults ? faults->GetFault() : quillbay::UnitFault{};
  if (fault.code == quillbay::UnitFaultCode::NotChosen) {
    std::vector<quillbay::ScannerEntry> choices;
    m_manager->GetChoices(&choices);
    std::string text = translated("several scanners were found; choose one with -d DEVICE:");
    for (const auto& e : choices) text += "\n  " + e.device + "  " + e.vendor + " " + e.model;
    throw Failure(kDevice, text);
  }
  if (fault.code == quillbay::UnitFaultCode::NoScanner) {
    throw Failure(
        kDevice,
        fault.text + " " +
            translated("Use -d DEVICE for a device that is not listed, or -d sim: for the simulated scanner"));
  }
  std::string text = translated("device \"%s\" cannot be used", {device.empty() ? m_scanner->GetName() : device});
  if (!fault.text.empty()) text += ": " + fault.text;
  // The fault lies in the options of a simulated scanner; the list of devices would not help.
  if (device.starts_with(kSimulated)) throw Failure(kDevice, text);

  std::vector<quillbay::ScannerEntry> entries;
  std::string why;
  m_manager->List(&entries, &why);
  std::vector<std::string> devices;
  devices.reserve(entries.size());
  for (const auto& entry : entries) devices.push_back(entry.device);
  const bool listed = std::find(devices.begin(), devices.end(), device) != devices.end();
  if (!listed) text += " (" + names::allowed(devices, device, "--list-devices") + ")";
  throw Failure(kDevice, text);
}

bool ScannerChoice::feeds() const {
  const auto media = m_unit.as<quillbay::IUnitMedia>();
  return !media || media->HasFeeder() != 0;
}

void ScannerChoice::setOption(const std::string& key, const std::string& value) {
  const auto own = m_unit.as<quillbay::IUnitOptions>();
  if (!own) {
    throw Failure(kDevice, translated("--device-option %s: the device %s has no options", {key, name()}));
  }
  std::string why;
  if (own->SetOption(key, value, &why)) return;
  std::vector<std::string> known;
  for (const auto& option : own->GetOptions()) known.push_back(option.name);
  const bool exists = std::find(known.begin(), known.end(), key) != known.end();
  throw Failure(
      kDevice,
      "--device-option " + key + "=" + value + ": " +
          (exists ? why : translated("unknown option; %s", {names::allowed(known, key, "--all-options")})));
}

std::vector<std::string> ScannerChoice::modes() const {
  std::vector<std::string> list;
  for (std::size_t mode = 0; mode < names::modes().size(); ++mode) {
    if (m_unit->HasMode(static_cast<int>(mode))) list.push_back(names::modes()[mode]);
  }
  return list;
}

std::vector<int> ScannerChoice::resolutions(int mode) const {
  std::vector<quillbay::UnitResolution> entries;
  m_unit->GetResolutions(&entries, mode);
  std::vector<int> list;
  list.reserve(entries.size());
  for (const auto& entry : entries) list.push_back(entry.dpi);
  return list;
}

std::string ScannerChoice::resolutionRange(int mode) const {
  const auto range = m_unit.as<quillbay::IUnitResolutionRange>();
  std::int32_t least = 0, most = 0;
  if (!range || !range->GetRange(mode, &least, &most)) return {};
  return translated("it takes %s to %s dpi", {std::to_string(least), std::to_string(most)});
}

std::vector<quillbay::UnitOption> ScannerChoice::options() const {
  const auto own = m_unit.as<quillbay::IUnitOptions>();
  return own ? own->GetOptions() : std::vector<quillbay::UnitOption>{};
}
