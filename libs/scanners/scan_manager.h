#pragma once
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/scanner.h"
#include "scanners/scanner_finder.h"

namespace quillbay {

/// The scanner manager. User-interface thread only, except `Find`.
///
/// Its settings store has "Device" (what opens the scanner), "Vendor", "Model", "Type" and "Serial" (what it is
/// found again by when the device string has changed) and "Name" (its name for its settings, which is kept
/// although the device string changes).
class ScanManager final : public CKxUnknownImpl<IScanManager, IScannerWatch> {
 public:
  ScanManager(IApp* app, int flags);

  int List(std::vector<ScannerEntry>* out, std::string* why) override { return ListUntil(out, why, {}); }
  int ListUntil(std::vector<ScannerEntry>* out, std::string* why, const std::function<bool()>& stopped) override;
  IScan* GetCurrent() override;
  int SetCurrent(std::string_view device, std::string* why) override;
  int Choose(int reason) override;
  int Initialise(std::string_view folder, IParam* settings, int flags) override;
  std::string GetScannerName(IScan* scanner) override;
  int Remember() override;
  int HasCurrent() override;
  int GetChoices(std::vector<ScannerEntry>* out) override;

  int GetWanted(ScannerEntry* out) override;
  int Find(const ScannerEntry& lost, ScannerEntry* found, std::string* why,
           const std::function<bool()>& stopped) override;
  int Reopen(const ScannerEntry& found, std::string* why) override;

 private:
  ~ScanManager() override = default;

  [[nodiscard]] ScannerEntry wanted();
  [[nodiscard]] ScannerEntry remembered() const;
  void completeFrom(const std::vector<ScannerEntry>& list);
  KxPtr<IScan> open(const ScannerEntry& entry, UnitFault* fault);
  KxPtr<IScan> openSane(const ScannerEntry& entry, const std::string& name, UnitFault* fault);
  KxPtr<IScan> openAs(const ScannerEntry& lost, const ScannerEntry& found, UnitFault* fault);
  KxPtr<IScan> openOnly(UnitFault* fault);
  KxPtr<IScan> findAgain(const ScannerEntry& lost, UnitFault* fault);
  [[nodiscard]] ScannerEntry entry() const { return m_finder ? m_finder->entry() : m_entry; }
  [[nodiscard]] std::string folder();

  const KxPtr<IApp> m_app;
  const bool m_offersSimulated, m_searches;
  std::mutex m_mutex;  // guards the next two
  std::string m_folder;
  std::set<std::string> m_others;  // devices that have shown another serial number than the lost one's
  KxPtr<IParam> m_settings;
  std::string m_set;                        // by SetCurrent; empty: none
  ScannerEntry m_entry;                     // of the scanner that could not be opened, or has no finder
  std::vector<ScannerEntry> m_choices;      // not chosen from yet
  std::shared_ptr<ScannerFinder> m_finder;  // of the SANE scanner that is open
  KxPtr<IScan> m_current;
};

/// Stands for a scanner that could not be opened: has a name and a reason, and is no unit.
class UnavailableScan final : public CKxUnknownImpl<IScan, IUnitFault> {
 public:
  UnavailableScan(std::string name, UnitFault fault) : m_name(std::move(name)), m_fault(std::move(fault)) {}
  std::string GetName() override { return m_name; }
  UnitFault GetFault() override { return m_fault; }

 private:
  ~UnavailableScan() override = default;
  const std::string m_name;
  const UnitFault m_fault;
};

}  // namespace quillbay
