#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// The scanner manager. User-interface thread only.
///
/// Its settings store has "Device" (what opens the scanner), "Vendor", "Model" and "Type" (what it is found again
/// by when the device string has changed) and "Name" (its name for its own settings, which stays although the
/// device string changes).
class ScanManager final : public CKxUnknownImpl<IScanManager> {
 public:
  ScanManager(IApp* app, int flags);

  int List(std::vector<ScannerEntry>* out, std::string* why) override;
  IScan* GetCurrent() override;
  int SetCurrent(std::string_view device, std::string* why) override;
  int Choose(int reason) override;
  int Initialise(std::string_view folder, IParam* settings, int flags) override;
  std::string GetScannerName(IScan* scanner) override;
  int Remember() override;
  int HasCurrent() override;

 private:
  ~ScanManager() override = default;

  [[nodiscard]] ScannerEntry wanted();
  [[nodiscard]] ScannerEntry remembered() const;
  void completeFrom(const std::vector<ScannerEntry>& list);
  KxPtr<IScan> open(const std::string& device, UnitFault* fault);
  KxPtr<IScan> findAgain(const ScannerEntry& lost, UnitFault* fault);

  const KxPtr<IApp> m_app;
  const bool m_offersSimulated;
  std::string m_folder;
  KxPtr<IParam> m_settings;
  std::string m_set;     // by SetCurrent; empty: none
  ScannerEntry m_entry;  // of the scanner that is open
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

/// Which of the listed devices is the one that went by another device string: the only one, or the one whose device
/// string ends alike, among those of the same vendor, model and type. Null when none is, or several might be.
[[nodiscard]] const ScannerEntry* matchScanner(const ScannerEntry& lost, const std::vector<ScannerEntry>& list);

}  // namespace quillbay
