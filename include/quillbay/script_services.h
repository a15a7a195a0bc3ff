#pragma once
#include <string>

#include "quillbay/connection_point.h"
#include "quillbay/param.h"
#include "quillbay/raster.h"

/// Reports of the scripts that a host runs, for programs and the panel. User-interface thread.
namespace quillbay {

/// Receives the log of a script, line by line.
class IScriptLogSink : public IKxUnknown {
 public:
  /// `line` is UTF-8 and ends in a line feed.
  virtual void Line(const char* line) = 0;
};

/// Makes the progress that a script's commands advance.
class IScriptProgressFactory : public IKxUnknown {
 public:
  /// A progress for one run of the script `name`, with a reference; null for none. Before each command it gets
  /// `Reset` and `SetText` with the command; positions run from 0 to 1000, or steps are made if the end is unknown.
  /// `IsCancelled` ends the script. It is called on the user-interface thread, and may dispatch events there.
  virtual IProgress* CreateProgress(const char* name) = 0;
};

/// Receives the files that a script could not process.
class IScriptErrorSink : public IKxUnknown {
 public:
  /// `file` is the picture that was worked on, or the script when there was none; pages with the same file are told
  /// apart by "NAME (page 2)". `IScriptRunner::ProcessFile` takes this name. `parameters` are those of the
  /// command that ran the script and of the script's line ("DontProcessErrors" among them when it was given), and
  /// "Script", "Line", "Command" and "Error". `cancelled` is non-zero if the user cancelled: the file may be good.
  virtual void FileFailed(const char* file, IParam* parameters, int cancelled) = 0;
};

/// Whoever has pages worked on after a scan: the panel's page for it.
class IScriptRunner : public IKxUnknown {
 public:
  /// The script that "Autocorrect" without parameters runs: a file; empty: the host's own.
  [[nodiscard]] virtual std::string GetScript() = 0;
  /// Has one file processed: a picture that a script could not process, or a script. Returns 0 for success, as
  /// `IScriptCmdSink::ExecCommand`.
  virtual int ProcessFile(const char* file) = 0;
};

/// Is told when the number of an `IScriptQueue` has changed.
class IScriptQueueSink : public IKxUnknown {
 public:
  virtual void QueueChanged(int count) = 0;
};

/// The scripts that a host works on aside, one after another; queried from the application object. While a runner
/// is registered, the command "Autocorrect" without parameters returns at once: its script then works on the page
/// that was the current one, and the commands that save this page wait for it. What it changes is put into the
/// document when it has ended. User-interface thread.
class IScriptQueue : public IKxUnknown {
 public:
  /// What runs and waits.
  virtual int Count() = 0;
  /// Ends the script that runs and those that wait; each is reported as cancelled. Pages are saved all the same.
  virtual void Cancel() = 0;
  /// Waits until nothing is left, without an event loop; returns at once in a call that a script makes, such as the
  /// message of a failure.
  virtual void Finish() = 0;
  [[nodiscard]] virtual KxPtr<IConnectionPoint<IScriptQueueSink>> GetSinks() = 0;
};

/// Where to register; queried from the application object. Sinks may leave at any time, also while they are called.
/// All logs and error collectors receive everything; the progress factory registered last is used.
class IScriptServices : public IKxUnknown {
 public:
  [[nodiscard]] virtual KxPtr<IConnectionPoint<IScriptLogSink>> GetLogs() = 0;
  [[nodiscard]] virtual KxPtr<IConnectionPoint<IScriptProgressFactory>> GetProgressFactories() = 0;
  [[nodiscard]] virtual KxPtr<IConnectionPoint<IScriptErrorSink>> GetErrorCollectors() = 0;
  /// The runner registered last is asked for its script.
  [[nodiscard]] virtual KxPtr<IConnectionPoint<IScriptRunner>> GetRunners() = 0;
};

}  // namespace quillbay
