#include "net/hand_off.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <vector>

#include "core/publish_steps.h"
#include "net/folder_probe.h"
#include "net/hand_off_file.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

std::atomic<HandOffHook*> g_hook{nullptr};
constexpr std::size_t kCopyPiece = std::size_t{4} << 20;
constexpr int kMostNames = 100000;

void before(const char* step) {
  if (HandOffHook* hook = g_hook.load()) hook->before(step);
}

/// The copying was told to end.
struct CopyStopped {};

class NetFd {
 public:
  explicit NetFd(int fd) noexcept : m_fd(fd) {}
  ~NetFd() {
    if (m_fd >= 0) ::close(m_fd);
  }
  NetFd(const NetFd&) = delete;
  NetFd& operator=(const NetFd&) = delete;
  [[nodiscard]] int get() const noexcept { return m_fd; }
  /// File systems on servers report late errors here.
  [[nodiscard]] int close() noexcept {
    const int fd = std::exchange(m_fd, -1);
    return ::close(fd) == 0 ? 0 : errno;
  }

 private:
  int m_fd;
};

[[noreturn]] void failHandOff(const std::string& path, int error) {
  throw CXFileException(formatText("%s: %s", {path, fio::errorText(error)}), path, error);
}

void removeFile(const std::string& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) failHandOff(path, errno);
}

bool isThere(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) return true;
  if (errno != ENOENT) failHandOff(path, errno);
  return false;
}

bool sameInode(const std::string& a, const std::string& b) {
  struct stat one {
  }, two{};
  return ::stat(a.c_str(), &one) == 0 && ::stat(b.c_str(), &two) == 0 && one.st_dev == two.st_dev &&
         one.st_ino == two.st_ino;
}

bool sameBytes(const std::string& a, const std::string& b) {
  struct stat one {
  }, two{};
  if (::stat(a.c_str(), &one) != 0 || ::stat(b.c_str(), &two) != 0 || one.st_size != two.st_size) return false;
  std::ifstream first(a, std::ios::binary), second(b, std::ios::binary);
  std::vector<char> left(kCopyPiece), right(kCopyPiece);
  while (first && second) {
    first.read(left.data(), static_cast<std::streamsize>(left.size()));
    second.read(right.data(), static_cast<std::streamsize>(right.size()));
    if (first.gcount() != second.gcount()) return false;
    if (!std::equal(left.begin(), left.begin() + first.gcount(), right.begin())) return false;
  }
  return first.eof() && second.eof();
}

void syncFileAt(const std::string& path, int fd) {
  if (::fsync(fd) != 0 && errno != EINVAL) failHandOff(path, errno);
}

void writeWhole(const std::string& path, const std::string& text) {
  removeFile(path);
  NetFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (file.get() < 0) failHandOff(path, errno);
  for (std::size_t at = 0; at < text.size();) {
    const ssize_t wrote = ::write(file.get(), text.data() + at, text.size() - at);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) failHandOff(path, wrote < 0 ? errno : EIO);
    at += static_cast<std::size_t>(wrote);
  }
  syncFileAt(path, file.get());
  if (const int error = file.close()) failHandOff(path, error);
}

/// A link has the page's own group and rights; a folder that gives its files others gets a copy.
bool mayLink(const std::string& page, const std::string& folder) {
  struct stat file {
  }, place{};
  if (::stat(page.c_str(), &file) != 0 || ::stat(folder.c_str(), &place) != 0) return false;
  if (file.st_dev != place.st_dev) return false;
  if ((place.st_mode & S_ISGID) && file.st_gid != place.st_gid) return false;
  return ::getxattr(folder.c_str(), "system.posix_acl_default", nullptr, 0) <= 0;
}

/// Some bytes from one file to the other, by the file system's own means where it has any. 0: the end.
ssize_t copyPiece(int from, int to, std::vector<char>& buffer, bool& direct) {
  if (direct) {
    const ssize_t copied = ::copy_file_range(from, nullptr, to, nullptr, kCopyPiece, 0);
    if (copied > 0 || (copied < 0 && (errno == EINTR || errno == ENOSPC || errno == EDQUOT || errno == EIO)))
      return copied;
    // 0 may also be a file system that cannot: a read tells.
    direct = false;
  }
  buffer.resize(kCopyPiece);
  const ssize_t got = ::read(from, buffer.data(), buffer.size());
  for (ssize_t at = 0; at < got;) {
    const ssize_t wrote = ::write(to, buffer.data() + at, static_cast<std::size_t>(got - at));
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) {
      if (wrote == 0) errno = EIO;
      return -1;
    }
    at += wrote;
  }
  return got;
}

/// Not tried over and over with a page that is too large.
void checkRoom(const std::string& page, const std::string& folder) {
  struct stat info {};
  const std::int64_t room = fio::freeSpace(folder);
  if (room >= 0 && ::stat(page.c_str(), &info) == 0 && room < info.st_size) failHandOff(folder, ENOSPC);
}

void copyPage(const std::string& page, const std::string& part, const std::atomic<bool>& stop) {
  NetFd from(::open(page.c_str(), O_RDONLY | O_CLOEXEC));
  if (from.get() < 0) failHandOff(page, errno);
  NetFd to(::open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (to.get() < 0) failHandOff(part, errno);
  try {
    std::vector<char> buffer;
    bool direct = true;
    for (;;) {
      if (stop) throw CopyStopped{};
      before("copy");
      const ssize_t copied = copyPiece(from.get(), to.get(), buffer, direct);
      if (copied == 0) break;
      if (copied < 0 && errno != EINTR) failHandOff(part, errno);
    }
    struct stat whole {
    }, made{};
    if (::fstat(from.get(), &whole) != 0 || ::fstat(to.get(), &made) != 0 || whole.st_size != made.st_size)
      failHandOff(part, EIO);
    syncFileAt(part, to.get());
    if (const int error = to.close()) failHandOff(part, error);
  } catch (...) {
    // Room for others; a part that stays is made again.
    std::ignore = ::unlink(part.c_str());
    throw;
  }
}

/// Gives a file a name that is free. Returns 0 or an error number. Not by an empty file that takes the name first,
/// as file systems without better means would need: a server would see it.
int nameIfFree(const std::string& from, const std::string& to) {
  int error = publishByRename(from, to);
  if (error == ENOTSUP) error = publishByLink(from, to);
  if (error != ENOTSUP) return error;
  if (isThere(to)) return EEXIST;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void syncNamed(const std::string& path) {
  const int fd = ::open(systemFolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;  // a folder that may be written, not read
  const NetFd folder(fd);
  if (::fsync(fd) != 0 && errno != EINVAL && errno != EACCES) failHandOff(path, errno);
}

/// One page on its way.
class PageOnItsWay {
 public:
  PageOnItsWay(Spool& spool, SpoolEntry& entry, const std::atomic<bool>& stop)
      : m_spool(spool), m_entry(entry), m_record(entry.record), m_stop(stop) {}

  std::string handOff() {
    for (int i = 0; i < kMostNames; ++i) {
      if (m_record.stage == SpoolRecord::Queued) makeParts();
      if (m_record.stage == SpoolRecord::Publishing && !publishImage()) continue;
      if (m_record.stage == SpoolRecord::Handing && !publishHandOff()) continue;
      std::string file = m_record.as;
      before("remove");
      m_spool.remove(m_entry);
      return file;
    }
    failHandOff(m_record.handOff.file, EEXIST);
  }

  /// False: it was handed off.
  bool withdraw() {
    if (m_record.stage == SpoolRecord::Handing && !isThere(handOffPart())) return false;
    if (m_record.stage == SpoolRecord::Handing) removeFile(m_record.as);
    if (m_record.stage == SpoolRecord::Publishing && isOurs()) removeFile(m_record.as);
    enter(SpoolRecord::Queued);
    removeFile(imagePart());
    removeFile(handOffPart());
    return true;
  }

 private:
  // Short names of the page's own: a target's name may be as long as the system takes. They are in the target's
  // folder, which is the same disk.
  [[nodiscard]] std::string partName(const char* end) const {
    return systemFolderOf(m_record.as) + "/.quillbay-" + m_entry.id + end;
  }
  [[nodiscard]] std::string imagePart() const { return partName(".part"); }
  [[nodiscard]] std::string handOffPart() const { return partName(".ini.part"); }

  void enter(SpoolRecord::Stage stage) {
    before("record");
    m_record.stage = stage;
    m_spool.update(m_entry);
  }

  void makeParts() {
    std::string name = m_record.as.empty() ? m_record.handOff.file : m_record.as;
    fio::createFolder(fio::folderOf(name));
    if (!m_record.handOff.mayReplace) {
      for (int i = 0; i < kMostNames && (isThere(name) || isThere(handOffName(name))); ++i)
        name = nextImageName(name);
    }
    m_record.as = name;
    const std::string text = handOffText(name, m_record.handOff.client);
    before("part");
    removeFile(imagePart());
    const std::string folder = systemFolderOf(name);
    const bool linked = mayLink(m_entry.page(), folder) && ::link(m_entry.page().c_str(), imagePart().c_str()) == 0;
    if (!linked) checkRoom(m_entry.page(), folder);
    if (!linked) copyPage(m_entry.page(), imagePart(), m_stop);
    before("ini part");
    writeWhole(handOffPart(), text);
    syncNamed(name);
    enter(SpoolRecord::Publishing);
  }

  /// Whether the image with its name is this page, which a killed program gave it.
  [[nodiscard]] bool isOurs() const {
    if (isThere(imagePart())) return sameInode(imagePart(), m_record.as);
    return isThere(m_record.as) &&
           (sameInode(m_record.as, m_entry.page()) || sameBytes(m_record.as, m_entry.page()));
  }

  bool publishImage() {
    if (isOurs()) {
      removeFile(imagePart());
    } else if (!isThere(imagePart()) || !isThere(handOffPart())) {
      enter(SpoolRecord::Queued);  // somebody cleared the parts away
      return false;
    } else if (!nameImage()) {
      return false;
    }
    syncNamed(m_record.as);
    enter(SpoolRecord::Handing);
    return true;
  }

  bool nameImage() {
    const std::string old = handOffName(m_record.as);
    // The old hand-off file must not send the new page to its client.
    if (m_record.handOff.mayReplace) removeFile(old);
    before("image");
    const int error = m_record.handOff.mayReplace
                          ? (::rename(imagePart().c_str(), m_record.as.c_str()) == 0 ? 0 : errno)
                          : nameIfFree(imagePart(), m_record.as);
    if (error == 0) return true;
    if (error != EEXIST) failHandOff(m_record.as, error);
    tryNextName();
    return false;
  }

  bool publishHandOff() {
    const std::string name = handOffName(m_record.as);
    if (!isThere(handOffPart())) return true;  // it has its name
    if (!isThere(m_record.as)) {               // before the server was told: somebody cleared it away
      enter(SpoolRecord::Queued);
      return false;
    }
    if (sameInode(handOffPart(), name)) {
      removeFile(handOffPart());
      return true;
    }
    before("ini");
    const int error = m_record.handOff.mayReplace ? (::rename(handOffPart().c_str(), name.c_str()) == 0 ? 0 : errno)
                                                  : nameIfFree(handOffPart(), name);
    if (error == 0) {
      syncNamed(name);
      return true;
    }
    if (error != EEXIST) failHandOff(name, error);
    // Another program took the name of the hand-off file for an image of its own.
    removeFile(m_record.as);
    tryNextName();
    return false;
  }

  void tryNextName() {
    const std::string next = nextImageName(m_record.as);
    removeFile(imagePart());
    removeFile(handOffPart());
    m_record.as = next;
    enter(SpoolRecord::Queued);
  }

  Spool& m_spool;
  SpoolEntry& m_entry;
  SpoolRecord& m_record;
  const std::atomic<bool>& m_stop;
};

}  // namespace

void setHandOffHook(HandOffHook* hook) { g_hook = hook; }

std::string nextImageName(const std::string& path) {
  const std::string extension = fio::extensionOf(path);
  std::string stem = path.substr(0, path.size() - extension.size());
  std::size_t digits = stem.size();
  while (digits > 0 && stem[digits - 1] >= '0' && stem[digits - 1] <= '9') --digits;
  if (digits == stem.size()) return stem + "-2" + extension;
  std::size_t at = stem.size();
  while (at > digits && stem[at - 1] == '9') stem[--at] = '0';
  if (at > digits)
    ++stem[at - 1];
  else
    stem.insert(digits, 1, '1');
  return stem + extension;
}

HandOffEnd handOffPage(Spool& spool, SpoolEntry entry, const std::atomic<bool>& stop) {
  if (!entry.damaged.empty()) return {HandOffEnd::Stuck, entry.damaged, {}};
  const std::string page = entry.page();
  const bool isHanded = entry.record.stage == SpoolRecord::Handing;
  try {
    if (!isHanded && !isThere(page))
      return {HandOffEnd::Stuck, formatText(Supp_Translate("its file %s is missing"), {page}), {}};
    return {HandOffEnd::Handed, {}, PageOnItsWay(spool, entry, stop).handOff()};
  } catch (const CopyStopped&) {
    return {HandOffEnd::Stopped, {}, {}};
  } catch (const CXFileException& e) {
    const bool isOfPage = isOfName(e.systemError()) || e.path() == page;
    return {isOfPage ? HandOffEnd::Stuck : HandOffEnd::Later, e.what(), {}};
  } catch (const CXException& e) {
    return {HandOffEnd::Stuck, e.what(), {}};
  }
}

bool withdrawPage(Spool& spool, SpoolEntry& entry) {
  const std::atomic<bool> never{false};
  return PageOnItsWay(spool, entry, never).withdraw();
}

}  // namespace quillbay
