#include <gtest/gtest.h>

#include <cstring>

#include "fake_channel.h"
#include "stores/scan_to_file_stor.h"
#include "stripes.h"

namespace quillbay {
namespace {

// 4.3e9 bytes of colour in stripes of about 1 MiB: more than 32 bits can count.
constexpr std::int32_t kWidth = 40000, kStripeLines = 9, kStripes = 3978;
constexpr std::int32_t kLines = kStripeLines * kStripes;
static_assert(std::int64_t{kWidth} * 3 * kLines > (std::int64_t{1} << 32));

// Line i of a stripe begins and ends with i; the stripe is used again and again.
KxPtr<IScanBuffer> markedStripe() {
  auto stripe = newScanBuffer(400, {kWidth, kStripeLines}, KxColorSpace::Rgb, nullptr);
  const auto filler = stripe.as<IRasterFiller>();
  std::vector<std::uint8_t> line(std::size_t{kWidth} * 3, 200);
  for (std::int32_t i = 0; i < kStripeLines; ++i) {
    line.front() = line.back() = static_cast<std::uint8_t>(i);
    filler->AddLine(i, line.data());
  }
  return stripe;
}

bool marked(std::int64_t line, const std::uint8_t* bytes) {
  return bytes[0] == line % kStripeLines && bytes[std::size_t{kWidth} * 3 - 1] == line % kStripeLines;
}

TEST(LargePage, GoesThroughTheFileStoreWhole) {
  for (const auto pull : {test::ChannelScript::Pull::Stripes, test::ChannelScript::Pull::Lines}) {
    test::ChannelScript script;
    script.pull = pull;
    script.keepLines = false;
    std::int64_t wrong = 0;
    script.check = [&](std::int64_t line, const std::uint8_t* bytes) { wrong += !marked(line, bytes); };
    const auto app = KxPtr<test::FakeApp>::adopt(new test::FakeApp);
    const auto store = KxPtr<CScanToFileStor>::adopt(new CScanToFileStor(app.get(), nullptr));
    store->SetTarget({"/tmp/roll.tif"});
    const auto stripe = markedStripe();
    for (std::int32_t i = 0; i < kStripes; ++i) ASSERT_EQ(store->AddStripe(stripe.get()), 1);
    ASSERT_EQ(store->Finish(nullptr, 0, 1), 1) << store->GetError();
    EXPECT_EQ(script.written, kLines);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(store->GetLines(), kLines);
  }
}

}  // namespace
}  // namespace quillbay
