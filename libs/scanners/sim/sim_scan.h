#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// Opens a simulated scanner: a unit that scans generated drawings or image files, configured by its device string
/// ("sim:width=900,skew=1.5"; docs/simulated-scanner.md lists all keys). It offers `IScan`, `IQuillbayUnit`,
/// `IQuillbayUnitEx`, `IUnitFault` and `IUnitOptions`, whose options are the keys of the device string; a changed
/// option counts from the next `Scan` on.
///
/// - A page counts as fed when a scan ("SCAN_TYPE" 2) of it is complete, or when it is unloaded; prescans, stopped
///   and failed scans leave it in place. Unloading after a complete scan, before the next page was asked for, drops
///   nothing.
/// - Without paper a scan ends at once (`ScanEnded(2)`, no `ScanStarted`), its fault is `NoDocuments`.
/// - Notifications come on one thread that lives as long as the unit, ended and joined by the unit's end. A sink
/// may
///   arm and run the next scan from within `ScanEnded`.
///
/// Null with the reason in `*why` (one line) for a malformed string or an image that cannot be read.
[[nodiscard]] KxPtr<IScan> newSimScan(std::string_view deviceString, std::string* why);

/// The simulated scanners that are offered for choice.
[[nodiscard]] std::vector<ScannerEntry> listSimScanners();

}  // namespace quillbay
