#pragma once
#include <string>
#include <vector>

#include "area.h"
#include "quillbay/host.h"
#include "quillbay/scanner.h"
#include "reporter.h"
#include "scan_options.h"

/// The scanner of a run: chosen, opened, and asked what it can do.
class ScannerChoice {
 public:
  /// Opens the device of the options, else the one that is known already, else the simulated one (and says so), and
  /// sets the device options. Throws Failure (device) when it cannot be opened or has no such option.
  ScannerChoice(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter);

  [[nodiscard]] quillbay::IQuillbayUnit* unit() const { return m_unit.get(); }
  [[nodiscard]] std::string name() const { return m_scanner->GetName(); }
  [[nodiscard]] Bed bed() const { return {m_unit->GetMaxWidth(), m_unit->GetMaxLength()}; }
  [[nodiscard]] std::vector<std::string> modes() const;
  /// The resolutions of a mode, ascending.
  [[nodiscard]] std::vector<int> resolutions(int mode) const;
  /// "it takes 50 to 1200 dpi" for a device with a range; empty for one that takes the listed ones alone.
  [[nodiscard]] std::string resolutionRange(int mode) const;
  [[nodiscard]] std::vector<quillbay::UnitOption> options() const;

 private:
  void choose(const ScanOptions& options, Reporter& reporter);
  void open(const std::string& device);
  void setOption(const std::string& key, const std::string& value);

  quillbay::KxPtr<quillbay::IScanManager> m_manager;
  quillbay::KxPtr<quillbay::IScan> m_scanner;
  quillbay::KxPtr<quillbay::IQuillbayUnit> m_unit;
};
