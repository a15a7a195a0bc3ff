#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "../support/ordinary_user.h"
#include "../support/temp_dir.h"
#include "quillbay/errors.h"
#include "raster_tools.h"

namespace quillbay::test {
namespace {

constexpr std::int64_t kMiB = std::int64_t{1} << 20;

bool livesInMemory(const char* folder) {
  struct statfs fs {};
  return statfs(folder, &fs) == 0 && fs.f_type == TMPFS_MAGIC;
}

/// A small file system of its own; only root has one.
class SmallDisk {
 public:
  explicit SmallDisk(const std::string& folder)
      : m_folder(folder), m_mounted(mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=20m") == 0) {}
  ~SmallDisk() {
    if (m_mounted) umount2(m_folder.c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  [[nodiscard]] bool isMounted() const { return m_mounted; }

 private:
  std::string m_folder;
  bool m_mounted;
};

TEST(RasterScratch, SpilledLinesAreTheSameLines) {
  const TempDir folder;
  for (const std::int64_t budget : {1 * kMiB, 9 * kMiB}) {  // all on the disk; two segments in memory
    for (const KxColorSpace code : {KxColorSpace::Rgb, KxColorSpace::Palette}) {
      const ScopedBudget scoped(budget, folder.path());
      const std::int32_t width = code == KxColorSpace::Rgb ? 5001 : 70001;  // one write call a stripe; one a line
      const std::size_t bytes = fixedLineBytes(code, width);
      const auto raster = new_IRStor(code, width, 3, 300);
      const std::int32_t lines = code == KxColorSpace::Rgb ? 3483 : 743;  // some 50 MB
      for (std::int32_t line = 3; line < lines; line += 20) {
        const auto stripe = newStripe(code, width, line % 40 == 3 ? Shape::Packed : Shape::Padded);
        for (std::int32_t i = 0; i < 20; ++i) stripe->add(patternLine(bytes, line + i));
        ASSERT_EQ(stripe->AddToRaster(line, raster.get()), 1);
      }
      EXPECT_LE(rasterMemoryInUse(), budget);
      contextOf(*raster, 1)->WriteLine(1, 0, width, patternLine(bytes, 1).data());
      contextOf(*raster, 1)->WriteLine(lines - 2, 0, width, patternLine(bytes, 77).data());
      for (std::int32_t i = 3; i < lines; ++i) {
        ASSERT_EQ(readLine(*raster, i), patternLine(bytes, i == lines - 2 ? 77 : i)) << i;
      }
      EXPECT_EQ(readLine(*raster, 1), patternLine(bytes, 1));
      EXPECT_TRUE(folder.names().empty()) << "a scratch file has a name";
    }
  }
}

TEST(RasterScratch, TheBudgetIsSharedAndGivenBack) {
  const TempDir folder;
  const ScopedBudget scoped(10 * kMiB, folder.path());
  auto first = new_IRStor(KxColorSpace::Grey, 1000, 8000, 300);  // 8 MB: two segments
  const std::int64_t held = rasterMemoryInUse();
  EXPECT_GE(held, 8000000);
  auto second = new_IRStor(KxColorSpace::Grey, 1000, 8000, 300);
  EXPECT_LE(rasterMemoryInUse(), 10 * kMiB);
  first = {};
  second = {};
  EXPECT_EQ(rasterMemoryInUse(), 0);
  auto third = new_IRStor(KxColorSpace::Grey, 1000, 8000, 300);
  EXPECT_EQ(rasterMemoryInUse(), held);
}

TEST(RasterScratch, FoldersThatDoNotDoAreRefused) {
  const TempDir folder;
  const auto refusal = [](const std::string& path) -> std::string {
    try {
      SetRasterBudget({0, path, false});
    } catch (const CXFileException& e) {
      EXPECT_EQ(e.path(), path);
      return e.what();
    }
    return "not refused";
  };
  EXPECT_NE(refusal(folder.file("missing")).find(folder.file("missing")), std::string::npos);
  writeFile(folder.file("file"), "x");
  EXPECT_NE(refusal(folder.file("file")), "not refused");
  if (livesInMemory("/dev/shm")) {
    EXPECT_NE(refusal("/dev/shm").find("memory"), std::string::npos);
    EXPECT_NO_THROW(SetRasterBudget({0, "/dev/shm", true}));
  }
  std::filesystem::create_directory(folder.file("closed"));
  std::filesystem::permissions(folder.file("closed"), std::filesystem::perms::owner_read);
  const OrdinaryUser user;
  EXPECT_NE(refusal(folder.file("closed")), "not refused");
  SetRasterBudget({0, {}, true});
}

TEST(RasterScratch, AFolderThatVanishedIsAClearError) {
  const TempDir folder;
  std::filesystem::create_directory(folder.file("gone"));
  const ScopedBudget scoped(1 * kMiB, folder.file("gone"));
  std::filesystem::remove(folder.file("gone"));
  try {
    new_IRStor(KxColorSpace::Grey, 1000, 8000, 300);
    FAIL() << "no error";
  } catch (const CXMemException& e) {
    EXPECT_NE(std::string(e.what()).find(folder.file("gone")), std::string::npos) << e.what();
  }
}

TEST(RasterScratch, AFullDiskIsAClearErrorAndTheRasterStaysWhole) {
  const TempDir folder;
  const SmallDisk disk(folder.path());
  if (!disk.isMounted()) GTEST_SKIP() << "mounting a small file system needs root";
  const ScopedBudget scoped(1 * kMiB, folder.path());
  auto raster = new_IRStor(KxColorSpace::Rgb, 1000, 0, 300);
  const auto stripe = newStripe(KxColorSpace::Rgb, 1000);
  for (std::int32_t i = 0; i < 1000; ++i) stripe->add(patternLine(3000, i));
  std::string error;
  try {
    while (raster->GetHeight() < 100000) stripe->AddToRaster(raster->GetHeight(), raster.get());
  } catch (const CXMemException& e) {
    error = e.what();
  }
  EXPECT_NE(error.find(folder.path()), std::string::npos) << error;
  EXPECT_NE(error.find("3.9 MiB more"), std::string::npos) << error;
  ASSERT_EQ(raster->GetHeight(), 6000);
  for (const std::int32_t i : {0, 999, 1000, 5999})
    EXPECT_EQ(readLine(*raster, i), patternLine(3000, i % 1000)) << i;
  EXPECT_THROW((void)raster.as<IRStorAddStripe>()->AddLines(0, 6000, 100000), CXMemException);
  EXPECT_EQ(raster->GetHeight(), 6000);

  raster = {};  // its space is free again
  const auto next = new_IRStor(KxColorSpace::Rgb, 1000, 6000, 300);
  EXPECT_EQ(readLine(*next, 5999), Bytes(3000, 255));
}

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
