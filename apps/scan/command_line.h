#pragma once
#include <string>
#include <vector>

#include "scan_options.h"

/// Reads the arguments (without the program's name) by the option table. Long names may be cut as long as they are
/// unique; "--name=value", "--name value", "-n value" and "-nvalue" are all taken.
/// Stores the first fault in `*wrong`, with the allowed values; empty without a fault.
[[nodiscard]] ScanOptions parseCommandLine(const std::vector<std::string>& arguments, std::string* wrong);
