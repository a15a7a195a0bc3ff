#pragma once
#include <cstdint>
#include <functional>
#include <memory>

namespace quillbay {

/// Milliseconds of a clock that never goes back.
using MillisecondClock = std::function<std::int64_t()>;
[[nodiscard]] std::int64_t steadyMilliseconds();

/// A repeating timer. User-interface thread.
class TickSource {
 public:
  virtual ~TickSource() = default;
  /// Calls `tick` every `milliseconds` from now on; replaces what ran before.
  virtual void start(int milliseconds, std::function<void()> tick) = 0;
  virtual void stop() = 0;
};

/// The platform's timer, on the calling thread.
[[nodiscard]] std::unique_ptr<TickSource> platformTicks();

}  // namespace quillbay
