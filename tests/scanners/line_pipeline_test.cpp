#include "scanners/lines/line_pipeline.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "quillbay/errors.h"
#include "quillbay/run_list.h"
#include "quillbay/translation.h"
#include "recording_sink.h"
#include "scanners/lines/line_convert.h"
#include "scanners/lines/line_crop.h"
#include "scanners/lines/stripe.h"

namespace quillbay {
namespace {

using testing::RecordingSink;
using Pixel = std::array<std::uint8_t, 3>;

// The same pictures as a device would deliver them: pixel colours, and device lines of each kind.
struct Picture {
  DeviceSamples samples;
  std::vector<Pixel> pixels;
  std::vector<std::uint8_t> line;
};

Picture makePicture(DeviceSamples samples, std::size_t width, unsigned seed) {
  std::mt19937 random(seed);
  Picture p{samples, std::vector<Pixel>(width), {}};
  for (std::size_t x = 0; x < width; ++x) {
    Pixel& px = p.pixels[x];
    for (auto& c : px) c = static_cast<std::uint8_t>(random() & 255);
    if (samples == DeviceSamples::Bits) px.fill((random() & 3) != 0 ? 255 : 0);
    if (samples == DeviceSamples::Grey8 || samples == DeviceSamples::Grey16) px.fill(px[0]);
    const auto put16 = [&](std::uint8_t v) {
      const auto wide = static_cast<std::uint16_t>(v << 8 | (random() & 255));
      const auto* b = reinterpret_cast<const std::uint8_t*>(&wide);
      p.line.insert(p.line.end(), b, b + 2);
    };
    switch (samples) {
      case DeviceSamples::Bits:
        if (x % 8 == 0) p.line.push_back(0);
        if (px[0] == 0) p.line.back() = static_cast<std::uint8_t>(p.line.back() | 0x80 >> x % 8);
        break;
      case DeviceSamples::Grey8: p.line.push_back(px[0]); break;
      case DeviceSamples::Grey16: put16(px[0]); break;
      case DeviceSamples::Rgb8: p.line.insert(p.line.end(), px.begin(), px.end()); break;
      case DeviceSamples::Rgb16: std::for_each(px.begin(), px.end(), put16); break;
    }
  }
  if (samples == DeviceSamples::Bits) p.line.back() |= static_cast<std::uint8_t>((1 << (7 - (width - 1) % 8)) - 1);
  return p;
}

std::vector<std::uint8_t> runsOf(const std::vector<bool>& black) {
  std::vector<std::uint32_t> words;
  for (std::uint32_t x = 0; x < black.size(); ++x) {
    if (!black[x]) continue;
    if (x == 0 || !black[x - 1]) words.insert(words.end(), {x, x});
    words.back() = x;
  }
  words.insert(words.end(), {RunEnd, 0});
  const auto* b = reinterpret_cast<const std::uint8_t*>(words.data());
  return {b, b + words.size() * 4};
}

int luma(const Pixel& p) { return (77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256; }

std::vector<std::uint8_t> expected(const Picture& p, int mode, const KXRGBQUAD* curves, int threshold) {
  std::vector<std::uint8_t> out;
  std::vector<bool> black;
  for (Pixel px : p.pixels) {
    if (curves && p.samples != DeviceSamples::Bits)
      px = {curves[px[0]].red, curves[px[1]].green, curves[px[2]].blue};
    black.push_back(p.samples == DeviceSamples::Bits ? px[0] == 0 : luma(px) < threshold);
    if (mode == 5) out.push_back(static_cast<std::uint8_t>(luma(px)));
    if (mode == 7) out.insert(out.end(), px.begin(), px.end());
  }
  return mode < 5 ? runsOf(black) : out;
}

TEST(LinePipeline, MakesEveryModeFromEverySample) {
  std::vector<KXRGBQUAD> rising(256), wavy(256), *none = nullptr;
  for (std::size_t i = 0; i < 256; ++i) {
    rising[i] = {static_cast<std::uint8_t>(i / 2), static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i), 0};
    wavy[i] = {static_cast<std::uint8_t>(i * 3), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i),
               9};
  }
  const DeviceSamples kinds[] = {DeviceSamples::Bits, DeviceSamples::Grey8, DeviceSamples::Grey16,
                                 DeviceSamples::Rgb8, DeviceSamples::Rgb16};
  for (const DeviceSamples samples : kinds)
    for (const int mode : {0, 5, 7})
      for (const int width : {1, 7, 8, 63, 64, 65, 127, 1001})
        for (const auto* table : {none, &rising, &wavy}) {
          const KXRGBQUAD* curves = table ? table->data() : nullptr;
          SCOPED_TRACE(::testing::Message()
                       << "samples " << static_cast<int>(samples) << " mode " << mode << " width " << width);
          const Picture picture = makePicture(samples, static_cast<std::size_t>(width), 5);
          RecordingSink sink;
          sink.started = 1;
          LinePipeline pipeline({mode, samples, width, 300, 90, curves, 2}, &sink);
          EXPECT_EQ(pipeline.push(picture.line.data(), 0, 3), 1);  // the same line three times
          EXPECT_EQ(pipeline.linesOut(), 2);
          EXPECT_EQ(pipeline.flush(), 1);
          EXPECT_EQ(sink.lineCount, 3);
          EXPECT_TRUE(sink.inOrder);
          std::vector<std::uint8_t> want;
          for (int i = 0; i < 3; ++i) {
            const auto line = expected(picture, mode, curves, 90);
            want.insert(want.end(), line.begin(), line.end());
          }
          ASSERT_EQ(sink.bytes, want);
        }
}

TEST(LinePipeline, ThresholdAndRunsAtTheEdges) {
  using Runs = std::vector<std::uint32_t>;
  struct Case {
    const char* why;
    std::vector<std::uint8_t> grey;
    int threshold;
    Runs want;
  };
  std::vector<std::uint8_t> ends(130, 255);
  ends[0] = ends[63] = ends[64] = ends[129] = 0;
  const Case cases[] = {
      {"the threshold itself is white", {127, 128, 127}, 128, {0, 0, 2, 2, RunEnd}},
      {"threshold 0 leaves nothing", {0, 0}, 0, {RunEnd}},
      {"threshold 255 keeps pure white", {254, 255}, 255, {0, 0, RunEnd}},
      {"threshold 256 takes all", std::vector<std::uint8_t>(65, 255), 256, {0, 64, RunEnd}},
      {"a run across words, and one at the last pixel", ends, 1, {0, 0, 63, 64, 129, 129, RunEnd}},
      {"a whole word to its last pixel", std::vector<std::uint8_t>(64, 0), 1, {0, 63, RunEnd}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Runs runs(c.grey.size() + 3);
    const std::size_t n = greyToRuns(c.grey.data(), static_cast<int>(c.grey.size()), c.threshold, runs.data());
    runs.resize(n * 2 + 1);
    EXPECT_EQ(runs, c.want);
  }
}

TEST(LinePipeline, DirectLinesAreFilledInPlace) {
  KXRGBQUAD same[256];
  for (std::size_t i = 0; i < 256; ++i) same[i] = {std::uint8_t(i), std::uint8_t(i), std::uint8_t(i), 0};
  RecordingSink sink;
  sink.started = 1;
  LinePipeline pipeline({7, DeviceSamples::Rgb8, 10, 300, 128, same, 4}, &sink);
  ASSERT_TRUE(pipeline.isDirect());  // curves that change nothing are none
  for (int total = 0; total < 6;) {
    std::int32_t lines = 6 - total;
    std::uint8_t* room = pipeline.lineRoom(&lines);
    ASSERT_GT(lines, 0);
    std::fill_n(room, lines * 30, std::uint8_t(total));
    total += lines;
    EXPECT_EQ(pipeline.linesDone(lines), 1);
  }
  EXPECT_EQ(sink.stripes, 1);
  pipeline.flush();
  pipeline.flush();
  EXPECT_EQ(sink.stripes, 2);
  EXPECT_EQ(sink.bytes[0], 0);
  EXPECT_EQ(sink.bytes[5 * 30], 4);
}

TEST(LinePipeline, EndsWhenTheSinkSaysSo) {
  RecordingSink sink;
  sink.onStripe = [](IScanBuffer*) { return 0; };
  LinePipeline pipeline({0, DeviceSamples::Grey8, 9, 300, 128, nullptr, 2}, &sink);
  const std::vector<std::uint8_t> line(9, 0);
  EXPECT_EQ(pipeline.push(line.data(), 0, 5), 0);
  EXPECT_EQ(pipeline.linesOut(), 2);
  EXPECT_THROW(LinePipeline({8, DeviceSamples::Rgb8, 9, 300}, &sink), CXDeviceException);
  SetTranslator([](std::string_view english) { return '<' + std::string(english) + '>'; });
  try {
    const LinePipeline none({5, DeviceSamples::Grey8, 0, 300}, &sink);
    ADD_FAILURE() << "a line without pixels";
  } catch (const CXDeviceException& e) {
    EXPECT_EQ(std::string(e.what()), "<The scanner reports lines of 0 pixels: choose a wider scan area.>");
  }
  SetTranslator(nullptr);
}

TEST(LinePipeline, LinesOfManyRunsFillAStripeEarly) {
  RecordingSink sink;
  sink.keep = false;
  std::size_t largest = 0;
  sink.onStripe = [&](IScanBuffer* stripe) {
    KxSize size;
    stripe->GetSize(&size);
    largest = std::max(largest, static_cast<std::size_t>(size.height) * runListBytes(8000));
    return 1;
  };
  LinePipeline pipeline({0, DeviceSamples::Grey8, 16000, 300}, &sink);
  std::vector<std::uint8_t> line(16000, 0);
  for (std::size_t x = 1; x < line.size(); x += 2) line[x] = 255;
  EXPECT_EQ(pipeline.push(line.data(), 0, 400), 1);
  pipeline.flush();
  EXPECT_EQ(sink.lineCount, 400);
  EXPECT_LT(largest, std::size_t{2} << 20);
}

TEST(LinePipeline, PackedLinesStayPackedAndGiveTheSameRuns) {
  for (const std::int32_t width : {1, 7, 64, 65, 1003}) {
    SCOPED_TRACE(width);
    RecordingSink sink;
    std::vector<std::uint8_t> line((static_cast<std::size_t>(width) + 7) / 8);
    std::uint32_t seed = 5;
    for (auto& byte : line) byte = static_cast<std::uint8_t>((seed = seed * 1103515245U + 12345U) >> 16);
    std::vector<std::uint32_t> wanted(static_cast<std::size_t>(width) + 4);
    const std::size_t runs = bitsToRuns(line.data(), width, wanted.data());
    int checked = 0;
    sink.onStripe = [&](IScanBuffer* stripe) {
      const auto packed = query<IPackedLines>(stripe);
      EXPECT_TRUE(packed);
      KxSize size;
      stripe->GetSize(&size);
      for (std::int32_t i = 0; packed && i < size.height; ++i, ++checked) {
        EXPECT_EQ(std::memcmp(packed->GetBits() + static_cast<std::size_t>(i) * packed->GetStride(), line.data(),
                              line.size()),
                  0);
        EXPECT_EQ(std::memcmp(stripe->GetLine(i), wanted.data(), runListBytes(runs) - 4), 0);
      }
      return 1;
    };
    LinePipeline pipeline({0, DeviceSamples::Bits, width, 300, 128, nullptr, 3}, &sink);
    EXPECT_EQ(pipeline.push(line.data(), 0, 5), 1);
    pipeline.flush();
    EXPECT_EQ(checked, 5);
  }
}

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

KxPtr<CStripe> newLineStripe(std::shared_ptr<StripePool> pool, KxColorSpace cs, int width, int capacity) {
  return KxPtr<CStripe>::adopt(new CStripe(std::move(pool), cs, width, capacity, 300));
}

TEST(Stripe, RunListsGrowAndStayAligned) {
  const KxPtr<CStripe> stripe = newLineStripe(std::make_shared<StripePool>(), KxColorSpace::Bitonal, 4000, 2);
  std::vector<std::uint32_t> runs;
  for (std::uint32_t x = 0; x < 4000; x += 4) runs.insert(runs.end(), {x, x + 1});
  runs.push_back(RunEnd);
  const std::uint32_t none[] = {RunEnd};
  stripe->appendRuns(none, 0);
  for (int i = 0; i < 20; ++i) stripe->appendRuns(runs.data(), 1000);
  ASSERT_EQ(stripe->lineCount(), 21);
  const auto* first = reinterpret_cast<const std::uint32_t*>(stripe->GetLine(0));
  EXPECT_EQ(first[0], RunEnd);
  EXPECT_EQ(first[1], 0U);
  const std::uint8_t* last = stripe->GetLine(20);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(last) % 8, 0U);
  EXPECT_EQ(std::memcmp(last, runs.data(), runs.size() * 4), 0);
  EXPECT_EQ(stripe->usedBytes(), 8 + 20 * runListBytes(1000));
  EXPECT_FALSE(query<IContiguousLines>(static_cast<IScanBuffer*>(stripe.get())));
}

TEST(Stripe, PoolGivesBlocksOfOneSizeAgainAndOutlivesItsOwner) {
  auto pool = std::make_shared<StripePool>();
  KxPtr<CStripe> stripe = newLineStripe(pool, KxColorSpace::Grey, 100, 10);
  const std::uint8_t* block = stripe->data();
  stripe = nullptr;
  stripe = newLineStripe(pool, KxColorSpace::Grey, 100, 10);
  EXPECT_EQ(stripe->data(), block);
  const KxPtr<CStripe> other = newLineStripe(pool, KxColorSpace::Grey, 200, 10);
  pool = nullptr;
  stripe->data()[999] = 1;
  EXPECT_EQ(stripe->GetPalette()[200], (KXRGBQUAD{200, 200, 200, 0}));
}

}  // namespace
}  // namespace quillbay
