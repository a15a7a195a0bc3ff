#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "core/publish_steps.h"
#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// Pages are written under their name with this at its end until they are finished.
constexpr std::string_view kPartSuffix = ".part";

[[noreturn]] void fail(std::string_view pattern, const std::string& path, int error) {
  throw CXFileException(formatText(Supp_Translate(pattern), {path, fio::errorText(error)}), path, error);
}

/// `reason` is translated already.
[[noreturn]] void cannotWrite(const std::string& path, std::string_view reason, int error) {
  throw CXFileException(
      formatText(Supp_Translate("The file \"%s\" cannot be written: %s"), {path, std::string(reason)}), path,
      error);
}

[[noreturn]] void cannotWrite(const std::string& path, int error) {
  cannotWrite(path, fio::errorText(error), error);
}

void testFolder(const std::string& path, const std::string& folder) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) {
    const int error = errno;
    if (error != ENOENT) cannotWrite(path, error);
    cannotWrite(path, Supp_Translate("its folder does not exist; create it or choose another one"), error);
  }
  if (!S_ISDIR(info.st_mode)) {
    cannotWrite(path, Supp_Translate("what should be its folder is a file; choose another folder"), ENOTDIR);
  }
  // Root passes the test of rights, so a read-only file system is asked for by name.
  struct statvfs volume {};
  if (::statvfs(folder.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY)) cannotWrite(path, EROFS);
  if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) cannotWrite(path, errno);
}

void testNameLength(const std::string& path, const std::string& folder, const std::string& name) {
  const long nameLimit = ::pathconf(folder.c_str(), _PC_NAME_MAX);
  const bool nameTooLong = nameLimit > 0 && name.size() + kPartSuffix.size() > static_cast<std::size_t>(nameLimit);
  if (nameTooLong || path.size() + kPartSuffix.size() >= PATH_MAX) cannotWrite(path, ENAMETOOLONG);
}

void testTarget(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) cannotWrite(path, errno);
    return;
  }
  if (S_ISDIR(info.st_mode)) cannotWrite(path, EISDIR);
  // Renaming a page onto a device would replace the device.
  if (!S_ISREG(info.st_mode)) {
    cannotWrite(path, Supp_Translate("this is not a regular file; choose another name"), ENOTSUP);
  }
  if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
    const int error = errno;
    cannotWrite(path, Supp_Translate("a write-protected file of this name is there; choose another name"), error);
  }
}

/// Advice for errors that the user can correct.
const char* advisedText(int error) noexcept {
  switch (error) {
    case ENOSPC: return "no space left on the device: delete something there or choose a folder on another device";
    case EDQUOT: return "your disk quota is used up: delete something or choose a folder on another device";
    case EACCES: return "permission denied: choose another file or folder, or ask the owner for access";
    case EPERM: return "not permitted here: choose another folder or name";
    case EROFS: return "the file system is read-only: choose a folder on another device";
    case ENAMETOOLONG: return "the name is too long for this file system: choose a shorter one";
    case EIO: return "input or output error: check the disk, its cable or the network connection";
    case EEXIST: return "a file of this name exists already: choose another name";
    case ENOENT: return "no such file or folder";
    case ENOTDIR: return "a part of the path is a file, not a folder";
    case EISDIR: return "this is a folder: choose another name";
    case EXDEV: return "the two names are on different devices: choose one folder for both";
    case EMFILE:
    case ENFILE: return "too many files are open: close something and try again";
    case EFBIG: return "the file is too large for this file system: choose a folder on another device";
    case ETIMEDOUT:
    case EHOSTDOWN: return "the server does not answer: check the network connection";
    case ESTALE: return "the network folder is gone: connect to it again";
    default: return nullptr;
  }
}

}  // namespace

std::string systemFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

namespace fio {

void createFolder(const std::string& folder) {
  if (folder.empty()) return;  // the current one, as `folderOf` has it for a bare name
  for (std::size_t end = 0; end != std::string::npos;) {
    end = folder.find('/', end + 1);
    const std::string step = folder.substr(0, end);
    if (::mkdir(step.c_str(), 0777) == 0) continue;
    const int error = errno;
    // What is there already is fine as long as it is a folder; mkdir may answer EROFS or EACCES for such ones.
    if (isFolder(step)) continue;
    fail("The folder \"%s\" cannot be created: %s", step, error == EEXIST ? ENOTDIR : error);
  }
}

bool exists(const std::string& path) noexcept {
  struct stat info {};
  // Not followed: a link to nothing is in the way of a new file, too.
  return ::lstat(path.c_str(), &info) == 0;
}

bool isFolder(const std::string& path) noexcept {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

void testWritable(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") {
    cannotWrite(path, Supp_Translate("it has no file name; give it one"), path.empty() ? ENOENT : EISDIR);
  }
  const std::string folder = systemFolderOf(path);
  testFolder(path, folder);
  testNameLength(path, folder, name);
  testTarget(path);
}

std::int64_t freeSpace(const std::string& folder) noexcept {
  struct statvfs volume {};
  if (::statvfs(folder.empty() ? "." : folder.c_str(), &volume) != 0 || volume.f_blocks == 0)
    return -1;  // pseudo file systems have no blocks
  std::int64_t bytes = 0;
  const bool tooMany = __builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes);
  return tooMany ? INT64_MAX : bytes;
}

std::string errorText(int error) {
  if (const char* text = advisedText(error)) return Supp_Translate(text);
  // Unlike strerror this one is thread-safe and does not follow the C locale: the text is the catalogue's key.
  const char* text = ::strerrordesc_np(error);
  return text ? Supp_Translate(text) : formatText(Supp_Translate("system error %d"), {toText(std::int64_t{error})});
}

}  // namespace fio
}  // namespace quillbay
