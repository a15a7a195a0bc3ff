#pragma once

namespace quillbay {

/// While one lives, no change of a scan parameter is broadcast from its thread: setters store silently.
/// Counts per thread, so that a write on a scanner's thread never hides a user's change from listeners, and as a
/// scope object, so that a handler that throws leaves it clear.
class NotifyGuard {
 public:
  NotifyGuard() noexcept { ++depth(); }
  ~NotifyGuard() { --depth(); }
  NotifyGuard(const NotifyGuard&) = delete;
  NotifyGuard& operator=(const NotifyGuard&) = delete;
  [[nodiscard]] static bool isSet() noexcept { return depth() > 0; }

 private:
  static int& depth() noexcept {
    thread_local int t_depth = 0;
    return t_depth;
  }
};

}  // namespace quillbay
