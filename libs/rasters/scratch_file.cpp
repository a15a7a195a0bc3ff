#include "rasters/scratch_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

[[noreturn]] void throwFolder(const std::string& folder, const std::string& why, int error) {
  throw CXFileException(
      formatText(Supp_Translate("Scratch folder %s: %s. Choose another scratch folder."), {folder, why}), folder,
      error);
}

/// What its name says; unsigned, as the magic numbers are.
unsigned long fileSystemType(const std::string& folder) {
  struct statfs fs {};
  if (statfs(folder.c_str(), &fs) != 0) throwFolder(folder, fio::errorText(errno), errno);
  return static_cast<unsigned long>(fs.f_type) & 0xFFFFFFFFUL;
}

int openNameless(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
  // EISDIR and ENOENT are how old kernels and some file systems say that they have no nameless files.
  if (fd >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT)) return fd;
  std::string name = folder + "/quillbay-scratch-XXXXXX";
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) unlink(name.c_str());
  return named;
}

}  // namespace

std::string memoryText(std::int64_t bytes) {
  constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  int unit = 0;
  std::int64_t tenths = bytes * 10;
  while (tenths >= 10240 && unit < 4) {
    tenths /= 1024;
    ++unit;
  }
  std::string text = std::to_string(tenths / 10);
  if (unit > 0 && tenths % 10 != 0) text += "." + std::to_string(tenths % 10);
  return text + " " + kUnits[unit];
}

ScratchFile::ScratchFile(const std::string& folder, bool allowMemoryBacked) : m_folder(folder) {
  const unsigned long type = fileSystemType(folder);
  if (!allowMemoryBacked && (type == TMPFS_MAGIC || type == RAMFS_MAGIC)) {
    throwFolder(folder, Supp_Translate("it is in memory, which scratch files have to save"), 0);
  }
  m_fd = openNameless(folder);
  if (m_fd < 0) throwFolder(folder, fio::errorText(errno), errno);
}

ScratchFile::~ScratchFile() {
  if (m_fd >= 0) close(m_fd);
}

std::int64_t ScratchFile::reserve(std::int64_t bytes, std::int64_t stillNeeded) {
  int error = 0;
  do {
    error = posix_fallocate(m_fd, m_size, bytes);
  } while (error == EINTR);
  if (error != 0) {
    if (ftruncate(m_fd, m_size) != 0) {
      logLine(LogLevel::Warning, "quillbay.raster", "scratch file in " + m_folder + ": " + fio::errorText(errno));
    }
    throw CXMemException(
        formatText(Supp_Translate("A raster needs %s more in the scratch folder %s, where it already uses %s: %s."),
                   {memoryText(stillNeeded), m_folder, memoryText(m_size), fio::errorText(error)}));
  }
  const std::int64_t offset = m_size;
  m_size += bytes;
  return offset;
}

std::uint8_t* ScratchFile::map(std::int64_t offset, std::size_t bytes) const noexcept {
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd, offset);
  return p == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(p);
}

void ScratchFile::write(std::int64_t offset, const std::uint8_t* bytes, std::size_t count) const {
  while (count > 0) {
    const ssize_t done = pwrite(m_fd, bytes, count, offset);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) {
      throw CXMemException(
          formatText(Supp_Translate("Writing a raster's lines to the scratch folder %s failed: %s."),
                     {m_folder, fio::errorText(done < 0 ? errno : ENOSPC)}));
    }
    bytes += done;
    offset += done;
    count -= static_cast<std::size_t>(done);
  }
}

}  // namespace quillbay
