#include "host/program_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/base_services.h"

namespace quillbay {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostErrorBytes = 2000;
constexpr int kPollMs = 50;
constexpr int kReadsAtOnce = 64;
constexpr auto kGrace = std::chrono::seconds(2);
/// Names of variables that a program gets; one that ends in an underscore stands for all that begin so.
constexpr std::string_view kVariables[] = {"PATH", "HOME",     "USER", "LOGNAME", "SHELL", "LANG",
                                           "TZ",   "LANGUAGE", "LC_",  "TMPDIR",  "XDG_"};

bool isPassedOn(std::string_view entry) {
  const std::string_view name = entry.substr(0, std::min(entry.find('='), entry.size()));
  return std::any_of(std::begin(kVariables), std::end(kVariables), [&](std::string_view known) {
    return known.ends_with('_') ? name.starts_with(known) : name == known;
  });
}

/// A pointer for each text, and a null.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> cleanEnvironment() {
  std::vector<std::string> kept;
  for (char** entry = environ; entry && *entry; ++entry) {
    if (isPassedOn(*entry)) kept.emplace_back(*entry);
  }
  return kept;
}

class Descriptor {
 public:
  explicit Descriptor(int number) noexcept : m_number(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  void close() noexcept {
    if (m_number >= 0) ::close(std::exchange(m_number, -1));
  }
  [[nodiscard]] int get() const noexcept { return m_number; }

 private:
  int m_number;
};

/// The settings of a start, freed with the object.
class SpawnSettings {
 public:
  SpawnSettings(int errors, const std::string& folder) {
    posix_spawn_file_actions_init(&m_actions);
    posix_spawnattr_init(&m_attributes);
    // First: it has one of the other two numbers when this program was started without them.
    posix_spawn_file_actions_adddup2(&m_actions, errors, STDERR_FILENO);
    posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
    if (!folder.empty()) posix_spawn_file_actions_addchdir_np(&m_actions, folder.c_str());
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&m_attributes, &none);
    posix_spawnattr_setsigdefault(&m_attributes, &all);
    posix_spawnattr_setpgroup(&m_attributes, 0);
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&m_actions);
    posix_spawnattr_destroy(&m_attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &m_actions; }
  [[nodiscard]] const posix_spawnattr_t* attributes() const { return &m_attributes; }

 private:
  posix_spawn_file_actions_t m_actions{};
  posix_spawnattr_t m_attributes{};
};

[[noreturn]] void refuseStart(const std::string& program, int error) {
  if (error == ENOENT) {
    throw CXException(
        formatText(Supp_Translate("the program %s was not found; install it, or write its whole path"), {program}));
  }
  throw CXException(
      formatText(Supp_Translate("the program %s cannot be started: %s"), {program, fio::errorText(error)}));
}

pid_t start(const ProgramCall& call, int errors) {
  std::vector<std::string> words = call.words, environment = cleanEnvironment();
  const SpawnSettings settings(errors, call.folder);
  pid_t process = -1;
  const int error = posix_spawnp(&process, words.front().c_str(), settings.actions(), settings.attributes(),
                                 pointersTo(words).data(), pointersTo(environment).data());
  if (error != 0) refuseStart(call.words.front(), error);
  return process;
}

/// Appends what has arrived, but not for ever: a program may write faster than this reads. False at the end.
bool takeErrors(int from, std::string* text) {
  std::array<char, 4096> buffer{};
  for (int reads = 0; reads < kReadsAtOnce; ++reads) {
    const ssize_t count = ::read(from, buffer.data(), buffer.size());
    if (count == 0) return false;
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    text->append(buffer.data(), static_cast<std::size_t>(count));
    if (text->size() > 2 * kMostErrorBytes) text->erase(0, text->size() - kMostErrorBytes);
  }
  return true;
}

/// The length of a valid character at the beginning of `text`; 0 when there is none.
std::size_t characterAt(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xC2 && first < 0xE0 ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isOutside = (first == 0xED && byte(1) > 0x9F) || (first == 0xF4 && byte(1) > 0x8F);
  return isOverlong || isOutside ? 0 : length;
}

std::string readable(const std::string& bytes) {
  std::string_view rest = bytes;
  if (rest.size() > kMostErrorBytes) rest.remove_prefix(rest.size() - kMostErrorBytes);
  std::string text;
  while (!rest.empty()) {
    const std::size_t length = characterAt(rest);
    const auto first = static_cast<unsigned char>(rest.front());
    const bool isControl = (first < 0x20 && first != '\n' && first != '\t') || first == 0x7F;
    if (first == '\r') {
      if (!text.empty() && !text.ends_with('\n')) text += '\n';
    } else if (length > 0 && !isControl) {
      text += rest.substr(0, length);
    } else if (length == 0) {
      text += "\xEF\xBF\xBD";  // the replacement character
    }
    rest.remove_prefix(std::max<std::size_t>(length, 1));
  }
  const auto last = text.find_last_not_of(" \t\n");
  text.resize(last == std::string::npos ? 0 : last + 1);
  return text;
}

/// A process that was started, until it is known how it ended.
class Process {
 public:
  explicit Process(pid_t id) noexcept : m_id(id) {}
  /// Ended at once if nobody waited for it.
  ~Process() {
    if (m_isReaped) return;
    signalGroup(SIGKILL);
    while (waitpid(m_id, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  /// Whether it has ended; it is not removed, so that its number stays its group's.
  [[nodiscard]] bool hasEnded() const {
    siginfo_t info{};
    const int answer = waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOHANG | WNOWAIT);
    return answer == 0 ? info.si_pid == m_id : errno == ECHILD;
  }
  void signalGroup(int number) const {
    ::kill(-m_id, number);
    ::kill(m_id, number);  // it may have joined another group
  }
  /// Waits for its end and removes it.
  [[nodiscard]] int reap() {
    m_isReaped = true;
    int status = 0;
    pid_t answer = -1;
    do {
      answer = waitpid(m_id, &status, 0);
    } while (answer < 0 && errno == EINTR);
    if (answer == m_id) return status;
    throw CXException(Supp_Translate("it is not known how the program ended; does this one ignore SIGCHLD?"));
  }

 private:
  const pid_t m_id;
  bool m_isReaped = false;
};

}  // namespace

ProgramEnd runProgramFile(const ProgramCall& call) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) refuseStart(call.words.front(), errno);
  const Descriptor from(ends[0]);
  Descriptor to(ends[1]);
  ::fcntl(from.get(), F_SETFL, O_NONBLOCK);
  Process process(start(call, to.get()));
  to.close();
  ProgramEnd end;
  std::string errors;
  const auto limit = Clock::now() + call.limit;
  auto kill = Clock::time_point::max();
  bool isOpen = true, isAsked = false;
  while (!process.hasEnded()) {
    pollfd waited{from.get(), POLLIN, 0};
    ::poll(&waited, isOpen ? 1 : 0, kPollMs);
    if (isOpen) isOpen = takeErrors(from.get(), &errors);
    const auto now = Clock::now();
    const bool isCancelled = call.isCancelled && call.isCancelled();
    if (!isAsked && (isCancelled || (call.limit.count() > 0 && now >= limit))) {
      end.kind = isCancelled ? ProgramEnd::Kind::Cancelled : ProgramEnd::Kind::TimedOut;
      process.signalGroup(SIGTERM);
      isAsked = true;
      kill = now + kGrace;
    } else if (now >= kill) {
      process.signalGroup(SIGKILL);
    }
  }
  if (isAsked) process.signalGroup(SIGKILL);  // what the program itself had started
  if (isOpen) takeErrors(from.get(), &errors);
  const int status = process.reap();
  end.errorText = readable(errors);
  if (isAsked) return end;
  end.kind = WIFEXITED(status) ? ProgramEnd::Kind::Exited : ProgramEnd::Kind::Signalled;
  end.code = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
  return end;
}

}  // namespace quillbay
