#pragma once
#include <type_traits>
#include <utility>

namespace quillbay {

/// Whether a panel still has its window. The host may destroy it in any call that goes out of the panel; the object
/// itself stays until the last of them has come back. User-interface thread only.
struct PanelLife {
  int calls = 0;      ///< commands and calls of the panel that are under way
  bool gone = false;  ///< the window was destroyed
};

/// The panel's window was destroyed during a call of the host, a unit or a page. No error: whoever handles the
/// command releases everything and returns.
struct WindowGone {};

/// Makes a call that may run an event loop: a message, a script command, a unit's operation. Throws `WindowGone`
/// when the panel's window was destroyed meanwhile, so that a run does not go on without it.
template <class F>
std::invoke_result_t<F> callOutside(const PanelLife& life, F&& call) {
  if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
    std::forward<F>(call)();
    if (life.gone) throw WindowGone{};
  } else {
    auto answer = std::forward<F>(call)();
    if (life.gone) throw WindowGone{};
    return answer;
  }
}

}  // namespace quillbay
