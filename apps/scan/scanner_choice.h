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
  /// Opens the device of the options, else the one that is known already, else the only one that is there (and says
  /// so), and sets the device options. Throws Failure (device) when there is no such one, it cannot be opened, or
  /// it has no such option.
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
  /// Whether the device feeds the next document.
  [[nodiscard]] bool feeds() const;

 private:
  void choose(const std::string& device);
  void open(const std::string& device, Reporter& reporter);
  [[noreturn]] void refuse(const std::string& device) const;
  void setOption(const std::string& key, const std::string& value);

  quillbay::KxPtr<quillbay::IScanManager> m_manager;
  quillbay::KxPtr<quillbay::IScan> m_scanner;
  quillbay::KxPtr<quillbay::IQuillbayUnit> m_unit;
};
