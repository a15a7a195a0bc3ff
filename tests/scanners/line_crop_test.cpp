#include "scanners/lines/line_crop.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillbay {
namespace {

TEST(LineCrop, TakesTheWantedRowsAndBytes) {
  struct Case {
    DeviceSamples samples;
    std::size_t bytes;  // a pixel
  };
  for (const Case& c : {Case{DeviceSamples::Grey8, 1}, {DeviceSamples::Grey16, 2}, {DeviceSamples::Rgb16, 6}}) {
    LineCrop crop({7, 5, 2, 3}, c.samples);
    const std::vector<std::uint8_t> line(20 * c.bytes);
    for (int y = 0; y < 8; ++y) {
      const std::uint8_t* wanted = crop.take(line.data());
      EXPECT_EQ(wanted, y >= 2 && y < 5 ? line.data() + 7 * c.bytes : nullptr) << "row " << y;
      EXPECT_EQ(crop.isDone(), y >= 4) << "row " << y;
    }
  }
  LineCrop open({0, 5, 1, -1}, DeviceSamples::Grey8);
  const std::vector<std::uint8_t> line(20);
  EXPECT_EQ(open.take(line.data()), nullptr);
  for (int y = 1; y < 100; ++y) EXPECT_EQ(open.take(line.data()), line.data());
  EXPECT_FALSE(open.isDone());
}

TEST(LineCrop, ShiftsBits) {
  const std::vector<std::uint8_t> line{0b10110011, 0b00011110, 0b11001010};  // no byte behind: it must not be read
  const auto bit = [](const std::uint8_t* bits, int x) { return bits[x / 8] >> (7 - x % 8) & 1; };
  for (int left = 0; left < 24; ++left) {
    for (int width = 1; left + width <= 24; ++width) {
      LineCrop crop({left, width, 0, -1}, DeviceSamples::Bits);
      const std::uint8_t* wanted = crop.take(line.data());
      for (int x = 0; x < width; ++x)
        ASSERT_EQ(bit(wanted, x), bit(line.data(), left + x))
            << "left " << left << ", width " << width << ", " << x;
    }
  }
}

}  // namespace
}  // namespace quillbay
