#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "destinations/name_context.h"

namespace quillbay {

/// Folder, mask, counter and extension as an output path, its tags expanded. Empty when folder or mask is empty.
/// Any thread.
[[nodiscard]] std::string buildOutputPath(const NameContext& context);

/// The tags of masks and folders, each followed by a blank.
[[nodiscard]] std::string tagList(const NameContext& context);

/// Whether the folder or mask holds a tag whose value changes with time.
[[nodiscard]] bool namesTime(const ScanValues& values);

/// The name that a page would get, and what the counter is then.
struct OutputName {
  std::string path;
  std::int32_t counter = 0;
  std::int32_t useAutoCounter = 0;
  bool exists = false;   ///< a file of this name stands there (only where that is no obstacle, or asks)
  bool refused = false;  ///< the page cannot have a name; `why` says the reason
  std::string why;
};

using ExistsTest = std::function<bool(const std::string& path)>;

/// Applies the rule for existing files to the name that folder and mask give, without side effects and without
/// asking. Multi-page and "overwrite": the name itself. "Increment": the counter goes up until the name is free,
/// and is switched on when the name carries none. "Ask": refused when the file exists. Names that no file can have
/// are refused. Any thread. `exists` null: asks the file system.
[[nodiscard]] OutputName applyExistsRule(NameContext context, const ExistsTest& exists = {});

/// The name of a page whose scan has just started with the resolution and colour space in `context`: `prepared`
/// when nothing changed, else what the rule for existing files gives.
[[nodiscard]] OutputName nameAtStart(const NameContext& context, const std::string& prepared,
                                     const ExistsTest& exists = {});

}  // namespace quillbay
