#pragma once
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quillbay {

/// How a helper program ended.
struct HelperEnd {
  enum class How { Done, Failed, Crashed, TimedOut, NotStarted };
  How how = How::NotStarted;
  std::string output;  ///< what it wrote to its standard output, also when it did not end well
  std::string why;     ///< the system's text: of the signal, or why it was not started
};

/// The path of a helper program: in the folder that QUILLBAY_LIBEXEC names, in `programFolder` (may be empty),
/// beside the running program and this library, where an installation puts it, and in the build tree. Empty when it
/// is nowhere.
[[nodiscard]] std::string findHelper(const std::string& name, const std::string& programFolder = {});

/// Runs a program in a process group of its own and waits for its end, for at most `limit`; whatever it started is
/// ended with it. What it writes to standard error goes where this process's does. `stopped` (may be empty) is
/// asked some times a second whether to give up, which counts as `TimedOut`. Any thread.
[[nodiscard]] HelperEnd runHelper(const std::string& path, const std::vector<std::string>& arguments,
                                  std::chrono::milliseconds limit, const std::function<bool()>& stopped = {});

}  // namespace quillbay
