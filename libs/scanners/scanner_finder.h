#pragma once
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// Knows what an open scanner is found again by, and looks for it. Shared by the manager and the scanner's unit;
/// any thread.
class ScannerFinder {
 public:
  /// `app` may be null; it gets a message about the scanner found. `folder` is the one of the host's program.
  ScannerFinder(KxPtr<IApp> app, std::string folder, ScannerEntry entry);

  [[nodiscard]] ScannerEntry entry() const;
  void setEntry(ScannerEntry entry);
  /// Lists the devices in the helper process and answers the one that the scanner is now; none when it is nowhere,
  /// several might be it, or `stopped` said so.
  [[nodiscard]] std::optional<ScannerEntry> find(const std::function<bool()>& stopped) const;
  /// The scanner was opened as `found`: it is known by this name from now on, and the host gets a message.
  void take(const ScannerEntry& found);

 private:
  const KxPtr<IApp> m_app;
  const std::string m_folder;
  mutable std::mutex m_mutex;  // guards the next one
  ScannerEntry m_entry;
};

/// Which of the listed devices is the one that went by another device string: the only one, or the one whose device
/// string ends alike, among those of the same vendor, model and type. Null when none is, or several might be.
[[nodiscard]] const ScannerEntry* matchScanner(const ScannerEntry& lost, const std::vector<ScannerEntry>& list);

/// The listed devices that may be the lost one, to be tried in this order: the one of its own name, else the match,
/// else all alike when its serial number can tell.
[[nodiscard]] std::vector<ScannerEntry> candidatesFor(const ScannerEntry& lost,
                                                      const std::vector<ScannerEntry>& list);

/// The listed device of that device string, or null.
[[nodiscard]] const ScannerEntry* findDevice(const std::vector<ScannerEntry>& list, std::string_view device);

/// Whether a fault is one of a device that is not there: it may have got another device string. One that refuses
/// (busy, no access) is there.
[[nodiscard]] bool mayBeElsewhere(const UnitFault& fault) noexcept;

/// The serial number that an open device reports; empty without one.
[[nodiscard]] std::string serialOf(IScan* scanner);

/// Says that a scanner is back; `app` may be null.
void tellFoundAgain(IApp* app, const std::string& lost, const std::string& found);

}  // namespace quillbay
