#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "core/publish_steps.h"
#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// Errors by which file systems say that they lack an operation.
bool isLacking(int error) noexcept {
  return error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EPERM || error == EMLINK;
}

int publishNew(const std::string& from, const std::string& to) noexcept {
  int error = publishByRename(from, to);
  if (error == ENOTSUP) error = publishByLink(from, to);
  if (error == ENOTSUP) error = publishByClaim(from, to);
  return error;
}

int publishOver(const std::string& from, const std::string& to) noexcept {
  struct stat info {};
  // The user agreed to replace a file, not a device or a pipe.
  if (::lstat(to.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISLNK(info.st_mode)) {
    return S_ISDIR(info.st_mode) ? EISDIR : ENOTSUP;
  }
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// Makes a new name last through a power failure. The file has its name already, so an error is only reported.
void syncFolder(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool synced = fd >= 0 && ::fsync(fd) == 0;
  const int error = synced ? 0 : errno;
  if (fd >= 0) ::close(fd);
  if (synced || error == EINVAL || error == EACCES)
    return;  // file systems without it; folders that may not be read
  logLine(LogLevel::Warning, "quillbay.core",
          formatText(Supp_Translate("The folder \"%s\" could not be synced: %s"), {folder, fio::errorText(error)}));
}

}  // namespace

int publishByRename(const std::string& from, const std::string& to) noexcept {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  return errno == EINVAL || errno == ENOSYS ? ENOTSUP : errno;
}

int publishByLink(const std::string& from, const std::string& to) noexcept {
  if (::link(from.c_str(), to.c_str()) != 0) return isLacking(errno) ? ENOTSUP : errno;
  if (::unlink(from.c_str()) == 0) return 0;
  const int error = errno;
  ::unlink(to.c_str());
  return error;
}

int publishByClaim(const std::string& from, const std::string& to) noexcept {
  const int fd = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) return errno;
  ::close(fd);
  if (::rename(from.c_str(), to.c_str()) == 0) return 0;
  const int error = errno;
  ::unlink(to.c_str());
  return error;
}

void fio::publish(const std::string& from, const std::string& to, bool replace) {
  const int error = replace ? publishOver(from, to) : publishNew(from, to);
  if (error != 0) {
    throw CXFileException(formatText(Supp_Translate("The finished file \"%s\" cannot be named \"%s\": %s"),
                                     {from, to, errorText(error)}),
                          to, error);
  }
  syncFolder(systemFolderOf(to));
}

}  // namespace quillbay
