#pragma once
#include <string>

namespace quillbay {

/// A script of one line that saves the host's document, in a folder that only this process can read. It is deleted
/// with the object.
class BatchScript {
 public:
  /// Throws CXFileException when it cannot be written.
  explicit BatchScript(const std::string& outputFile);
  ~BatchScript();
  BatchScript(const BatchScript&) = delete;
  BatchScript& operator=(const BatchScript&) = delete;
  [[nodiscard]] const std::string& path() const noexcept { return m_path; }

 private:
  std::string m_folder, m_path;
};

/// The script's text for a file. The name holds no double quote: the path rules replace it.
[[nodiscard]] std::string batchScriptText(const std::string& outputFile);

}  // namespace quillbay
