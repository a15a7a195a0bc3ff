#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "../support/temp_dir.h"
#include "raster_tools.h"

namespace quillbay::test {
namespace {

constexpr std::int32_t kWidth = 9001;
constexpr std::int32_t kLines = 4200;  // more segments than stay resident

void fill(IRStor& raster) {
  for (std::int32_t line = 0; line < kLines; line += 30) {
    const auto stripe = newStripe(raster.GetColorSpace(), kWidth, Shape::Packed);
    for (std::int32_t i = 0; i < 30; ++i) {
      if (isRunList(raster.GetColorSpace())) {
        stripe->add(patternRuns(kWidth, line + i));
      } else {
        stripe->add(patternLine(kWidth, line + i));
      }
    }
    stripe->AddToRaster(line, &raster);
  }
}

/// Reads lines below the height, near its end and far from it, until all are there.
void readBeside(IRStor& raster, std::int32_t step, std::atomic<int>& wrong) {
  std::int32_t height = 0;
  for (std::int32_t at = 0; height < kLines; std::this_thread::yield()) {
    height = raster.GetHeight();
    if (height == 0) continue;
    at = (at + step) % height;
    for (const std::int32_t line : {height - 1, at}) {
      const bool same = isRunList(raster.GetColorSpace()) ? readRuns(raster, line) == patternRuns(kWidth, line)
                                                          : readLine(raster, line) == patternLine(kWidth, line);
      if (!same) ++wrong;
    }
  }
}

TEST(RasterThreads, ReadersOfFinishedLinesRunBesideTheWriter) {
  const TempDir folder;
  for (const KxColorSpace code : {KxColorSpace::Grey, KxColorSpace::Bitonal}) {
    for (const std::int64_t budget : {std::int64_t{1}, std::int64_t{1} << 30}) {
      const ScopedBudget scoped(budget, folder.path());
      const auto raster = new_IRStor(code, kWidth, 0, 300);
      std::atomic<int> wrong{0};
      std::thread writer([&] { fill(*raster); });
      std::thread near([&] { readBeside(*raster, 1, wrong); });
      std::thread far([&] { readBeside(*raster, 1709, wrong); });
      writer.join();
      near.join();
      far.join();
      EXPECT_EQ(wrong, 0) << "code " << static_cast<int>(code) << " budget " << budget;
      EXPECT_EQ(raster->GetHeight(), kLines);
    }
  }
}

}  // namespace
}  // namespace quillbay::test
