#include "scanners/sane/device_lister.h"

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
#include <memory>

#include "platform/base_services.h"

extern char** environ;

namespace quillbay {

namespace {

constexpr const char* kHelper = "quillbay-list-scanners";
constexpr std::chrono::milliseconds::rep kAskMs = 100;
using Clock = std::chrono::steady_clock;

class Fd {
 public:
  explicit Fd(int fd = -1) noexcept : m_fd(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  ~Fd() { reset(); }
  void reset(int fd = -1) noexcept {
    if (m_fd >= 0) close(m_fd);
    m_fd = fd;
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
  return dladdr(reinterpret_cast<void*>(&listSaneDevices), &info) && info.dli_fname ? fio::folderOf(info.dli_fname)
                                                                                    : std::string();
}

std::string findHelper(const std::string& programFolder) {
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
    std::string path = fio::withDelimiter(folder) + kHelper;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  return {};
}

// Starts the helper in a process group of its own, so that whatever it started can be ended with it.
int spawnHelper(const std::string& path, const std::string& unlisted, int output, pid_t* pid) {
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
  std::string name = path, device = unlisted;
  char* arguments[] = {name.data(), device.empty() ? nullptr : device.data(), nullptr};
  const int error = posix_spawn(pid, path.c_str(), &actions, &attributes, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return error;
}

// Reads to the end of the output; false if the limit came first, or it was cancelled.
bool readAll(int fd, Clock::time_point limit, const std::function<bool()>& stopped, std::string* text) {
  char piece[4096];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
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

void parseLines(const std::string& text, std::vector<ScannerEntry>* out) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    if (end == std::string::npos) return;  // cut off: the helper did not get to its end
    std::string fields[4];
    std::size_t from = at;
    for (std::string& field : fields) {
      const std::size_t to = std::min(text.find('\t', from), end);
      field = text.substr(from, to - from);
      from = std::min(to + 1, end);
    }
    if (!fields[0].empty()) out->push_back({fields[0], fields[1], fields[2], fields[3]});
    at = end + 1;
  }
}

std::string describeEnd(int status) {
  if (WIFSIGNALED(status))
    return formatText(Supp_Translate("the search for scanners crashed in a scanner driver (%s)"),
                      {strsignal(WTERMSIG(status))});
  return Supp_Translate("the search for scanners failed: the scanner drivers (SANE) cannot be used");
}

}  // namespace

bool listSaneDevices(const std::string& programFolder, std::chrono::milliseconds limit,
                     std::vector<ScannerEntry>* out, std::string* why, const std::string& unlisted,
                     const std::function<bool()>& stopped) {
  const std::string path = findHelper(programFolder);
  if (path.empty()) {
    *why = formatText(Supp_Translate("the program %s, which looks for scanners, is missing: install it again or "
                                     "set QUILLBAY_LIBEXEC to its folder"),
                      {kHelper});
    return false;
  }
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    *why = path + ": " + fio::errorText(errno);
    return false;
  }
  const Fd input(ends[0]);
  Fd output(ends[1]);
  pid_t pid = 0;
  if (const int error = spawnHelper(path, unlisted, output.get(), &pid); error != 0) {
    *why = path + ": " + fio::errorText(error);
    return false;
  }
  output.reset();
  std::string text;
  const bool ended = readAll(input.get(), Clock::now() + limit, stopped, &text);
  if (!ended) kill(-pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  parseLines(text, out);
  if (ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  *why = ended ? describeEnd(status)
               : formatText(Supp_Translate("the search for scanners was cancelled after %s seconds; "
                                           "a scanner whose name is known can be opened directly"),
                            {toText(static_cast<double>(limit.count()) / 1000)});
  return false;
}

}  // namespace quillbay
