#include "stores/simple_stor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "quillbay/errors.h"
#include "stores/view_stor.h"
#include "stripes.h"
#include "support/test_stripe.h"

namespace quillbay {
namespace {

using test::pageLine;
using test::pageStripe;

// Pads and hands out.
KxPtr<IRStor> finish(ISStripStor* store, int minLines) {
  KxPtr<IRStor> raster;
  EXPECT_EQ(store->Finish(raster.put(), minLines, 0), 1);
  return raster;
}

::testing::AssertionResult holdsPage(IRStor* raster, KxColorSpace colorSpace, std::int32_t lines) {
  const auto context = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
  if (raster->GetHeight() < lines) return ::testing::AssertionFailure() << raster->GetHeight() << " lines";
  std::vector<std::uint8_t> line(16384);
  for (std::int32_t i = 0; i < lines; ++i) {
    const auto want = pageLine(colorSpace, raster->GetWidth(), i);
    if (context->ReadLine(i, 0, raster->GetWidth(), line.data()) != 1 ||
        std::memcmp(line.data(), want.data(), want.size()) != 0)
      return ::testing::AssertionFailure() << "line " << i;
  }
  return ::testing::AssertionSuccess();
}

TEST(SimpleStor, GivesTheSameRasterForAnyStripeHeight) {
  for (const KxColorSpace cs :
       {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Grey, KxColorSpace::Rgb}) {
    for (const std::int32_t height : {1, 7, 64}) {
      SCOPED_TRACE(::testing::Message() << static_cast<int>(cs) << " by " << height);
      const auto store = makeEmptyStore();
      EXPECT_TRUE(store->IsEmpty());
      for (std::int32_t at = 0; at < 150; at += height)
        ASSERT_EQ(store->AddStripe(pageStripe(cs, 201, at, std::min(height, 150 - at)).get()), 1);
      const auto raster = finish(store.get(), 0);
      ASSERT_TRUE(raster);
      EXPECT_EQ(raster->GetSize(), (KxSize{201, 150}));
      EXPECT_TRUE(holdsPage(raster.get(), cs, 150));
    }
  }
}

TEST(SimpleStor, FinishGrowsByEightLinesAtLeast) {
  struct Case {
    int missing, height;
  };
  for (const Case& c : {Case{3, 58}, Case{8, 58}, Case{20, 70}, Case{0, 50}, Case{-5, 50}}) {
    SCOPED_TRACE(c.missing);
    const auto store = makeEmptyStore();
    store->AddStripe(pageStripe(KxColorSpace::Grey, 20, 0, 50).get());
    const auto raster = finish(store.get(), 50 + c.missing);
    EXPECT_EQ(raster->GetHeight(), c.height);
    double rect[4];
    store->GetRect(rect);
    EXPECT_EQ(rect[3], 49) << "padding is not stored lines";
    // What comes after padding is written behind it.
    store->AddStripe(pageStripe(KxColorSpace::Grey, 20, 50, 2).get());
    EXPECT_EQ(raster->GetHeight(), c.height + 2);
    EXPECT_TRUE(holdsPage(raster.get(), KxColorSpace::Grey, 50));
  }
}

KxPtr<ISStripStor> newViewStore(CViewStor::Raster raster, ISStripStor* destination = nullptr) {
  return KxPtr<ISStripStor>::adopt(new CViewStor(raster, nullptr, destination));
}

TEST(ViewStor, HandsOutTheDestinationsRasterOrItsOwnOrNone) {
  const auto destination = makeEmptyStore();
  const auto shared = newViewStore(CViewStor::Raster::Shared, destination.get());
  const auto own = newViewStore(CViewStor::Raster::Own), none = newViewStore(CViewStor::Raster::None);
  for (std::int32_t at = 0; at < 60; at += 20) {
    const auto stripe = pageStripe(KxColorSpace::Grey, 20, at, 20);
    for (const auto& store : {destination, shared, own, none}) ASSERT_EQ(store->AddStripe(stripe.get()), 1);
  }
  const auto page = finish(destination.get(), 0);
  EXPECT_EQ(page->GetHeight(), 60) << "held once, filled once";
  EXPECT_EQ(finish(shared.get(), 100).get(), page.get());
  EXPECT_EQ(page->GetHeight(), 60) << "looking pads nothing";
  EXPECT_TRUE(holdsPage(finish(own.get(), 0).get(), KxColorSpace::Grey, 60));
  EXPECT_FALSE(finish(none.get(), 0));
  shared->Reset();
  EXPECT_TRUE(shared->IsEmpty());
  EXPECT_FALSE(finish(shared.get(), 0));
  EXPECT_EQ(finish(destination.get(), 0).get(), page.get()) << "the view's end is not the page's";
}

// A stripe that has lines but no room to put them.
class HomelessStripe final : public test::TestStripe {
 public:
  explicit HomelessStripe(bool throws) : TestStripe(KxColorSpace::Grey, 20, test::Shape::Packed), m_throws(throws) {
    for (int i = 0; i < 5; ++i) add(test::Bytes(20));
  }
  int AddToRaster(std::int32_t, IRStor*) override { return fail(); }
  int CreateRaster(IRStor**) override { return fail(); }

 private:
  int fail() const { return m_throws ? throw CXMemException("no scratch space") : 0; }
  bool m_throws;
};

TEST(SimpleStor, AStripeThatCannotBeStoredEndsThePageUntilReset) {
  for (const auto& [throws, before] : {std::pair{true, 10}, {false, 10}, {false, 0}}) {
    SCOPED_TRACE(testing::Message() << throws << before);
    const auto store = makeEmptyStore();
    const auto outcome = store.as<IStoreOutcome>();
    if (before > 0) store->AddStripe(pageStripe(KxColorSpace::Grey, 20, 0, before).get());
    const auto stripe = KxPtr<IScanBuffer>::adopt(new HomelessStripe(throws));
    EXPECT_EQ(store->AddStripe(stripe.get()), throws ? 0 : 1) << "what the stripe answers is not passed on";
    EXPECT_EQ(store->AddStripe(pageStripe(KxColorSpace::Grey, 20, before, 10).get()), 0);
    EXPECT_EQ(outcome->GetError() == "no scratch space", throws);
    EXPECT_NE(outcome->GetError(), "");
    EXPECT_EQ(outcome->GetLines(), before);
    EXPECT_FALSE(store->IsEmpty()) << "an error waits to be told";
    KxPtr<IRStor> raster;
    EXPECT_EQ(store->Finish(raster.put(), 0, 0), 0);
    EXPECT_TRUE(before == 0 || holdsPage(raster.get(), KxColorSpace::Grey, before)) << "what was stored stays";
    store->Reset();
    EXPECT_EQ(outcome->GetError(), "");
    EXPECT_EQ(store->AddStripe(pageStripe(KxColorSpace::Grey, 20, 0, 10).get()), 1);
  }
}

TEST(SimpleStor, IsAskedWhileItFills) {
  const auto store = makeEmptyStore();
  std::thread scanner([&] {
    for (int i = 0; i < 200; ++i) store->AddStripe(pageStripe(KxColorSpace::Bitonal, 300, i * 8, 8).get());
  });
  double rect[4] = {};
  double before = -1;
  while (rect[3] < 1599) {
    store->GetRect(rect);
    ASSERT_GE(rect[3], before);
    before = rect[3];
    if (const auto raster = finish(store.get(), 0)) {
      ASSERT_EQ(raster->GetWidth(), 300);
    }
  }
  scanner.join();
  EXPECT_TRUE(holdsPage(finish(store.get(), 0).get(), KxColorSpace::Bitonal, 1600));
}

}  // namespace
}  // namespace quillbay
