#pragma once
#include <string>
#include <vector>

#include "scan_options.h"

/// Reads the arguments (without the program's name) by the option table. Long names may be cut as long as they are
/// unique; "--name=value", "--name value", "-n value" and "-nvalue" are all taken.
/// Throws Failure (usage) that names what is wrong and what is allowed.
[[nodiscard]] ScanOptions parseCommandLine(const std::vector<std::string>& arguments);
