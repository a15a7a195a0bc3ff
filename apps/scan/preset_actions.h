#pragma once
#include "quillbay/presets.h"
#include "reporter.h"
#include "scan_options.h"

/// What the program does with presets beside scanning with one. Each throws Failure.
namespace preset_actions {

/// The preset of a name: as it is written, else the only one that differs by the letters' case. `option` is what
/// named it.
[[nodiscard]] quillbay::PresetEntry find(quillbay::IApp* app, const std::string& option, const std::string& name);

int list(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter);
/// Writes --export-preset into its file, or to standard output.
int write(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter);
/// Stores what --import-preset names: a file, or standard input.
int read(quillbay::IApp* app, const ScanOptions& options, Reporter& reporter);
/// The name of --save-preset, without blanks around it. Throws when it is taken, or is none.
[[nodiscard]] std::string takeName(quillbay::IApp* app, const ScanOptions& options);
int store(quillbay::IApp* app, const ScanOptions& options, const quillbay::Preset& preset, Reporter& reporter);

}  // namespace preset_actions
