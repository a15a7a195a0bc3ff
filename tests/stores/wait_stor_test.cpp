#include "stores/wait_stor.h"

#include <gtest/gtest.h>

#include <cstring>

#include "stores/empty_buffer.h"
#include "stripes.h"

namespace quillbay {
namespace {

using test::othersHolding;
using test::pageLine;
using test::pageStripe;

// A facade over stripes that are all there already, so that one thread is enough.
struct Ready {
  StripeFeed feed;
  CWaitStor facade{&feed};
  void add(const KxPtr<IScanBuffer>& stripe) {
    KxSize size;
    stripe->GetSize(&size);
    feed.queue.push({stripe, size.height, stripeBytes(stripe.get())});
    feed.queued.set();
  }
  void end() {
    feed.finished = true;
    feed.finish.set();
  }
};

TEST(StripeQueue, IsFirstInFirstOut) {
  StripeQueue queue;
  QueuedStripe out;
  EXPECT_FALSE(queue.pop(&out));
  const auto stripe = pageStripe(KxColorSpace::Grey, 10, 0, 1);
  int in = 0, expected = 0;
  for (const int step : {+1, -1, +3, -2, +4, -5, +2}) {
    for (int i = 0; i < step; ++i) queue.push({stripe, ++in, 100});
    for (int i = 0; i > step; --i) {
      ASSERT_TRUE(queue.pop(&out));
      ASSERT_EQ(out.lines, ++expected);
    }
    ASSERT_EQ(queue.count(), static_cast<std::size_t>(in - expected));
    ASSERT_EQ(queue.bytes(), 100 * (in - expected));
  }
  queue.clear();
  out = {};
  EXPECT_EQ(queue.bytes(), 0);
  EXPECT_EQ(othersHolding(stripe), 0u) << "only this test holds it";
}

TEST(StripeQueue, CountsBytesOfLines) {
  EXPECT_EQ(stripeBytes(pageStripe(KxColorSpace::Rgb, 7, 0, 3).get()), 63);
  const auto bitonal = newScanBuffer(200, {100, 2}, KxColorSpace::Bitonal, nullptr);
  const std::uint32_t five[] = {1, 2, 4, 5, 7, 8, 10, 11, 13, 14, RunEnd}, none[] = {RunEnd};
  bitonal.as<IRasterFiller>()->AddLine(0, reinterpret_cast<const std::uint8_t*>(five));
  bitonal.as<IRasterFiller>()->AddLine(1, reinterpret_cast<const std::uint8_t*>(none));
  EXPECT_EQ(stripeBytes(bitonal.get()), 48 + 8);
}

TEST(WaitStor, HandsOutTheReaderOfItsColourSpace) {
  enum class Reader { None, Rgb, Pal, Ars };
  struct Case {
    KxColorSpace colorSpace;
    Reader want;
  };
  const Case cases[] = {{KxColorSpace::Rgb, Reader::Rgb},     {KxColorSpace::Bgr, Reader::Rgb},
                        {KxColorSpace::Palette, Reader::Pal}, {KxColorSpace::Grey, Reader::Pal},
                        {KxColorSpace::Bitonal, Reader::Ars}, {KxColorSpace::Four, Reader::None},
                        {KxColorSpace::Rgba, Reader::None},   {static_cast<KxColorSpace>(3), Reader::None}};
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.colorSpace));
    Ready ready;
    EXPECT_EQ(ready.facade.GetAccessContext(0, 0), nullptr) << "before the first stripe";
    ready.add(pageStripe(c.colorSpace, 16, 0, 2));
    ASSERT_TRUE(ready.facade.WaitForNextStripe());
    EXPECT_EQ(ready.facade.GetColorSpace(), c.colorSpace);
    EXPECT_EQ(ready.facade.GetResolution(), 200u);
    EXPECT_EQ(ready.facade.GetSize(), (KxSize{16, 2}));
    const auto context = KxPtr<IAccessContext>::adopt(ready.facade.GetAccessContext(1, 9));
    EXPECT_EQ(static_cast<bool>(context.as<IRGBContext>()), c.want == Reader::Rgb);
    EXPECT_EQ(static_cast<bool>(context.as<IPalContext>()), c.want == Reader::Pal);
    EXPECT_EQ(static_cast<bool>(context.as<IARSContext>()), c.want == Reader::Ars);
    if (c.colorSpace != KxColorSpace::Palette) continue;
    std::vector<KXRGBQUAD> palette(256);
    ASSERT_EQ(context->GetPalette(palette.data()), 256);
    EXPECT_EQ(palette[200], test::paletteEntry(200));
  }
}

TEST(WaitStor, GrowsBeforeAStripesLastLineIsGivenAndRepeatsAfterTheEnd) {
  for (const KxColorSpace cs : {KxColorSpace::Rgb, KxColorSpace::Grey, KxColorSpace::Bitonal}) {
    SCOPED_TRACE(static_cast<int>(cs));
    Ready ready;
    ready.add(pageStripe(cs, 50, 0, 3));
    ready.add(pageStripe(cs, 50, 3, 2));
    ready.end();
    ASSERT_TRUE(ready.facade.WaitForNextStripe());
    const auto context = KxPtr<IAccessContext>::adopt(ready.facade.GetAccessContext(0, 0));
    std::vector<std::uint8_t> line(400);
    // Whatever line is asked for, the next one comes; after the end, the last stripe's lines again.
    const int lines[] = {0, 1, 2, 3, 4, 3, 4, 3};
    const int heights[] = {3, 3, 5, 5, 5, 5, 5, 5};
    for (std::size_t i = 0; i < std::size(lines); ++i) {
      ASSERT_EQ(context->ReadLine(777, 0, 50, line.data()), 1);
      const auto want = pageLine(cs, 50, lines[i]);
      EXPECT_EQ(std::memcmp(line.data(), want.data(), want.size()), 0) << "read " << i;
      EXPECT_EQ(ready.facade.GetHeight(), heights[i]) << "read " << i;
    }
    EXPECT_FALSE(ready.facade.WaitForNextStripe()) << "the end is told as often as it is asked";
    EXPECT_EQ(context->WriteLine(0, 0, 50, line.data()), 0);
  }
}

TEST(WaitStor, ReadsPartsOfLinesWithinTheWidth) {
  Ready ready;
  ready.add(pageStripe(KxColorSpace::Rgb, 50, 0, 9));
  ready.facade.WaitForNextStripe();
  const auto context = KxPtr<IAccessContext>::adopt(ready.facade.GetAccessContext(0, 0));
  std::vector<std::uint8_t> part(30);
  EXPECT_EQ(context->ReadLine(0, 41, 10, part.data()), 0) << "beyond the width: nothing is read";
  EXPECT_EQ(context->ReadLine(0, -1, 2, part.data()), 0);
  ASSERT_EQ(context->ReadLine(0, 40, 10, part.data()), 1);
  EXPECT_EQ(std::memcmp(part.data(), pageLine(KxColorSpace::Rgb, 50, 0).data() + 120, 30), 0);
}

TEST(WaitStor, LinePointersLastTwoStripes) {
  Ready ready;
  for (int i = 0; i < 4; ++i) ready.add(pageStripe(KxColorSpace::Bitonal, 200, i * 2, 2));
  ready.end();
  ready.facade.WaitForNextStripe();
  const auto runs = KxPtr<IAccessContext>::adopt(ready.facade.GetAccessContext(0, 0)).as<IARSContext>();
  const std::uint32_t* previous = nullptr;
  std::size_t previousSize = 0;
  for (int i = 0; i < 8; ++i) {
    const std::size_t size = runs->GetLineSize(0);
    EXPECT_EQ(runs->GetLineSize(0), size) << "asking moves nothing";
    const std::uint32_t* list = runs->GetLinePointer(0);
    EXPECT_EQ(size, pageLine(KxColorSpace::Bitonal, 200, i).size());
    // The line before, and this one though its stripe may have been left, are both still there.
    for (const auto& [at, bytes, line] : {std::tuple(list, size, i), std::tuple(previous, previousSize, i - 1)}) {
      if (!at) continue;
      EXPECT_EQ(std::memcmp(at, pageLine(KxColorSpace::Bitonal, 200, line).data(), bytes), 0) << i;
    }
    previous = list;
    previousSize = size;
  }
}

TEST(WaitStor, LetsGoOfStripesThatWereLeft) {
  Ready ready;
  std::vector<KxPtr<IScanBuffer>> stripes;
  for (int i = 0; i < 4; ++i) ready.add(stripes.emplace_back(pageStripe(KxColorSpace::Grey, 20, i * 2, 2)));
  ready.end();
  KxPtr<IScanBuffer> stripe;
  std::int32_t lines = 0;
  ASSERT_TRUE(ready.facade.WaitForNextStripe()) << "the first was fetched to know the page";
  const auto context = KxPtr<IAccessContext>::adopt(ready.facade.GetAccessContext(0, 0));
  for (std::size_t i = 0; i < 4; ++i) {
    ASSERT_EQ(ready.facade.NextStripe(stripe.put(), &lines), 1);
    EXPECT_EQ(stripe.get(), stripes[i].get());
    EXPECT_EQ(lines, 2);
    if (i == 0) continue;
    EXPECT_EQ(othersHolding(stripes[i - 1]), 0u) << "stripe " << i - 1 << " is held by this test only";
  }
  stripe = nullptr;
  EXPECT_EQ(ready.facade.NextStripe(stripe.put(), &lines), 0);
  EXPECT_EQ(ready.facade.NextStripe(stripe.put(), &lines), 0);
  EXPECT_EQ(ready.facade.WasAbandoned(), 0);
  EXPECT_EQ(othersHolding(stripes[3]), 0u);
  EXPECT_EQ(ready.facade.GetSize(), (KxSize{20, 8}));
  EXPECT_EQ(context->GetColorCount(), 256) << "the palette outlives its stripe";
}

TEST(WaitStor, EndsAtOnceWhenThePageIsAbandoned) {
  Ready ready;
  ready.add(pageStripe(KxColorSpace::Grey, 20, 0, 2));
  ready.add(pageStripe(KxColorSpace::Grey, 20, 2, 2));
  ASSERT_TRUE(ready.facade.WaitForNextStripe());
  ready.feed.abandoned = true;
  KxPtr<IScanBuffer> stripe;
  std::int32_t lines = 0;
  EXPECT_EQ(ready.facade.NextStripe(stripe.put(), &lines), 1) << "the current one is its reader's";
  EXPECT_EQ(ready.facade.NextStripe(stripe.put(), &lines), 0);
  EXPECT_EQ(ready.facade.WasAbandoned(), 1);
  EXPECT_EQ(ready.facade.GetHeight(), 2);
}

}  // namespace
}  // namespace quillbay
