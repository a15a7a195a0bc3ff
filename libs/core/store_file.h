#pragma once
#include <memory>
#include <optional>
#include <string>

class QLockFile;

namespace quillbay {

/// Keeps other processes from writing a settings file, by "NAME.lock" beside it, as long as this object lives. The
/// lock of a process that died is taken over. The folder must exist.
class StoreLock {
 public:
  /// Waits up to ten seconds. Throws CXFileException with the holder of the lock, or the reason why there is none.
  explicit StoreLock(const std::string& path);
  ~StoreLock();
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;

 private:
  std::unique_ptr<QLockFile> m_lock;
};

/// All bytes of a file; nothing when there is no such file. Throws CXFileException.
[[nodiscard]] std::optional<std::string> readStoreFile(const std::string& path);
/// Replaces the file at once and whole, or leaves it as it was and throws CXFileException. Follows a link to the
/// file.
void writeStoreFile(const std::string& path, const std::string& bytes);
/// Renames the file to the first free name of "NAME.damaged-1", "NAME.damaged-2", ... and answers that name.
/// Throws CXFileException.
[[nodiscard]] std::string setStoreFileAside(const std::string& path);

}  // namespace quillbay
