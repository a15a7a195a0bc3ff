#include "scanners/scanner_finder.h"

#include <algorithm>
#include <utility>

#include "platform/base_services.h"
#include "scanners/sane/device_lister.h"

namespace quillbay {

namespace {

// What follows the last colon: the part of a device string that numbering and addresses leave alone.
std::string_view tailOf(std::string_view device) { return device.substr(device.rfind(':') + 1); }

bool isAlike(const ScannerEntry& a, const ScannerEntry& b) {
  return a.vendor == b.vendor && a.model == b.model && a.type == b.type;
}

}  // namespace

ScannerFinder::ScannerFinder(KxPtr<IApp> app, std::string folder, ScannerEntry entry)
    : m_app(std::move(app)), m_folder(std::move(folder)), m_entry(std::move(entry)) {}

ScannerEntry ScannerFinder::entry() const {
  const std::lock_guard lock(m_mutex);
  return m_entry;
}

void ScannerFinder::setEntry(ScannerEntry entry) {
  const std::lock_guard lock(m_mutex);
  m_entry = std::move(entry);
}

std::optional<ScannerEntry> ScannerFinder::find(const std::function<bool()>& stopped) const {
  const ScannerEntry lost = entry();
  std::vector<ScannerEntry> list;
  std::string why;
  if (!listSaneDevices(m_folder, kListLimit, &list, &why, lost.device, stopped)) {
    logLine(LogLevel::Warning, "quillbay.scanner", why);
  }
  if (const ScannerEntry* same = findDevice(list, lost.device)) return *same;
  const ScannerEntry* match = matchScanner(lost, list);
  return match ? std::optional(*match) : std::nullopt;
}

void ScannerFinder::take(const ScannerEntry& found) {
  const ScannerEntry before = entry();
  ScannerEntry now = found.vendor.empty() ? before : found;
  now.device = found.device;
  now.serial = before.serial;
  setEntry(std::move(now));
  tellFoundAgain(m_app.get(), before.device, found.device);
}

const ScannerEntry* matchScanner(const ScannerEntry& lost, const std::vector<ScannerEntry>& list) {
  if (lost.vendor.empty() && lost.model.empty()) return nullptr;
  std::vector<const ScannerEntry*> alike;
  for (const ScannerEntry& e : list)
    if (isAlike(e, lost)) alike.push_back(&e);
  if (alike.size() > 1) {
    std::erase_if(alike, [&](const ScannerEntry* e) { return tailOf(e->device) != tailOf(lost.device); });
  }
  return alike.size() == 1 ? alike.front() : nullptr;
}

std::vector<ScannerEntry> candidatesFor(const ScannerEntry& lost, const std::vector<ScannerEntry>& list) {
  if (const ScannerEntry* same = findDevice(list, lost.device)) return {*same};
  if (const ScannerEntry* match = matchScanner(lost, list)) return {*match};
  std::vector<ScannerEntry> alike;
  if (lost.serial.empty() || lost.model.empty()) return alike;
  std::copy_if(list.begin(), list.end(), std::back_inserter(alike),
               [&](const ScannerEntry& e) { return isAlike(e, lost); });
  return alike;
}

const ScannerEntry* findDevice(const std::vector<ScannerEntry>& list, std::string_view device) {
  const auto it = std::find_if(list.begin(), list.end(), [&](const ScannerEntry& e) { return e.device == device; });
  return it == list.end() ? nullptr : &*it;
}

bool mayBeElsewhere(const UnitFault& fault) noexcept {
  return fault.code == UnitFaultCode::Invalid || fault.code == UnitFaultCode::InputOutput;
}

std::string serialOf(IScan* scanner) {
  const auto options = query<IUnitOptions>(scanner);
  if (!options) return {};
  for (const UnitOption& o : options->GetOptions()) {
    if (!o.settable && !o.value.empty() && o.name.find("serial") != std::string::npos) return o.value;
  }
  return {};
}

void tellFoundAgain(IApp* app, const std::string& lost, const std::string& found) {
  const std::string told = lost == found
                               ? formatText(Supp_Translate("The scanner %s is available again."), {found})
                               : formatText(Supp_Translate("The scanner %s was found again as %s."), {lost, found});
  logLine(LogLevel::Info, "quillbay.scanner", told);
  if (const KxPtr<IEvents> events = query<IEvents>(app)) events->Note("quillbay.scanner", told.c_str());
}

}  // namespace quillbay
