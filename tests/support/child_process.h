#pragma once
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace quillbay::test {

/// A program that runs beside a test and is ended with it, also when the test is killed.
class ChildProcess {
 public:
  ChildProcess() = default;
  /// `environment`: "NAME=VALUE" added to this process's. Output goes to the file `log`.
  ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment,
               const std::string& log) {
    std::vector<char*> arguments = pointers(command), added = pointers(environment);
    m_pid = ::fork();
    if (m_pid < 0) throw std::runtime_error("fork");
    if (m_pid > 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    ::dup2(out, 1);
    ::dup2(out, 2);
    for (char* one : added) {
      if (one) ::putenv(one);
    }
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  ChildProcess(ChildProcess&& other) noexcept : m_pid(std::exchange(other.m_pid, 0)) {}
  ChildProcess& operator=(ChildProcess&& other) noexcept {
    std::swap(m_pid, other.m_pid);
    return *this;
  }
  ~ChildProcess() { end(SIGKILL); }

  void send(int number) const {
    if (m_pid > 0) ::kill(m_pid, number);
  }
  /// Sends a signal and waits until the program is gone.
  void end(int number) {
    if (m_pid <= 0) return;
    ::kill(m_pid, number);
    ::kill(m_pid, SIGCONT);
    ::waitpid(std::exchange(m_pid, 0), nullptr, 0);
  }
  [[nodiscard]] bool isRunning() {
    if (m_pid > 0 && ::waitpid(m_pid, nullptr, WNOHANG) == m_pid) m_pid = 0;
    return m_pid > 0;
  }

 private:
  static std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (const std::string& text : texts) all.push_back(const_cast<char*>(text.c_str()));
    all.push_back(nullptr);
    return all;
  }
  pid_t m_pid = 0;
};

}  // namespace quillbay::test
