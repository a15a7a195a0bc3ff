#pragma once
#include "reporter.h"
#include "scan_options.h"

/// Does what the options ask for; a QApplication runs. Returns the exit status. Throws Failure.
[[nodiscard]] int runProgram(const ScanOptions& options, Reporter& reporter);
