#pragma once
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quillbay {

/// A program to run, without a shell.
struct ProgramCall {
  std::vector<std::string> words;  ///< the program (a name is looked for in PATH), and its arguments
  std::string folder;              ///< where it runs; empty: where this program runs
  std::chrono::milliseconds limit{0};
  std::function<bool()> isCancelled;  ///< asked about every 50 ms; may be empty
};

/// How a program ended.
struct ProgramEnd {
  enum class Kind { Exited, Signalled, TimedOut, Cancelled };
  Kind kind = Kind::Exited;
  int code = 0;  ///< the exit status, or the signal
  std::string
      errorText;  ///< the last 2,000 bytes of standard error at most, as valid UTF-8 without control characters
};

/// Runs a program and waits for its end. It gets no input, its output is dropped, and of this program it has
/// neither descriptors nor signal settings, and of the environment what names folders, the user and the language
/// alone. It leads a process group: after the time limit or a cancellation all of the group get SIGTERM, and
/// SIGKILL two seconds later; nothing of the group is left then. What a program that ended by itself has left in
/// the background goes on. Any thread. Throws CXException when it cannot be started.
[[nodiscard]] ProgramEnd runProgramFile(const ProgramCall& call);

}  // namespace quillbay
