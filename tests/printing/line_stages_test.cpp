#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "printing/halftone.h"
#include "printing/line_packer.h"
#include "printing/line_scaler.h"
#include "support/test_stripe.h"

namespace quillbay::test {
namespace {

using Lines = std::vector<Bytes>;

Lines scaled(const Lines& in, std::int64_t outWidth, double scaleY, bool isSmooth, int channels = 1) {
  Lines out;
  const auto samples = static_cast<std::ptrdiff_t>(outWidth) * channels;
  LineScaler scaler(channels, static_cast<std::int64_t>(in[0].size()) / channels, outWidth, scaleY, isSmooth,
                    [&](const std::uint8_t* line) { out.emplace_back(line, line + samples); });
  for (const Bytes& line : in) scaler.add(line.data());
  scaler.finish();
  return out;
}

TEST(LineScaler, AveragesAreasAndFillsBetweenPixels) {
  struct {
    const char* what;
    Lines in;
    std::int64_t width;
    double scaleY;
    bool isSmooth;
    int channels;
    Lines out;
  } cases[] = {
      {"half", {{0, 100, 200, 40}, {100, 200, 0, 0}}, 2, 0.5, true, 1, {{100, 60}}},
      {"two thirds", {{0, 90, 180}, {0, 90, 180}, {90, 180, 0}}, 2, 2.0 / 3, true, 1, {{30, 150}, {90, 90}}},
      {"twice, repeated",
       {{1, 2}, {3, 4}},
       4,
       2,
       false,
       1,
       {{1, 1, 2, 2}, {1, 1, 2, 2}, {3, 3, 4, 4}, {3, 3, 4, 4}}},
      {"twice, between",
       {{0, 80}, {80, 160}},
       4,
       2,
       true,
       1,
       {{0, 20, 60, 80}, {20, 40, 80, 100}, {60, 80, 120, 140}, {80, 100, 140, 160}}},
      {"wider and shorter", {{0, 80}, {80, 0}}, 4, 0.5, true, 1, {{40, 40, 40, 40}}},
      {"colours", {{10, 20, 30, 30, 40, 50}}, 1, 1, true, 3, {{20, 30, 40}}},
      {"less than a line", {{7}}, 1, 0.1, true, 1, {{7}}},
      {"an odd line at the end", {{0}, {100}, {200}}, 1, 0.5, true, 1, {{50}, {200}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(scaled(c.in, c.width, c.scaleY, c.isSmooth, c.channels), c.out);
  }
}

TEST(LineScaler, AnyFactorGivesTheRoundedCountAndKeepsAFlatPageFlat) {
  for (const double factor : {0.013, 0.31, 0.5, 0.77, 0.999, 1.0, 1.001, 1.5, 2.9, 8.0}) {
    for (const bool isSmooth : {true, false}) {
      const Lines out = scaled(Lines(401, Bytes(173, 191)), 97, factor, isSmooth);
      EXPECT_EQ(out.size(), static_cast<std::size_t>(401 * factor + 0.5)) << factor;
      EXPECT_EQ(out, Lines(out.size(), Bytes(97, 191))) << factor;
    }
  }
}

std::size_t blackOf(const Bytes& bits) {
  return std::accumulate(bits.begin(), bits.end(), std::size_t{0}, [](std::size_t n, std::uint8_t b) {
    return n + static_cast<std::size_t>(std::popcount(b));
  });
}

TEST(Halftone, KeepsBlackAndWhiteAndTheAverageOfGrey) {
  constexpr std::int64_t kWidth = 203;
  for (const auto method : {PrintHalftone::Threshold, PrintHalftone::Ordered, PrintHalftone::Diffusion}) {
    for (const int grey : {0, 40, 127, 200, 255}) {
      Halftone halftone(method, kWidth, 128);
      std::size_t black = 0;
      for (int y = 0; y < 64; ++y) {
        Bytes bits(26, 0xAA);
        halftone.convert(Bytes(kWidth, static_cast<std::uint8_t>(grey)).data(), bits.data());
        EXPECT_EQ(bits.back() & 0x1F, 0) << "beyond the width";
        black += blackOf(bits);
      }
      const double share = static_cast<double>(black) / (kWidth * 64);
      const bool isSharp = method == PrintHalftone::Threshold || grey == 0 || grey == 255;
      EXPECT_NEAR(share, isSharp ? (grey < 128 ? 1 : 0) : 1 - grey / 255.0, isSharp ? 0 : 0.02)
          << static_cast<int>(method) << ", grey " << grey;
    }
  }
}

TEST(CopyPixels, MovesBitsFromAnyPlaceToAnyPlace) {
  Bytes line(9);
  for (std::size_t i = 0; i < line.size(); ++i) line[i] = static_cast<std::uint8_t>(0x5A * (i + 3) + i);
  const auto at = [](const Bytes& bits, std::int64_t i) {
    return bits[static_cast<std::size_t>(i / 8)] >> (7 - i % 8) & 1;
  };
  for (std::int64_t from = 0; from < 17; ++from) {
    for (std::int64_t to = 0; to < 17; ++to) {
      for (const std::int64_t count : {0, 1, 7, 8, 30, 55}) {
        for (const std::uint8_t ground : Bytes{0, 255}) {
          Bytes out(9, ground);
          copyPixels(LineKind::Bits, line.data(), from, out.data(), to, count);
          for (std::int64_t i = 0; i < 72; ++i) {
            const bool inside = i >= to && i < to + count;
            ASSERT_EQ(at(out, i), inside ? at(line, from + i - to) : ground & 1)
                << from << " " << to << " " << count;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace quillbay::test
