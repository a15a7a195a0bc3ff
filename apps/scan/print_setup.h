#pragma once
#include <string>

#include "quillbay/control.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "scan_options.h"

/// Brings the options of printing into the host and its panel. Throws Failure (usage) for an option, a value or a
/// template that does not exist; what there is, is listed.
void applyPrintOptions(quillbay::IApp* app, quillbay::IQuillbaySink* sink, const ScanOptions& options);

/// The printer that a panel would print on: a name, an address, "auto", or "default" for the system's default one.
/// Throws Failure (usage) when the panel's template cannot be used.
[[nodiscard]] std::string chosenPrinter(quillbay::IApp* app, quillbay::IQuillbayControl* control);
