#pragma once
#include <memory>
#include <string>

#include "channels/format_module.h"
#include "channels/page_file.h"

namespace quillbay {

/// A file that pages are added to, with the format module's view of it. One thread at a time.
class WritingFile {
 public:
  /// Opens the file; see PageFile. `shown` is the name that error texts give.
  WritingFile(const QbFormat* format, std::string path, std::string shown, PageFile::Mode mode);
  ~WritingFile();
  WritingFile(const WritingFile&) = delete;
  WritingFile& operator=(const WritingFile&) = delete;

  [[nodiscard]] PageFile& file() noexcept { return m_file; }
  /// A batch continues with it.
  [[nodiscard]] bool isBatch() const noexcept { return m_batch; }
  void setBatch() noexcept { m_batch = true; }
  /// Pages that are complete, the one that waits for `endPage` included. Throws CXFileException for a damaged file.
  [[nodiscard]] int pageCount();
  /// Cuts off what a killed program left behind the complete pages, where readers would stumble over it.
  void cutToPages();
  void beginPage(const QbPage& page, const QbOptions& options);
  /// Returns false when the page can hold no more lines: what of the block had room is in it, and it can be ended.
  [[nodiscard]] bool writeLines(const QbBlock& block);
  /// Appends the page's end; the page is part of the file after `finishPage` only.
  void endLines();
  void finishPage();
  /// Forgets the page since `beginPage`, as long as it is not finished.
  void dropPage() noexcept;

 private:
  QbWriter* writer();
  void check(int code, const QbText& why);

  const QbFormat* m_format;
  std::string m_shown;
  PageFile m_file;
  QbWriter* m_writer = nullptr;
  bool m_inPage = false;
  bool m_batch = false;
};

/// What a module was asked for.
enum class FileStep { Read, Write };

/// The exception for a module's answer: "write `path`: cause". `error` is the file's error number.
[[noreturn]] void throwModuleError(FileStep step, const std::string& path, int code, int error, const QbText& why);

}  // namespace quillbay
