#include "net/folder_probe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "net/spool.h"
#include "platform/base_services.h"
#include "platform/page_spool.h"

namespace quillbay {

namespace {

/// Below this a folder counts as full.
constexpr std::int64_t kLeastRoom = 1024 * 1024;

struct Mount {
  std::string point, fileSystem;
};

/// A path of the list of mounts, where blanks and backslashes are octal.
std::string unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isCode = text[i] == '\\' && i + 3 < text.size();
    if (!isCode) {
      plain += text[i];
      continue;
    }
    plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
    i += 3;
  }
  return plain;
}

std::vector<Mount> mounts() {
  // ID PARENT MAJOR:MINOR ROOT POINT OPTIONS [FIELDS...] - FILESYSTEM SOURCE OPTIONS; see proc(5).
  std::vector<Mount> list;
  std::ifstream file("/proc/self/mountinfo");
  for (std::string line; std::getline(file, line);) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < line.size();) {
      const auto end = std::min(line.find(' ', at), line.size());
      words.push_back(line.substr(at, end - at));
      at = end + 1;
    }
    const auto dash = line.find(" - ");
    if (words.size() < 5 || dash == std::string::npos) continue;
    const auto kind = dash + 3;
    list.push_back({unescaped(words[4]), line.substr(kind, std::min(line.find(' ', kind), line.size()) - kind)});
  }
  return list;
}

bool isUnder(const std::string& path, const std::string& folder) {
  if (folder == "/") return true;
  return path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

/// The mount that holds a path; the last one that was made over a point counts.
Mount mountOf(const std::string& path) {
  Mount best;
  for (Mount& mount : mounts())
    if (isUnder(path, mount.point) && mount.point.size() >= best.point.size()) best = std::move(mount);
  return best;
}

bool isMounted(const std::string& point) {
  for (const Mount& mount : mounts())
    if (mount.point == point) return true;
  return false;
}

std::string withoutEndSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

HotFolderState& say(HotFolderState& state, HotFolderState::Fate fate, std::string why) {
  state.fate = fate;
  state.why = std::move(why);
  return state;
}

HotFolderState& sayError(HotFolderState& state, int error) {
  if (error == ENOENT)
    return say(state, HotFolderState::Away,
               Supp_Translate("there is no such folder; connect its server, or create the folder"));
  if (error == ENOTDIR)
    return say(state, HotFolderState::Refuses, Supp_Translate("it is a file, not a folder; choose another folder"));
  return say(state, isPassing(error) ? HotFolderState::Away : HotFolderState::Refuses, fio::errorText(error));
}

}  // namespace

bool isPassing(int error) noexcept {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
    case ENOTDIR:
    case EISDIR:
    case ELOOP: return false;
    default: return !isOfName(error);
  }
}

bool isOfName(int error) noexcept {
  return error == ENAMETOOLONG || error == EILSEQ || error == EINVAL || error == EFBIG;
}

HotFolderState probeHotFolder(const std::string& folder, const std::string& mountPoint) {
  HotFolderState state;
  const std::string path = withoutEndSlash(folder);
  if (path.empty()) return say(state, HotFolderState::Refuses, Supp_Translate("no folder is set"));
  // The place of a mount is a folder as well when nothing is mounted, and nobody would see pages there.
  struct stat info {};
  const int error = ::stat(path.c_str(), &info) == 0 ? 0 : errno;  // mounts what is mounted on demand
  if (!mountPoint.empty() && !isMounted(mountPoint))
    return say(state, HotFolderState::Away,
               formatText(Supp_Translate("nothing is mounted at %s; connect the server's disk"), {mountPoint}));
  if (error != 0) return sayError(state, error);
  if (!S_ISDIR(info.st_mode)) return sayError(state, ENOTDIR);
  Mount mount = mountOf(path);
  state.mountPoint = std::move(mount.point);
  state.fileSystem = std::move(mount.fileSystem);
  struct statvfs volume {};
  if (::statvfs(path.c_str(), &volume) != 0) return sayError(state, errno);
  // Root passes the test of rights, so a read-only file system is asked for by name.
  if (volume.f_flag & ST_RDONLY) return sayError(state, EROFS);
  if (::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) != 0) return sayError(state, errno);
  // File systems without a limit of their own report no blocks at all.
  if (volume.f_blocks != 0) {
    state.freeBytes = static_cast<std::int64_t>(volume.f_bavail) * static_cast<std::int64_t>(volume.f_frsize);
    if (state.freeBytes < kLeastRoom) return sayError(state, ENOSPC);
  }
  return state;
}

HotFolderState TryHotFolder(const std::string& folder, const std::string& mountPoint, int limitMs) {
  auto found = std::make_shared<HotFolderState>();
  if (runWithin(limitMs, [=] { *found = probeHotFolder(folder, mountPoint); })) return *found;
  HotFolderState silent;
  return say(silent, HotFolderState::Away, Supp_Translate("it does not answer"));
}

bool runWithin(int limitMs, std::function<void()> work) {
  struct Shared {
    std::mutex mutex;
    std::condition_variable ended;
    bool isDone = false;
    std::function<void()> work;
  };
  const auto shared = std::make_shared<Shared>();
  shared->work = std::move(work);
  try {
    std::thread([shared] {
      try {
        shared->work();
      } catch (const std::exception& e) {
        logLine(LogLevel::Warning, kNetLog, e.what());
      }
      const std::lock_guard lock(shared->mutex);
      shared->isDone = true;
      shared->ended.notify_all();
    }).detach();
  } catch (const std::system_error& e) {
    logLine(LogLevel::Warning, kNetLog, std::string("no thread could be started: ") + e.what());
    return false;
  }
  std::unique_lock lock(shared->mutex);
  return shared->ended.wait_for(lock, std::chrono::milliseconds(limitMs), [&] { return shared->isDone; });
}

}  // namespace quillbay
