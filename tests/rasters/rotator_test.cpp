/// Straightening of lines while they arrive: grey, colour and palettes.
#include <algorithm>
#include <random>

#include "quillbay/errors.h"
#include "rasters/straighten/blend_loops.h"
#include "straighten_tools.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

std::size_t samplesOf(KxColorSpace code) { return std::max<std::size_t>(1, bitsPerPixel(code) / 8U); }

/// A sample of a pixel; code 4 as an index.
int sampleAt(const Bytes& line, KxColorSpace code, std::int64_t pixel, std::size_t sample) {
  const auto at = static_cast<std::size_t>(pixel);
  if (code == Four) return at % 2 == 0 ? line[at / 2] >> 4 : line[at / 2] & 15;
  return line[at * samplesOf(code) + sample];
}

/// A source with white around it.
struct PlainSource {
  const std::vector<Bytes>& rows;
  KxColorSpace code;
  std::int32_t width;
  int white;
  [[nodiscard]] double at(std::int64_t x, std::int64_t y, std::size_t sample) const {
    const bool inside = x >= 0 && x < width && y >= 0 && y < static_cast<std::int64_t>(rows.size());
    return inside ? sampleAt(rows[static_cast<std::size_t>(y)], code, x, sample) : white;
  }
  [[nodiscard]] double between(tagRPOINT p, std::size_t sample) const {
    const double left = std::floor(p.x), top = std::floor(p.y), fx = p.x - left, fy = p.y - top;
    const auto x = static_cast<std::int64_t>(left), y = static_cast<std::int64_t>(top);
    return (at(x, y, sample) * (1 - fx) + at(x + 1, y, sample) * fx) * (1 - fy) +
           (at(x, y + 1, sample) * (1 - fx) + at(x + 1, y + 1, sample) * fx) * fy;
  }
};

/// True when a place is so near to two pixels that either is right.
bool isTie(double v) { return std::abs(v - std::floor(v) - 0.5) < 1e-6; }

void compareLine(const Bytes& line, std::size_t number, const PlainSource& source, const Turn& turn) {
  const PlainTurn plain(turn);
  const bool indexed = source.code == Four || source.code == Palette;
  const auto pixels =
      static_cast<std::int64_t>(line.size() * 8 / static_cast<std::size_t>(bitsPerPixel(source.code)));
  for (std::int64_t x = 0; x < pixels; ++x) {
    const tagRPOINT p = plain.sourceOf(static_cast<double>(x), static_cast<double>(number));
    for (std::size_t k = 0; k < samplesOf(source.code); ++k) {
      const int got = sampleAt(line, source.code, x, k);
      if (indexed) {
        if (isTie(p.x) || isTie(p.y)) continue;
        const double nearest = source.at(static_cast<std::int64_t>(std::floor(p.x + 0.5)),
                                         static_cast<std::int64_t>(std::floor(p.y + 0.5)), k);
        ASSERT_EQ(got, nearest) << "pixel " << x << " of line " << number;
      } else {
        ASSERT_NEAR(got, source.between(p, k), 0.75) << "pixel " << x << " of line " << number;
      }
    }
  }
}

TEST(Rotator, LinesAreThoseOfAPlainRotation) {
  std::vector<KXRGBQUAD> palette(256, KXRGBQUAD{10, 20, 30, 0});
  palette[9] = {250, 250, 240, 0};
  for (const KxColorSpace code : {Four, Palette, Grey, Rgba, Bgra, Rgb, Bgr}) {
    const int white = code == Four || code == Palette ? 9 : 255;
    for (const std::int32_t width : {1, 7, 64, 301}) {
      for (const double degrees : {0.07, 2.0, -2.0, 5.0, -5.0, 44.0, -44.0}) {
        const Turn turn{width, {degrees < 0 ? width / 9 : 0, width / 40}, degrees * kDegree};
        SCOPED_TRACE(testing::Message()
                     << "code " << static_cast<int>(code) << " width " << width << " angle " << degrees);
        std::vector<Bytes> rows;
        for (int y = 0; y < 150; ++y) rows.push_back(patternLine(fixedLineBytes(code, width), y));
        const auto lines = straightened(code, turn, rows, palette.data());
        const std::int32_t stored = code == Four ? width / 2 * 2 : width;
        const PlainSource source{rows, code, stored, white};
        for (std::size_t i = 0; i < lines.size() && !HasFatalFailure(); ++i) compareLine(lines[i], i, source, turn);
        const double side = width * std::abs(std::sin(turn.angle)) - 2 * turn.offset.height * std::cos(turn.angle);
        EXPECT_NEAR(static_cast<double>(lines.size()), std::max(0.0, (150 - side) / std::cos(turn.angle)), 0.51);
      }
    }
  }
}

TEST(Rotator, WithoutAnAngleLinesStayAsTheyAre) {
  for (const KxColorSpace code : {Bitonal, BitonalRle, Four, Palette, Grey, Rgba, Rgb}) {
    for (const std::int32_t width : {1, 2, 97, 640}) {
      std::vector<Bytes> rows;
      for (int y = 0; y < 40; ++y) {
        const Runs runs = patternRuns(width, y);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(runs.data());
        rows.push_back(isRunList(code) ? Bytes(bytes, bytes + runs.size() * 4)
                                       : patternLine(fixedLineBytes(code, width), y));
      }
      auto lines = straightened(code, {width, {0, 0}, 0.0}, rows);
      for (Bytes& line : lines) {
        if (!isRunList(code)) line.resize(fixedLineBytes(code, width));
      }
      EXPECT_EQ(lines, rows) << "code " << static_cast<int>(code) << " width " << width;
    }
  }
}

TEST(Rotator, TheProcessorsLoopsGiveThePlainOnesResults) {
  std::mt19937 engine(7);
  const auto random = [&engine](std::uint32_t end) { return static_cast<std::uint32_t>(engine() % end); };
  Bytes pixels(8192), fast(4096), plain(4096);
  for (auto& v : pixels) v = static_cast<std::uint8_t>(random(3) == 0 ? random(2) * 255 : random(256));
  constexpr std::size_t kBytes[] = {1, 3, 4};
  for (std::size_t i = 0; i < 3000; ++i) {
    const std::size_t bytes = kBytes[i % 3];
    const std::uint32_t lag = random(200), drop = random(i % 2 ? 3000 : 46341);
    const std::uint32_t count = 1 + random(i % 5 ? 40 : BlendLoops::kMostPixels);
    const BlendSpan span{
        {pixels.data() + random(999), pixels.data() + 4096 + random(999)}, random(65536), random(65536), count};
    BlendLoops(bytes, lag, drop).blend(span, fast.data());
    BlendLoops(bytes, lag, drop, true).blend(span, plain.data());
    const auto end = static_cast<std::ptrdiff_t>(count * bytes);
    ASSERT_TRUE(std::equal(fast.begin(), fast.begin() + end, plain.begin())) << "span " << i;
  }
}

TEST(Rotator, ALongRollIsHeldInABand) {
  constexpr std::int32_t kWidth = 500, kRows = 30000;
  const Runs ink{3, 60, 250, 250, 480, 499, RunEnd, 0};
  const Bytes grey(kWidth, 77);
  for (const KxColorSpace code : {Bitonal, Grey}) {
    for (const double degrees : {-3.0, 3.0}) {
      LineCollector out(code);
      const auto rotator = CreateDynamicRasterRotator(code, kWidth, {0, 0}, degrees * kDegree, &out, nullptr);
      out.expect(1);
      std::int32_t most = 0;
      for (int y = 0; y < kRows; ++y) {
        rotator->AddRow(isRunList(code) ? reinterpret_cast<const std::uint8_t*>(ink.data()) : grey.data(), 0);
        most = std::max(most, rotator->GetHeldRows());
        // What has come is handed on: no more is held back than what a line crosses.
        ASSERT_LT(y - static_cast<int>(out.lines.size()), 40 + y / 500);
      }
      rotator->AddRow(nullptr, 1);
      EXPECT_GT(most, 20);
      EXPECT_LT(most, kWidth * std::sin(3 * kDegree) + 12);
      EXPECT_NEAR(static_cast<double>(out.lines.size()), (kRows - 26) / std::cos(3 * kDegree), 1.5);
    }
  }
}

TEST(Rotator, AnglesThatCannotBeAreRefused) {
  LineCollector out(Grey);
  for (const double angle : {1.2, -1.2, std::nan("")}) {
    EXPECT_THROW((void)CreateDynamicRasterRotator(Grey, 10, {0, 0}, angle, &out, nullptr), CXIFaceException);
  }
}

}  // namespace
}  // namespace quillbay::test
