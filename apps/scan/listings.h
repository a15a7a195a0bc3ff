#pragma once
#include "quillbay/control.h"
#include "quillbay/host.h"
#include "reporter.h"
#include "scanner_choice.h"

/// Prints the devices as usual tools do, or one JSON event each. Throws Failure (device) when the list could not be
/// made.
void listDevices(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter);

/// Prints the printers, a line or one JSON event each. Throws Failure (output) when the list could not be made.
void listPrinters(const ScanOptions& options, Reporter& reporter);

/// Prints what the scanner, the formats and the panel take.
void listAllOptions(quillbay::IApp* app, const ScannerChoice& scanner, quillbay::IQuillbayControl* control,
                    const ScanOptions& options, Reporter& reporter);

/// A value of a parameter as --set takes it; empty for what cannot be typed.
[[nodiscard]] std::string valueText(const quillbay::CKxVariant& value);
