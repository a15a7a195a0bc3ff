#pragma once
#include <string>

namespace quillbay {

/// How a destination names files, for the page that sets it. User-interface thread.
class IFileNaming {
 public:
  virtual ~IFileNaming() = default;
  /// The name, without folder, that mask, counter and format give now; empty when folder or mask is empty. The rule
  /// for existing files is not applied.
  [[nodiscard]] virtual std::string fileName() const = 0;
  /// The tags that the mask may hold, each followed by a blank.
  [[nodiscard]] virtual std::string tags() const = 0;
};

}  // namespace quillbay
