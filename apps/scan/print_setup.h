#pragma once
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "scan_options.h"

/// Brings the options of printing into the host and its panel. Throws Failure (usage) for an option, a value or a
/// template that does not exist; what there is, is listed.
void applyPrintOptions(quillbay::IApp* app, quillbay::IQuillbaySink* sink, const ScanOptions& options);
