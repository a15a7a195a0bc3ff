#pragma once
/// Structured storage: a file of nested sections with values, each section a parameter set.
#include <string>
#include <string_view>

#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"

namespace quillbay {

enum class StorageMode : int {
  Read = 0,    ///< what the file holds; nothing is written
  Create = 1,  ///< begins empty; `Commit` replaces the file
};

/// An open storage file. One thread.
class IStorage : public IKxUnknown {
 public:
  /// The section of a path, its names parted by a backslash or a slash, with a reference. With `create` 0 null when
  /// it does not exist.
  virtual IParam* GetSection(std::string_view path, int create) = 0;
  /// Writes the file at once and whole, its folder too when that is missing. Throws CXFileException.
  virtual void Commit() = 0;
};

/// Opens a storage file. Throws CXFileException that names the file when it cannot be read, or is none (`Read`).
[[nodiscard]] QUILLBAY_API KxPtr<IStorage> new_Storage(const std::string& path, StorageMode mode);
/// A section as a parameter set; null when it does not exist and `create` is 0.
[[nodiscard]] QUILLBAY_API KxPtr<IParam> new_IXStorParam(IStorage* storage, std::string_view section, int create);

}  // namespace quillbay
