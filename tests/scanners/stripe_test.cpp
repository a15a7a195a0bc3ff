#include "scanners/lines/stripe.h"

#include <gtest/gtest.h>

#include <cstring>

namespace quillbay {
namespace {

KxPtr<CStripe> newStripe(std::shared_ptr<StripePool> pool, KxColorSpace cs, int width, int capacity) {
  return KxPtr<CStripe>::adopt(new CStripe(std::move(pool), cs, width, capacity, 300));
}

TEST(Stripe, RunListsGrowAndStayAligned) {
  const KxPtr<CStripe> stripe = newStripe(std::make_shared<StripePool>(), KxColorSpace::Bitonal, 4000, 2);
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
  KxPtr<CStripe> stripe = newStripe(pool, KxColorSpace::Grey, 100, 10);
  const std::uint8_t* block = stripe->data();
  stripe = nullptr;
  stripe = newStripe(pool, KxColorSpace::Grey, 100, 10);
  EXPECT_EQ(stripe->data(), block);
  const KxPtr<CStripe> other = newStripe(pool, KxColorSpace::Grey, 200, 10);
  pool = nullptr;
  stripe->data()[999] = 1;
  EXPECT_EQ(stripe->GetPalette()[200], (KXRGBQUAD{200, 200, 200, 0}));
}

}  // namespace
}  // namespace quillbay
