#include "scanners/scan_manager.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/base_services.h"
#include "scanners/sane/device_lister.h"
#include "scanners/sane/sane_thread.h"
#include "scanners/sane/sane_unit.h"
#include "scanners/sim/sim_scan.h"

namespace quillbay {

namespace {

bool isSimulated(std::string_view device) { return device.substr(0, 4) == "sim:"; }

std::string join(std::initializer_list<std::string> parts) {
  std::string text;
  for (const std::string& part : parts)
    if (!part.empty()) text.append(text.empty() ? "" : " ").append(part);
  return text;
}

}  // namespace

ScanManager::ScanManager(IApp* app, int flags)
    : m_app(KxPtr<IApp>::share(app)), m_offersSimulated((flags & 1) != 0), m_searches((flags & 2) == 0) {}

int ScanManager::Initialise(std::string_view folder, IParam* settings, int) {
  const std::lock_guard lock(m_mutex);
  m_folder = folder;
  m_settings = KxPtr<IParam>::share(settings);
  return 1;
}

std::string ScanManager::folder() {
  const std::lock_guard lock(m_mutex);
  return m_folder;
}

int ScanManager::ListUntil(std::vector<ScannerEntry>* out, std::string* why, const std::function<bool()>& stopped) {
  std::string reason;
  const bool done = listSaneDevices(folder(), kListLimit, out, &reason, {}, stopped);
  if (!done && stopped && stopped()) {
    if (why) *why = reason;
    return 0;
  }
  completeFrom(*out);
  if (m_offersSimulated) {
    const std::vector<ScannerEntry> simulated = listSimScanners();
    out->insert(out->end(), simulated.begin(), simulated.end());
  }
  if (!done) {
    logLine(LogLevel::Warning, "quillbay.scanner", reason);
    if (why) *why = reason;
  }
  return done ? 1 : 0;
}

// A scanner that was opened by its device string alone gets its vendor and model from the first list.
void ScanManager::completeFrom(const std::vector<ScannerEntry>& list) {
  if (!m_current || !m_finder) return;
  ScannerEntry now = entry();
  const ScannerEntry* known = now.vendor.empty() ? findDevice(list, now.device) : nullptr;
  if (known) {
    const std::string serial = std::exchange(now, *known).serial;
    now.serial = serial;
    m_finder->setEntry(now);
  }
  if (m_settings && remembered().device == now.device) Remember();
}

ScannerEntry ScanManager::remembered() const {
  IParam* s = m_settings.get();
  return {paramString(s, "Device"), paramString(s, "Vendor"), paramString(s, "Model"), paramString(s, "Type"),
          paramString(s, "Serial")};
}

ScannerEntry ScanManager::wanted() {
  ScannerEntry last = remembered();
  const char* standard = std::getenv("SANE_DEFAULT_DEVICE");
  const std::string device = !m_set.empty() ? m_set : standard ? standard : "";
  if (device.empty() || device == last.device) return last;
  return {device, {}, {}, {}};
}

KxPtr<IScan> ScanManager::open(const ScannerEntry& entry, UnitFault* fault) {
  if (!isSimulated(entry.device)) {
    const bool isKnown = entry.device == remembered().device;
    return openSane(entry, isKnown ? paramString(m_settings.get(), "Name") : "", fault);
  }
  std::string why;
  KxPtr<IScan> scan = newSimScan(entry.device, &why);
  if (!scan) *fault = {UnitFaultCode::Invalid, why};
  return scan;
}

KxPtr<IScan> ScanManager::openSane(const ScannerEntry& entry, const std::string& name, UnitFault* fault) {
  auto finder = std::make_shared<ScannerFinder>(m_app, folder(), entry);
  KxPtr<IScan> scan = newSaneScan(m_app.get(), entry.device, name, fault, finder);
  if (!scan) return {};
  ScannerEntry known = entry;
  if (const std::string serial = serialOf(scan.get()); !serial.empty()) known.serial = serial;
  finder->setEntry(known);
  m_finder = std::move(finder);
  return scan;
}

// Opens a listed device in the place of the one that was lost. The drivers may have to search again.
KxPtr<IScan> ScanManager::openAs(const ScannerEntry& lost, const ScannerEntry& found, UnitFault* fault) {
  const bool isKnown = lost.device == remembered().device;
  const std::string kept = isKnown ? paramString(m_settings.get(), "Name") : "";
  const std::string& name = kept.empty() ? lost.device : kept;
  KxPtr<IScan> scan = openSane(found, name, fault);
  if (!scan && mayBeElsewhere(*fault)) {
    SaneThread::instance().call(m_app.get(), [] { SaneThread::instance().renewDrivers(); });
    scan = openSane(found, name, fault);
  }
  if (!scan) return {};
  const ScannerEntry opened = m_finder->entry();
  if (!lost.serial.empty() && !opened.serial.empty() && lost.serial != opened.serial) {
    m_finder = nullptr;
    const std::lock_guard lock(m_mutex);
    m_others.insert(found.device);
    *fault = {UnitFaultCode::Invalid, formatText(Supp_Translate("%s has the serial number %s, not %s."),
                                                 {found.device, opened.serial, lost.serial})};
    return {};
  }
  m_set = found.device;
  tellFoundAgain(m_app.get(), lost.device, found.device);
  return scan;
}

KxPtr<IScan> ScanManager::findAgain(const ScannerEntry& lost, UnitFault* fault) {
  std::vector<ScannerEntry> list;
  std::string why;
  if (!listSaneDevices(folder(), kListLimit, &list, &why)) fault->text.append(" (").append(why).append(")");
  for (const ScannerEntry& found : candidatesFor(lost, list)) {
    if (KxPtr<IScan> scan = openAs(lost, found, fault)) return scan;
  }
  return {};
}

// Nobody has said which scanner: the only one there is, if it is a real one.
KxPtr<IScan> ScanManager::openOnly(UnitFault* fault) {
  std::vector<ScannerEntry> list;
  std::string why;
  const bool done = listSaneDevices(folder(), kListLimit, &list, &why);
  if (done && list.size() == 1) {
    m_entry = list.front();
    return open(m_entry, fault);
  }
  m_choices = list;
  if (list.empty()) {
    fault->code = UnitFaultCode::NoScanner;
    fault->text = Supp_Translate("No scanner was found. Connect one and switch it on, or choose one by its name.");
  } else {
    std::string names;
    for (const ScannerEntry& e : list) names.append(names.empty() ? "" : ", ").append(e.device);
    fault->text = formatText(Supp_Translate("No scanner was chosen yet. Choose one of these: %s."), {names});
  }
  if (!done) fault->text.append(" (").append(why).append(")");
  return {};
}

IScan* ScanManager::GetCurrent() {
  if (!m_current) {
    m_entry = wanted();
    m_finder = nullptr;
    m_choices.clear();
    UnitFault fault{UnitFaultCode::NotChosen,
                    Supp_Translate("No scanner was chosen yet. Choose one from the list of scanners.")};
    if (!m_entry.device.empty()) {
      m_current = open(m_entry, &fault);
    } else if (m_searches) {
      m_current = openOnly(&fault);
    }
    const ScannerEntry lost = m_entry;
    if (!m_current && m_searches && mayBeElsewhere(fault) && !isSimulated(lost.device) && !lost.model.empty())
      m_current = findAgain(lost, &fault);
    if (!m_current) {
      logLine(LogLevel::Warning, "quillbay.scanner", fault.text);
      m_current = KxPtr<IScan>::adopt(new UnavailableScan(lost.device, fault));
    }
  }
  return KxPtr<IScan>(m_current).detach();
}

int ScanManager::GetWanted(ScannerEntry* out) {
  *out = m_current ? entry() : wanted();
  return out->device.empty() || isSimulated(out->device) ? 0 : 1;
}

int ScanManager::Find(const ScannerEntry& lost, ScannerEntry* found, std::string* why,
                      const std::function<bool()>& stopped) {
  std::vector<ScannerEntry> list;
  why->clear();
  if (!listSaneDevices(folder(), kListLimit, &list, why, lost.device, stopped) && list.empty()) return 0;
  const std::lock_guard lock(m_mutex);
  for (const ScannerEntry& candidate : candidatesFor(lost, list)) {
    if (m_others.count(candidate.device) > 0) continue;
    *found = candidate;
    return 1;
  }
  m_others.clear();  // device strings are assigned again: next time all are examined again
  return 0;
}

int ScanManager::Reopen(const ScannerEntry& found, std::string* why) {
  const ScannerEntry lost = m_current ? entry() : wanted();
  m_current = nullptr;  // closes it first
  m_finder = nullptr;
  ScannerEntry device = found;
  if (device.vendor.empty() && device.device == lost.device) device = lost;
  UnitFault fault;
  m_current = openAs(lost, device, &fault);
  if (m_current) return 1;
  m_entry = lost;
  m_current = KxPtr<IScan>::adopt(new UnavailableScan(lost.device, fault));
  if (why) *why = fault.text;
  return 0;
}

int ScanManager::SetCurrent(std::string_view device, std::string* why) {
  const bool hasControls =
      std::any_of(device.begin(), device.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
  if (device.empty() || hasControls) {
    if (why) *why = Supp_Translate("The name of a scanner is empty or contains control characters.");
    return 0;
  }
  m_set = device;
  m_current = nullptr;
  m_finder = nullptr;
  return 1;
}

int ScanManager::Choose(int) {
  const KxPtr<IScannerChooser> chooser = query<IScannerChooser>(m_app.get());
  std::string device;
  return chooser && chooser->ChooseScanner(this, &device) && SetCurrent(device, nullptr) ? 1 : 0;
}

std::string ScanManager::GetScannerName(IScan* scanner) {
  if (!scanner) return {};
  if (scanner != m_current.get()) return scanner->GetName();
  const ScannerEntry e = entry();
  return join({e.vendor, e.model, e.device});
}

int ScanManager::Remember() {
  if (!m_settings) return 0;
  const bool isOpen = m_current && m_current.as<IQuillbayUnit>();
  if (m_current && !isOpen) return 0;  // a scanner that could not be opened is not remembered
  const ScannerEntry known = isOpen ? entry() : wanted();
  if (known.device.empty()) return 0;
  const std::string name = isOpen ? m_current->GetName() : known.device;
  m_settings->SetValue("Device", known.device);
  m_settings->SetValue("Vendor", known.vendor);
  m_settings->SetValue("Model", known.model);
  m_settings->SetValue("Type", known.type);
  m_settings->SetValue("Serial", known.serial);
  m_settings->SetValue("Name", name);
  return 1;
}

int ScanManager::GetChoices(std::vector<ScannerEntry>* out) {
  *out = m_choices;
  return static_cast<int>(out->size());
}

int ScanManager::HasCurrent() { return wanted().device.empty() ? 0 : 1; }

KxPtr<IScanManager> new_IScanManagerEx(IApp* app, int flags) {
  return KxPtr<IScanManager>::adopt(new ScanManager(app, flags));
}

}  // namespace quillbay
