#pragma once
#include <vector>

namespace desktop {

/// The order of pages, as their numbers, with `ids` moved together before page `before` (0: to the
/// end). They keep their order among themselves; numbers that are not there are ignored.
[[nodiscard]] std::vector<int> movedOrder(const std::vector<int>& order, const std::vector<int>& ids, int before);

/// The order with each of `ids` one place nearer to the beginning (`step` below 0) or to the end. What stands at
/// the end already stays there.
[[nodiscard]] std::vector<int> steppedOrder(std::vector<int> order, const std::vector<int>& ids, int step);

}  // namespace desktop
