#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "channels/format_module.h"

namespace quillbay {

/// Sees every change of a file before it is made, for fault tests; null outside of them. Not while files are open.
class WriteHook {
 public:
  virtual ~WriteHook() = default;
  /// Returns an error number that the system call shall fail with, or 0; may shorten `*size`.
  virtual int beforeWrite(std::int64_t offset, std::size_t* size) = 0;
  virtual void afterWrite(const std::string& path) = 0;
  virtual void synced() = 0;
};
void setWriteHook(WriteHook* hook);

/// A file that grows page by page, so that finished pages survive a kill of the program at any time:
/// - a page is appended; changes to bytes that are already there (`patch`) are held back;
/// - `endPage` makes the appended bytes safe on the device first and applies the changes then;
/// - `dropPage` forgets the changes and cuts the file back.
/// The first error sticks: everything fails with it until `dropPage`. Used on one thread at a time.
/// While it grows, the device is asked to write without waiting, so that a page's end does not stall.
class PageFile {
 public:
  enum class Mode {
    Create,  ///< must not exist yet; locked
    Append,  ///< exists; locked
    Read,
  };
  /// Opens `path`. Throws CXFileException with the cause; systemError() is EWOULDBLOCK when another program, or
  /// this one, holds the lock, and EEXIST when a file that should be made is there.
  PageFile(std::string path, Mode mode);
  ~PageFile();
  PageFile(const PageFile&) = delete;
  PageFile& operator=(const PageFile&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return m_path; }
  /// The file has another name from now on.
  void renamed(std::string path) { m_path = std::move(path); }
  [[nodiscard]] std::int64_t size() const noexcept { return m_size; }
  /// The error number that sticks; 0 when all is well.
  [[nodiscard]] int error() const noexcept { return m_error; }

  /// Operations in the form that a format module calls.
  [[nodiscard]] const QbFile* edge() const noexcept { return &m_edge; }

  void beginPage() noexcept;
  /// Returns false with `error()` set; `dropPage` is due then.
  [[nodiscard]] bool endPage();
  void dropPage() noexcept;
  /// Cuts the file to its first bytes, while no page is written; what cannot be cut stays, with a line in the log.
  void cutTo(std::int64_t size) noexcept;
  /// Waits until everything is on the device. Throws CXFileException.
  void sync();

 private:
  struct Patch {
    std::int64_t offset;
    std::vector<std::uint8_t> bytes, before;
  };
  void lock(Mode mode);
  bool append(const QbPiece* pieces, int count);
  bool writeAt(std::int64_t offset, const void* bytes, std::size_t size);
  bool syncData();
  void undoPatches(std::size_t count) noexcept;
  void startFlush() noexcept;

  std::string m_path;
  int m_fd = -1;
  std::int64_t m_size = 0;
  std::int64_t m_pageStart = 0;
  std::int64_t m_flushed = 0;
  std::vector<Patch> m_patches;
  int m_error = 0;
  QbFile m_edge{};
};

}  // namespace quillbay
