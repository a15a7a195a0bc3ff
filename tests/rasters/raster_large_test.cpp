#include <gtest/gtest.h>
#include <sys/resource.h>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "raster_tools.h"

namespace quillbay::test {
namespace {

long peakMemoryMiB() {
  rusage use{};
  getrusage(RUSAGE_SELF, &use);
  return use.ru_maxrss >> 10;
}

TEST(RasterLarge, APageOfMoreThan4GiBIsAnOrdinaryPage) {
  constexpr std::int64_t kPast = (std::int64_t{1} << 32) + (std::int64_t{64} << 20);
  constexpr std::int64_t kBudget = std::int64_t{256} << 20;
  constexpr std::int32_t kWidth = 20011;
  constexpr std::int64_t kBytes = kWidth * 3;
  constexpr std::int32_t kStripe = 97;
  if (fio::freeSpace("/var/tmp") < kPast + (std::int64_t{1} << 30)) GTEST_SKIP() << "/var/tmp has less than 6 GiB";
  try {
    SetRasterBudget({kBudget, {}, false});
  } catch (const CXFileException& e) {
    GTEST_SKIP() << e.what();
  }
  const auto stripe = newStripe(KxColorSpace::Rgb, kWidth);
  for (std::int32_t i = 0; i < kStripe; ++i) stripe->add(patternLine(kBytes, i));
  const auto raster = new_IRStor(KxColorSpace::Rgb, kWidth, 0, 400);
  while (raster->GetByteCount() < kPast) ASSERT_EQ(stripe->AddToRaster(raster->GetHeight(), raster.get()), 1);
  EXPECT_LE(rasterMemoryInUse(), kBudget);

  const auto at4GiB = static_cast<std::int32_t>((std::int64_t{1} << 32) / kBytes);
  const std::int32_t last = raster->GetHeight() - 1;
  for (const std::int32_t i : {0, 1, at4GiB / 2, at4GiB - 1, at4GiB, at4GiB + 1, last - 1, last}) {
    EXPECT_EQ(readLine(*raster, i), patternLine(kBytes, i % kStripe)) << i;
  }
  const Bytes other = patternLine(kBytes, 12345);
  ASSERT_EQ(contextOf(*raster, 1)->WriteLine(at4GiB, 0, kWidth, other.data()), 1);
  EXPECT_EQ(readLine(*raster, at4GiB), other);
  EXPECT_EQ(readLine(*raster, at4GiB + 1), patternLine(kBytes, (at4GiB + 1) % kStripe));
  EXPECT_EQ(readLine(*raster, 0), patternLine(kBytes, 0));
  EXPECT_LT(peakMemoryMiB(), 256 + 100) << "memory grows with the page";
}

}  // namespace
}  // namespace quillbay::test
