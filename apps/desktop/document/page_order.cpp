#include "document/page_order.h"

#include <algorithm>
#include <utility>

namespace desktop {

namespace {

bool holdsPage(const std::vector<int>& ids, int id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); }

/// Moves each of `ids` one place towards `first`, where nothing of them stands before it.
template <class Iterator>
void stepTowards(Iterator first, Iterator last, const std::vector<int>& ids) {
  for (auto at = first; at != last; ++at) {
    if (at == first || !holdsPage(ids, *at)) continue;
    const auto before = std::prev(at);
    if (!holdsPage(ids, *before)) std::swap(*before, *at);
  }
}

}  // namespace

std::vector<int> movedOrder(const std::vector<int>& order, const std::vector<int>& ids, int before) {
  std::vector<int> moved, rest;
  for (const int id : order) (holdsPage(ids, id) ? moved : rest).push_back(id);
  // A page that goes before one of its own comes before the next that stays.
  auto target = std::find(order.begin(), order.end(), before);
  while (target != order.end() && holdsPage(ids, *target)) ++target;
  const auto at = target == order.end() ? rest.end() : std::find(rest.begin(), rest.end(), *target);
  rest.insert(at, moved.begin(), moved.end());
  return rest;
}

std::vector<int> steppedOrder(std::vector<int> order, const std::vector<int>& ids, int step) {
  if (step < 0) stepTowards(order.begin(), order.end(), ids);
  if (step > 0) stepTowards(order.rbegin(), order.rend(), ids);
  return order;
}

}  // namespace desktop
