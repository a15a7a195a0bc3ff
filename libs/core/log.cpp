#include <unistd.h>

#include <atomic>
#include <exception>

#include "platform/base_services.h"

namespace quillbay {
namespace {

using LogSink = void (*)(LogLevel, const char*, std::string_view);
std::atomic<LogSink> g_sink{nullptr};
std::atomic<LogLevel> g_least{LogLevel::Warning};

const char* levelName(LogLevel level) noexcept {
  switch (level) {
    case LogLevel::Debug: return "debug";
    case LogLevel::Info: return "info";
    case LogLevel::Warning: return "warning";
    case LogLevel::Error: break;
  }
  return "error";
}

/// One write for the whole line, so that the lines of several threads stay whole.
void writeToStandardError(LogLevel level, const char* category, std::string_view text) {
  std::string line(category);
  line.append(": ").append(levelName(level)).append(": ").append(text).append("\n");
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written <= 0) return;  // there is no other place to report this
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

bool logEnabled(LogLevel level, const char* /*category*/) noexcept {
  return level >= g_least.load(std::memory_order_relaxed);
}

void logLine(LogLevel level, const char* category, std::string_view text) {
  if (!logEnabled(level, category)) return;
  const char* name = category ? category : "quillbay";
  try {
    if (const LogSink sink = g_sink.load(std::memory_order_acquire)) {
      sink(level, name, text);
    } else {
      writeToStandardError(level, name, text);
    }
  } catch (const std::exception&) {
    // Logging happens in destructors and while other errors are on their way: a sink that fails stops none of it.
  }
}

void setLogSink(LogSink sink, LogLevel least) {
  g_sink.store(sink, std::memory_order_release);
  g_least.store(least, std::memory_order_relaxed);
}

}  // namespace quillbay
