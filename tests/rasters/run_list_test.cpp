#include "quillbay/run_list.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace quillbay {
namespace {

using Pairs = std::vector<std::int32_t>;  // first, last, first, last, ...

TEST(RunList, RepairLeavesValidRuns) {
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
    std::size_t good = 0;
    EXPECT_EQ(areValidRuns(list.data(), c.width, &good), c.runs == c.want);
    EXPECT_LE(good, c.runs.size() / 2);
    const std::size_t kept = repairRuns(list.data(), c.width, list.data());
    ASSERT_EQ(kept, c.want.size() / 2);
    EXPECT_EQ(Pairs(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(2 * kept)), c.want);
    EXPECT_EQ(list[2 * kept], RunEnd);
    EXPECT_TRUE(areValidRuns(list.data(), c.width, &good));
    EXPECT_EQ(good, kept);
  }
}

TEST(RunList, BitsAndRunsBecomeOneAnother) {
  std::mt19937 random(11);
  for (const std::int32_t width : {0, 1, 7, 8, 9, 63, 64, 65, 127, 128, 130, 1003}) {
    for (const unsigned every : {1U, 2U, 9U, 90U, 2000U}) {  // about so many pixels from change to change
      SCOPED_TRACE(testing::Message() << width << " pixels, " << every);
      const auto bytes = (static_cast<std::size_t>(width) + 7) / 8;
      std::vector<std::uint8_t> pixels, bits(bytes), dirty, back(bytes, 0x5A),
          grey(static_cast<std::size_t>(width));
      std::vector<std::uint64_t> words((bytes + 7) / 8);
      std::vector<std::uint32_t> want;
      for (std::int32_t x = 0; x < width; ++x) {
        const bool before = x > 0 && pixels.back() == 0;
        const bool black = random() % every == 0 ? !before : before;
        pixels.push_back(black ? 0 : 255);
        const auto at = static_cast<std::uint32_t>(x);
        if (!black) continue;
        if (before) {
          want.back() = at;
        } else {
          want.insert(want.end(), {at, at});
        }
        bits[at / 8] = static_cast<std::uint8_t>(bits[at / 8] | 0x80U >> at % 8);
        setBits(words.data(), at, at);
      }
      want.insert(want.end(), {RunEnd, 0});
      dirty = bits;  // what lies beyond the width counts for nothing
      if (width % 8 != 0) dirty.back() = static_cast<std::uint8_t>(dirty.back() | 0xFFU >> width % 8);

      std::vector<std::uint32_t> runs(static_cast<std::size_t>(width) + 3), changes;
      ASSERT_EQ(bitsToRuns(dirty.data(), width, runs.data()), want.size() / 2 - 1);
      runs.resize(want.size());
      EXPECT_EQ(runs, want);
      runsToBits(want.data(), width, back.data());
      EXPECT_EQ(back, bits);
      eachBitChange(words.data(), width, [&](std::uint32_t x) { changes.push_back(x - (changes.size() & 1)); });
      changes.insert(changes.end(), {RunEnd, 0});
      EXPECT_EQ(changes, want);
      bitsToBytes(bits.data(), grey.size(), 255, 0, grey.data());
      EXPECT_EQ(grey, pixels);
    }
  }
}

}  // namespace
}  // namespace quillbay
