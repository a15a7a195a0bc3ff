#include <gtest/gtest.h>

#include "raster_tools.h"

namespace quillbay::test {
namespace {

constexpr std::uint32_t E = RunEnd;
constexpr auto neg(std::int32_t v) { return static_cast<std::uint32_t>(v); }

TEST(RunStor, ListsAreStoredValid) {
  struct Case {
    const char* what;
    Runs written, stored;
  };
  const Case cases[] = {
      {"empty", {E}, {E, 0}},
      {"whole line", {0, 99, E}, {0, 99, E, 0}},
      {"left of the line", {neg(-9), neg(-1), 3, 4, E}, {3, 4, E, 0}},
      {"across the right edge ends the list", {5, 6, 98, 100, 101, 102, E}, {5, 6, 98, 99, E, 0}},
      {"overlapping", {5, 10, 8, 12, E}, {5, 10, 11, 12, E, 0}},
      {"backwards", {10, 5, 20, 21, E}, {20, 21, E, 0}},
  };
  const auto raster = new_IRStor(KxColorSpace::Bitonal, 100, 2, 300);
  for (const Case& c : cases) {
    ASSERT_EQ(contextOf(*raster, 1)->WriteLine(0, 0, 100, c.written.data()), 1) << c.what;
    EXPECT_EQ(readRuns(*raster, 0), c.stored) << c.what;
    EXPECT_EQ(readRuns(*raster, 1), (Runs{E, 0})) << c.what;
  }
}

TEST(RunStor, StripesComeBackAsTheyWere) {
  constexpr std::int32_t kWidth = 5000;
  constexpr std::int32_t kLines = 3000;  // some 24 MB: several segments
  KxPtr<IRStor> raster;
  for (std::int32_t line = 0; line < kLines; line += 100) {
    const auto stripe = newStripe(KxColorSpace::BitonalRle, kWidth, Shape::LineByLine);
    for (std::int32_t i = 0; i < 100; ++i) stripe->add(patternRuns(kWidth, line + i));
    ASSERT_EQ(raster ? stripe->AddToRaster(line, raster.get()) : stripe->CreateRaster(raster.put()), 1);
  }
  EXPECT_EQ(raster->GetColorSpace(), KxColorSpace::Bitonal);
  for (std::int32_t i = 0; i < kLines; ++i) ASSERT_EQ(readRuns(*raster, i), patternRuns(kWidth, i)) << i;
}

TEST(RunStor, RewrittenLinesLeaveTheOthersAlone) {
  constexpr std::int32_t kWidth = 1000;
  const auto raster = new_IRStor(KxColorSpace::Bitonal, kWidth, 0, 300);
  ASSERT_EQ(raster.as<IRStorAddStripe>()->AddLines(0, 0, 9), 1);
  const auto context = contextOf(*raster, 1);
  const Runs one{4, 5, E};
  for (std::int32_t i = 0; i < 9; ++i) context->WriteLine(i, 0, kWidth, one.data());
  const Runs longer = patternRuns(kWidth, 3);
  const Runs shorter{7, 7, 9, 9, E, 0};
  for (const Runs& next : {longer, shorter, longer, Runs{E, 0}, shorter}) {
    context->WriteLine(4, 0, kWidth, next.data());
    EXPECT_EQ(readRuns(*raster, 4), next);
    EXPECT_EQ(readRuns(*raster, 3), (Runs{4, 5, E, 0}));
    EXPECT_EQ(readRuns(*raster, 5), (Runs{4, 5, E, 0}));
  }
  EXPECT_EQ(context.as<IARSContext>()->GetLineSize(4), 24U);
  EXPECT_EQ(context.as<IARSContext>()->GetLineSize(9), 0U);
  EXPECT_EQ(context.as<IARSContext>()->GetLinePointer(-1), nullptr);

  ASSERT_EQ(raster.as<IRStorAddStripe>()->AddLines(0, 4, 1), 1);
  EXPECT_EQ(readRuns(*raster, 4), (Runs{E, 0}));
  EXPECT_EQ(readRuns(*raster, 5), shorter);
  context->WriteLine(4, 0, kWidth, one.data());
  EXPECT_EQ(readRuns(*raster, 5), shorter);
}

}  // namespace
}  // namespace quillbay::test
