#pragma once
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "channels/writing_file.h"

namespace quillbay {

/// The NAME.part of `fileName`.
[[nodiscard]] std::string partName(const std::string& fileName);

/// The parts that belong to this program's running batches and that no channel holds at the moment, each kept open
/// and locked: the next page continues where the last one ended. Any thread.
class PartRegistry {
 public:
  static PartRegistry& instance();
  /// Hands out the open part of `fileName`; null when there is none.
  [[nodiscard]] std::unique_ptr<WritingFile> take(const std::string& fileName);
  void keep(const std::string& fileName, std::unique_ptr<WritingFile> part);

 private:
  std::mutex m_mutex;
  std::map<std::string, std::unique_ptr<WritingFile>> m_parts;
};

/// A new, locked NAME.part; an old part of that name is renamed first. Throws CXFileException.
[[nodiscard]] std::unique_ptr<WritingFile> createPart(const QbFormat* format, const std::string& fileName);

/// Syncs the part and gives it its final name. Throws CXFileException; the part then stays as it is.
void publishPart(WritingFile& part, const std::string& fileName, bool mayReplace);

/// Deletes the file of the part; logs a failure.
void deletePart(WritingFile& part) noexcept;

}  // namespace quillbay
