#pragma once
#include <cstdint>

#include "quillbay/view.h"

class QKeyEvent;
class QSinglePointEvent;

namespace quillbay::view {

/// The code of a key (`KxKey`), 0 for one that has none. Keys of the numeric pad are digits, whatever its lock is.
[[nodiscard]] int keyCode(const QKeyEvent& event);
[[nodiscard]] std::uint32_t keyFlags(const QKeyEvent& event);
/// The buttons and keys that are down (`KxMouseFlags`).
[[nodiscard]] int mouseFlags(const QSinglePointEvent& event);

}  // namespace quillbay::view
