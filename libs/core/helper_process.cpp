#include "core/helper_process.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "platform/base_services.h"

extern char** environ;

namespace quillbay {

namespace {

constexpr std::chrono::milliseconds::rep kAskMs = 100;
using HelperClock = std::chrono::steady_clock;

class HelperFd {
 public:
  explicit HelperFd(int fd = -1) noexcept : m_fd(fd) {}
  HelperFd(const HelperFd&) = delete;
  HelperFd& operator=(const HelperFd&) = delete;
  ~HelperFd() { close(); }
  void close() noexcept {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
  }
  [[nodiscard]] int get() const noexcept { return m_fd; }

 private:
  int m_fd;
};

std::string folderOfProgram() {
  std::string path(4096, '\0');
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  return length > 0 ? fio::folderOf(path.substr(0, static_cast<std::size_t>(length))) : std::string();
}

std::string folderOfLibrary() {
  Dl_info info{};
  return dladdr(reinterpret_cast<void*>(&findHelper), &info) && info.dli_fname ? fio::folderOf(info.dli_fname)
                                                                               : std::string();
}

// In a process group of its own, so that whatever the helper started can be ended with it.
int spawnHelper(const std::string& path, const std::vector<std::string>& arguments, int output, pid_t* pid) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  std::vector<std::string> words{path};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> list;
  list.reserve(words.size() + 1);
  for (std::string& word : words) list.push_back(word.data());
  list.push_back(nullptr);
  const int error = posix_spawn(pid, path.c_str(), &actions, &attributes, list.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return error;
}

// Reads to the end of the output; false if the limit came first, or it was cancelled.
bool readAll(int fd, HelperClock::time_point limit, const std::function<bool()>& stopped, std::string* text) {
  char piece[4096];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - HelperClock::now()).count();
    if (left <= 0 || (stopped && stopped())) return false;
    pollfd waiting{fd, POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(stopped ? std::min(left, kAskMs) : left));
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    const ssize_t got = read(fd, piece, sizeof piece);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
    text->append(piece, static_cast<std::size_t>(got));
  }
}

}  // namespace

std::string findHelper(const std::string& name, const std::string& programFolder) {
  std::vector<std::string> folders;
  if (const char* set = std::getenv("QUILLBAY_LIBEXEC"); set && *set) folders.emplace_back(set);
  for (const std::string& base : {programFolder, folderOfProgram(), folderOfLibrary()}) {
    if (base.empty()) continue;
    const std::string folder = fio::withDelimiter(base);
    folders.push_back(folder);
    folders.push_back(folder + "../libexec/quillbay");
    folders.push_back(folder + "../../libexec/quillbay");  // of a library in lib/<triplet>
  }
  folders.emplace_back(QUILLBAY_LIBEXEC_DIR);
  folders.emplace_back(QUILLBAY_BUILD_BIN_DIR);
  for (const std::string& folder : folders) {
    std::string path = fio::withDelimiter(folder) + name;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  return {};
}

HelperEnd runHelper(const std::string& path, const std::vector<std::string>& arguments,
                    std::chrono::milliseconds limit, const std::function<bool()>& stopped) {
  HelperEnd end;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    end.why = fio::errorText(errno);
    return end;
  }
  const HelperFd input(ends[0]);
  HelperFd output(ends[1]);
  pid_t pid = 0;
  if (const int error = spawnHelper(path, arguments, output.get(), &pid); error != 0) {
    end.why = fio::errorText(error);
    return end;
  }
  output.close();
  const bool ended = readAll(input.get(), HelperClock::now() + limit, stopped, &end.output);
  if (!ended) kill(-pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!ended) {
    end.how = HelperEnd::How::TimedOut;
  } else if (WIFSIGNALED(status)) {
    end.how = HelperEnd::How::Crashed;
    end.why = strsignal(WTERMSIG(status));
  } else {
    end.how = WIFEXITED(status) && WEXITSTATUS(status) == 0 ? HelperEnd::How::Done : HelperEnd::How::Failed;
  }
  return end;
}

}  // namespace quillbay
