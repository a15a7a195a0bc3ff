#pragma once
#include <string>

#include "scan_options.h"

/// Which two options cannot both be meant: names both, and what to do. Empty when all go together.
[[nodiscard]] std::string contradiction(const ScanOptions& options);
