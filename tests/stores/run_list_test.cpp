#include "stores/run_list.h"

#include <gtest/gtest.h>

#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {
namespace {

using Pairs = std::vector<std::int32_t>;  // first, last, first, last, ...

TEST(TrimRuns, LeavesValidRuns) {
  struct Case {
    const char* why;
    std::int32_t width;
    Pairs runs, want;
  };
  const Case cases[] = {
      {"no runs", 10, {}, {}},
      {"within the line", 10, {1, 2, 5, 8}, {1, 2, 5, 8}},
      {"wholly left of the line", 10, {-9, -1, 3, 4}, {3, 4}},
      {"ends at pixel 0", 10, {-9, 0, 3, 4}, {0, 0, 3, 4}},
      {"begins left of the line", 10, {-3, 4}, {0, 4}},
      {"spans the whole line", 10, {-5, 20}, {0, 9}},
      {"ends at the last pixel, and does not end the list", 10, {3, 9, 10, 12}, {3, 9}},
      {"ends one beyond: cut, and ends the list", 10, {3, 10, 11, 12}, {3, 9}},
      {"a later run is not looked at", 10, {3, 50, 4, 5}, {3, 9}},
      {"begins at the width: dropped, and ends the list", 10, {10, 12, 4, 5}, {}},
      {"begins on the last pixel", 10, {9, 30}, {9, 9}},
      {"far beyond", 10, {1, 2, 1000000, 2000000}, {1, 2}},
      {"touching runs stay apart", 10, {0, 4, 5, 9}, {0, 4, 5, 9}},
      {"an overlap begins after the run before", 10, {1, 5, 3, 8}, {1, 5, 6, 8}},
      {"a run within the one before", 10, {1, 8, 2, 3}, {1, 8}},
      {"turned round", 10, {7, 3, 8, 9}, {8, 9}},
      {"one pixel wide", 1, {0, 0}, {0, 0}},
      {"a line without pixels", 0, {0, 5}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    // Exactly the words that a source has to have: reading beyond is an error of the memory checker.
    std::vector<std::uint32_t> list(c.runs.begin(), c.runs.end());
    list.push_back(RunEnd);
    list.shrink_to_fit();
    const std::size_t kept = trimRuns(list.data(), c.width, list.data());
    ASSERT_EQ(kept, c.want.size() / 2);
    EXPECT_EQ(Pairs(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(2 * kept)), c.want);
    EXPECT_EQ(list[2 * kept], RunEnd);
  }
}

}  // namespace
}  // namespace quillbay
