#include "channels/page_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/base_services.h"
#include "platform/log_category.h"

namespace quillbay {
namespace {

constexpr std::int64_t kFlushStep = std::int64_t{32} << 20;
constexpr int kPiecesPerCall = 64;

WriteHook* g_hook = nullptr;

[[noreturn]] void fail(const std::string& what, const std::string& path, int error) {
  throw CXFileException(what + " " + path + ": " + fio::errorText(error), path, error);
}

/// One pwritev with the errors that mean "again" taken care of. Answers the bytes written, or -1 with `*error`.
std::int64_t writeSome(int fd, iovec* pieces, int count, std::int64_t offset, int* error) {
  if (g_hook) {
    std::size_t size = 0;
    for (int i = 0; i < count; ++i) size += pieces[i].iov_len;
    std::size_t allowed = size;
    *error = g_hook->beforeWrite(offset, &allowed);
    if (*error == EINTR) return *error = 0;
    if (*error) return -1;
    while (size > allowed && count > 1) size -= pieces[--count].iov_len;
    if (size > allowed) pieces[0].iov_len = allowed;
  }
  for (;;) {
    const ssize_t done = ::pwritev(fd, pieces, count, offset);
    if (done > 0) return done;
    if (done < 0 && errno == EINTR) continue;
    *error = done < 0 ? errno : ENOSPC;  // a device that takes nothing is full
    return -1;
  }
}

}  // namespace

void setWriteHook(WriteHook* hook) { g_hook = hook; }

PageFile::PageFile(std::string path, Mode mode) : m_path(std::move(path)) {
  const int flags = mode == Mode::Create ? O_RDWR | O_CREAT | O_EXCL : mode == Mode::Append ? O_RDWR : O_RDONLY;
  do {
    m_fd = ::open(m_path.c_str(), flags | O_CLOEXEC, 0666);
  } while (m_fd < 0 && errno == EINTR);
  if (m_fd < 0) fail(mode == Mode::Create ? "create" : "open", m_path, errno);
  struct stat info {};
  if (::fstat(m_fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    const int error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    ::close(m_fd);
    fail("open", m_path, error);
  }
  lock(mode);
  m_size = m_pageStart = m_flushed = info.st_size;
  m_edge.self = this;
  m_edge.size = [](void* self) { return static_cast<PageFile*>(self)->m_size; };
  m_edge.read = [](void* self, std::int64_t offset, void* bytes, std::size_t size) -> int {
    auto* file = static_cast<PageFile*>(self);
    auto* to = static_cast<std::uint8_t*>(bytes);
    while (size > 0) {
      const ssize_t got = ::pread(file->m_fd, to, size, offset);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) {
        file->m_error = got < 0 ? errno : EIO;
        return QB_E_FILE;
      }
      to += got, offset += got, size -= static_cast<std::size_t>(got);
    }
    return QB_OK;
  };
  m_edge.append = [](void* self, const QbPiece* pieces, int count) -> int {
    return static_cast<PageFile*>(self)->append(pieces, count) ? QB_OK : QB_E_FILE;
  };
  m_edge.patch = [](void* self, std::int64_t offset, const void* bytes, std::size_t size) -> int {
    auto* file = static_cast<PageFile*>(self);
    const auto* from = static_cast<const std::uint8_t*>(bytes);
    Patch patch{offset, {from, from + size}, std::vector<std::uint8_t>(size)};
    if (file->m_edge.read(self, offset, patch.before.data(), size) != QB_OK) return QB_E_FILE;
    file->m_patches.push_back(std::move(patch));
    return QB_OK;
  };
}

PageFile::~PageFile() {
  if (m_fd >= 0) ::close(m_fd);
}

/// The lock shows other programs that the file is being written; it ends with the file or the program.
void PageFile::lock(Mode mode) {
  if (mode == Mode::Read) return;
  if (::flock(m_fd, LOCK_EX | LOCK_NB) == 0) {
    // Between opening and locking, another program may have moved the file away.
    struct stat mine {
    }, named{};
    const bool same = ::fstat(m_fd, &mine) == 0 && ::stat(m_path.c_str(), &named) == 0 &&
                      mine.st_ino == named.st_ino && mine.st_dev == named.st_dev;
    if (same) return;
    ::close(std::exchange(m_fd, -1));
    throw CXFileException(
        formatText(Supp_Translate("open %s: another program moved the file at this moment; try again"), {m_path}),
        m_path, EWOULDBLOCK);
  }
  const int error = errno;
  if (error == EWOULDBLOCK) {
    ::close(std::exchange(m_fd, -1));
    throw CXFileException(
        "open " + m_path + ": a running scan writes this file; wait for its end or choose another name", m_path,
        EWOULDBLOCK);
  }
  logLine(LogLevel::Warning, kChannelsLog, m_path + " cannot be locked here: " + fio::errorText(error));
}

void PageFile::beginPage() noexcept {
  m_pageStart = m_size;
  m_patches.clear();
}

bool PageFile::append(const QbPiece* pieces, int count) {
  std::array<iovec, kPiecesPerCall> batch;
  int next = 0;
  std::size_t skip = 0;  // bytes of the next piece that are already written
  while (m_error == 0 && next < count) {
    int filled = 0;
    for (int i = next; i < count && filled < kPiecesPerCall; ++i, ++filled) {
      const std::size_t done = i == next ? skip : 0;
      const auto* from = static_cast<const std::uint8_t*>(pieces[i].bytes) + done;
      batch[static_cast<std::size_t>(filled)] = {const_cast<std::uint8_t*>(from), pieces[i].size - done};
    }
    std::size_t wanted = 0;
    for (int i = 0; i < filled; ++i) wanted += batch[static_cast<std::size_t>(i)].iov_len;
    if (wanted == 0) break;
    const std::int64_t written = writeSome(m_fd, batch.data(), filled, m_size, &m_error);
    if (written < 0) return false;
    m_size += written;
    skip += static_cast<std::size_t>(written);
    while (next < count && skip >= pieces[next].size) skip -= pieces[next++].size;
    if (g_hook) g_hook->afterWrite(m_path);
  }
  if (m_size - m_flushed >= kFlushStep) startFlush();
  return m_error == 0;
}

bool PageFile::writeAt(std::int64_t offset, const void* bytes, std::size_t size) {
  const auto* from = static_cast<const std::uint8_t*>(bytes);
  while (size > 0) {
    iovec piece{const_cast<std::uint8_t*>(from), size};
    const std::int64_t written = writeSome(m_fd, &piece, 1, offset, &m_error);
    if (written < 0) return false;
    from += written, offset += written, size -= static_cast<std::size_t>(written);
    if (g_hook) g_hook->afterWrite(m_path);
  }
  return true;
}

/// Asks the device to write what was appended, without waiting for it.
void PageFile::startFlush() noexcept {
  // Only a hint: a file system without it writes later.
  (void)::sync_file_range(m_fd, m_flushed, m_size - m_flushed, SYNC_FILE_RANGE_WRITE);
  m_flushed = m_size;
}

bool PageFile::syncData() {
  while (::fdatasync(m_fd) != 0) {
    if (errno == EINTR) continue;
    if (errno == EINVAL || errno == EROFS) break;  // a device that cannot sync
    m_error = errno;
    return false;
  }
  m_flushed = m_size;
  if (g_hook) g_hook->synced();
  return true;
}

bool PageFile::endPage() {
  if (m_error != 0 || !syncData()) return false;
  for (std::size_t i = 0; i < m_patches.size(); ++i) {
    if (writeAt(m_patches[i].offset, m_patches[i].bytes.data(), m_patches[i].bytes.size())) continue;
    undoPatches(i + 1);
    return false;
  }
  m_patches.clear();
  m_pageStart = m_size;
  return true;
}

/// Puts old bytes back where a change failed half way.
void PageFile::undoPatches(std::size_t count) noexcept {
  while (count-- > 0) {
    const Patch& patch = m_patches[count];
    const auto size = static_cast<ssize_t>(patch.before.size());
    if (::pwrite(m_fd, patch.before.data(), patch.before.size(), patch.offset) != size) {
      logLine(LogLevel::Error, kChannelsLog, m_path + " could not be put back as it was: " + fio::errorText(errno));
    }
  }
}

void PageFile::dropPage() noexcept {
  m_patches.clear();
  m_error = 0;
  cutTo(m_pageStart);
}

void PageFile::cutTo(std::int64_t size) noexcept {
  if (size < 0 || m_size <= size) return;
  if (::ftruncate(m_fd, size) != 0) {
    // The bytes are not part of any page; the file is only longer than it needs to be.
    logLine(LogLevel::Warning, kChannelsLog, m_path + " was not cut back: " + fio::errorText(errno));
    return;
  }
  m_size = m_flushed = size;
}

void PageFile::sync() {
  if (!syncData()) fail("write", m_path, std::exchange(m_error, 0));
}

}  // namespace quillbay
