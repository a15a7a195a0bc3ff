#pragma once
#include "destinations/name_context.h"

namespace quillbay {

/// What a destination that names files tells the controller beside `CScanTo` (reached from it by dynamic_cast).
class IFileDestination {
 public:
  virtual ~IFileDestination() = default;
  /// Whether the next page is written into a file by its store.
  [[nodiscard]] virtual bool writesFile() const = 0;
  /// Whether an existing file of the prepared name may be replaced: the settings or the person said so.
  [[nodiscard]] virtual bool mayReplace() const = 0;
  /// The values that the page's name depends on, at the moment that its name was prepared. Taken on the
  /// user-interface thread when a scan is started; `nameAtStart` works on a copy of it on the scanner's thread.
  [[nodiscard]] virtual NameContext nameSnapshot() const = 0;
  /// The folder-and-mask name that the next page would get, after the rule for existing files; no side effects.
  [[nodiscard]] virtual std::string nextFile() const = 0;
};

}  // namespace quillbay
