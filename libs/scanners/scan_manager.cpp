#include "scanners/scan_manager.h"

#include <algorithm>
#include <cstdlib>

#include "platform/base_services.h"
#include "scanners/device_lister.h"
#include "scanners/sane_unit.h"
#include "scanners/sim_scan.h"

namespace quillbay {

namespace {

bool isSimulated(std::string_view device) { return device.substr(0, 4) == "sim:"; }

const ScannerEntry* findDevice(const std::vector<ScannerEntry>& list, std::string_view device) {
  const auto it = std::find_if(list.begin(), list.end(), [&](const ScannerEntry& e) { return e.device == device; });
  return it == list.end() ? nullptr : &*it;
}

// What follows the last colon: the part of a device string that numbering and addresses leave alone.
std::string_view tailOf(std::string_view device) { return device.substr(device.rfind(':') + 1); }

std::string join(std::initializer_list<std::string> parts) {
  std::string text;
  for (const std::string& part : parts)
    if (!part.empty()) text.append(text.empty() ? "" : " ").append(part);
  return text;
}

}  // namespace

const ScannerEntry* matchScanner(const ScannerEntry& lost, const std::vector<ScannerEntry>& list) {
  if (lost.vendor.empty() && lost.model.empty()) return nullptr;
  std::vector<const ScannerEntry*> alike;
  for (const ScannerEntry& e : list)
    if (e.vendor == lost.vendor && e.model == lost.model && e.type == lost.type) alike.push_back(&e);
  if (alike.size() > 1) {
    std::erase_if(alike, [&](const ScannerEntry* e) { return tailOf(e->device) != tailOf(lost.device); });
  }
  return alike.size() == 1 ? alike.front() : nullptr;
}

ScanManager::ScanManager(IApp* app, int flags)
    : m_app(KxPtr<IApp>::share(app)), m_offersSimulated((flags & 1) != 0) {}

int ScanManager::Initialise(std::string_view folder, IParam* settings, int) {
  m_folder = folder;
  m_settings = KxPtr<IParam>::share(settings);
  return 1;
}

int ScanManager::List(std::vector<ScannerEntry>* out, std::string* why) {
  std::string reason;
  const bool done = listSaneDevices(m_folder, kListLimit, out, &reason);
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
  if (!m_current || !m_entry.vendor.empty()) return;
  if (const ScannerEntry* known = findDevice(list, m_entry.device)) m_entry = *known;
  if (m_settings && remembered().device == m_entry.device) Remember();
}

ScannerEntry ScanManager::remembered() const {
  IParam* s = m_settings.get();
  return {paramString(s, "Device"), paramString(s, "Vendor"), paramString(s, "Model"), paramString(s, "Type")};
}

ScannerEntry ScanManager::wanted() {
  ScannerEntry last = remembered();
  const char* standard = std::getenv("SANE_DEFAULT_DEVICE");
  const std::string device = !m_set.empty() ? m_set : standard ? standard : "";
  if (device.empty() || device == last.device) return last;
  return {device, {}, {}, {}};
}

KxPtr<IScan> ScanManager::open(const std::string& device, UnitFault* fault) {
  if (!isSimulated(device)) {
    const bool isKnown = device == remembered().device;
    return newSaneScan(m_app.get(), device, isKnown ? paramString(m_settings.get(), "Name") : "", fault);
  }
  std::string why;
  KxPtr<IScan> scan = newSimScan(device, &why);
  if (!scan) *fault = {UnitFaultCode::Invalid, why};
  return scan;
}

KxPtr<IScan> ScanManager::findAgain(const ScannerEntry& lost, UnitFault* fault) {
  std::vector<ScannerEntry> list;
  std::string why;
  if (!listSaneDevices(m_folder, kListLimit, &list, &why)) fault->text.append(" (").append(why).append(")");
  const ScannerEntry* found = findDevice(list, lost.device) ? nullptr : matchScanner(lost, list);
  if (!found) return {};
  const std::string name = paramString(m_settings.get(), "Name");
  UnitFault second;
  KxPtr<IScan> scan = newSaneScan(m_app.get(), found->device, name.empty() ? lost.device : name, &second);
  if (!scan) {
    *fault = second;
    return {};
  }
  m_entry = *found;
  m_set = found->device;
  const std::string told =
      formatText(Supp_Translate("The scanner %s was found again as %s."), {lost.device, found->device});
  logLine(LogLevel::Info, "quillbay.scanner", told);
  if (const KxPtr<IEvents> events = query<IEvents>(m_app.get())) events->Note("quillbay.scanner", told.c_str());
  return scan;
}

IScan* ScanManager::GetCurrent() {
  if (!m_current) {
    m_entry = wanted();
    UnitFault fault{UnitFaultCode::Other,
                    Supp_Translate("No scanner was chosen yet. Choose one from the list of scanners.")};
    if (!m_entry.device.empty()) m_current = open(m_entry.device, &fault);
    // A device that refuses (busy, no access) is there; one that is not may have got another device string.
    const bool isGone = fault.code == UnitFaultCode::Invalid || fault.code == UnitFaultCode::InputOutput;
    const ScannerEntry lost = m_entry;
    if (!m_current && isGone && !isSimulated(lost.device) && !lost.model.empty())
      m_current = findAgain(lost, &fault);
    if (!m_current) {
      logLine(LogLevel::Warning, "quillbay.scanner", fault.text);
      m_current = KxPtr<IScan>::adopt(new UnavailableScan(lost.device, fault));
    }
  }
  return KxPtr<IScan>(m_current).detach();
}

int ScanManager::SetCurrent(std::string_view device, std::string* why) {
  const bool hasControls =
      std::any_of(device.begin(), device.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
  if (device.empty() || hasControls) {
    if (why) *why = Supp_Translate("The name of a scanner is empty or holds control characters.");
    return 0;
  }
  m_set = device;
  m_current = nullptr;
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
  return join({m_entry.vendor, m_entry.model, m_entry.device});
}

int ScanManager::Remember() {
  if (!m_settings) return 0;
  const bool isOpen = m_current && m_current.as<IQuillbayUnit>();
  if (m_current && !isOpen) return 0;  // nobody wants to meet a scanner again that could not be opened
  const ScannerEntry entry = isOpen ? m_entry : wanted();
  if (entry.device.empty()) return 0;
  const std::string name = isOpen ? m_current->GetName() : entry.device;
  m_settings->SetValue("Device", entry.device);
  m_settings->SetValue("Vendor", entry.vendor);
  m_settings->SetValue("Model", entry.model);
  m_settings->SetValue("Type", entry.type);
  m_settings->SetValue("Name", name);
  return 1;
}

int ScanManager::HasCurrent() { return wanted().device.empty() ? 0 : 1; }

KxPtr<IScanManager> new_IScanManagerEx(IApp* app, int flags) {
  return KxPtr<IScanManager>::adopt(new ScanManager(app, flags));
}

}  // namespace quillbay
