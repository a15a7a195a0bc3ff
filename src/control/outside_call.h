#pragma once
#include <QPointer>
#include <type_traits>
#include <utility>

namespace quillbay {

/// The panel's window was destroyed during a call of the host, a unit or a page. No error: whoever handles the
/// command lets go of everything and returns.
struct WindowGone {};

/// Makes a call that may run an event loop: a message, a script command, a unit's operation. Throws `WindowGone`
/// when `window` was destroyed meanwhile, so that nobody goes on to use it.
template <class F>
std::invoke_result_t<F> callOutside(QObject* window, F&& call) {
  const QPointer<QObject> alive(window);
  if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
    std::forward<F>(call)();
    if (!alive) throw WindowGone{};
  } else {
    auto answer = std::forward<F>(call)();
    if (!alive) throw WindowGone{};
    return answer;
  }
}

}  // namespace quillbay
