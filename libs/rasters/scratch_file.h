#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace quillbay {

/// A file without a name: its space is free again when it is closed, also when the process is killed.
/// When its pages go to the disk is left to the system: starting that early made filling a large raster two to
/// three times as slow, and most rasters are destroyed before it is due. Used by one thread; what it maps may be
/// read by any.
class ScratchFile {
 public:
  /// Throws CXFileException when the folder is missing or not writable, and when it lives in memory (tmpfs, ramfs)
  /// unless that is allowed.
  ScratchFile(const std::string& folder, bool allowMemoryBacked);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  /// Makes sure that the file's next `bytes` have space on the disk, so that writing to their mapping never meets a
  /// full disk (which would end the process). Answers their offset. Throws CXMemException; `stillNeeded` is what
  /// its text says was wanted altogether.
  std::int64_t reserve(std::int64_t bytes, std::int64_t stillNeeded);
  /// Bytes reserved so far.
  [[nodiscard]] std::int64_t size() const noexcept { return m_size; }
  /// Maps part of the file, readable and writable; only what is reserved may be touched. Null when the system
  /// refuses.
  [[nodiscard]] std::uint8_t* map(std::int64_t offset, std::size_t bytes) const noexcept;
  /// Writes without touching the mapping, which would make its pages resident. Throws CXMemException.
  void write(std::int64_t offset, const std::uint8_t* bytes, std::size_t count) const;

 private:
  std::string m_folder;
  int m_fd = -1;
  std::int64_t m_size = 0;
};

/// "12.5 GiB" and the like, for messages.
[[nodiscard]] std::string memoryText(std::int64_t bytes);

}  // namespace quillbay
