#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "channels/page_file.h"
#include "test_pages.h"
#include "tiff_readback.h"

namespace quillbay::test {
namespace {

/// Watches every write while it lives.
class Watch final : public WriteHook {
 public:
  Watch() { setWriteHook(this); }
  ~Watch() override { setWriteHook(nullptr); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  std::function<int(std::int64_t offset, std::size_t* size)> before;
  std::function<void(const std::string& path)> after;
  std::function<void()> sync;

  int beforeWrite(std::int64_t offset, std::size_t* size) override { return before ? before(offset, size) : 0; }
  void afterWrite(const std::string& path) override {
    if (after) after(path);
  }
  void synced() override {
    if (sync) sync();
  }
};

const std::map<std::string, std::string> kSmallStrips = {{"StripBytes", "4096"}};

/// Every page that was finished before is whole in what a killed program leaves.
void expectFinished(const std::string& file, const std::vector<TestPage>& finished) {
  const ReadFile read = readTiff(file);
  if (finished.empty() && read.pages.empty()) return;
  ASSERT_TRUE(read.ok) << read.complaint;
  ASSERT_GE(read.pages.size(), finished.size());
  for (std::size_t i = 0; i < finished.size(); ++i)
    ASSERT_EQ(difference(read.pages[i], finished[i]), "") << "page " << i;
}

TEST(ChannelFaults, KilledAfterAnyWriteFinishedPagesAreWhole) {
  for (const bool inPlace : {false, true}) {
    SCOPED_TRACE(inPlace ? "added to the file" : "a batch's part");
    const TempFolder folder;
    const std::string file = folder.file("plan.tif");
    const auto params = paramsWith(kSmallStrips);
    std::vector<TestPage> finished;
    int states = 0;
    Watch watch;
    watch.after = [&](const std::string& path) {
      ++states;
      expectFinished(path, finished);
    };
    for (unsigned i = 0; i < 3; ++i) {
      const TestPage page = makePage(i == 1 ? KxColorSpace::Bitonal : KxColorSpace::Rgb, 201, 150, i);
      savePaged(file, rasterOf(page, Source::Stripes).get(), inPlace ? End::Commit : End::KeepPart, params.get());
      ASSERT_FALSE(testing::Test::HasFatalFailure()) << "page " << i << ", write " << states;
      finished.push_back(page);
    }
    EXPECT_GT(states, 30);
    if (!inPlace) PublishPart(file, false);
    expectFinished(file, finished);
  }
}

TEST(ChannelFaults, OldBytesAreChangedOnlyAfterTheNewOnesAreSafe) {
  for (const char* name : {"plan.tif", "page.png"}) {
    SCOPED_TRACE(name);
    const TempFolder folder;
    std::int64_t end = 0;
    bool unsafe = false;
    int changes = 0;
    Watch watch;
    watch.before = [&](std::int64_t offset, std::size_t* size) {
      if (offset >= end) {
        unsafe = true;
        end = offset + static_cast<std::int64_t>(*size);
        return 0;
      }
      ++changes;
      EXPECT_FALSE(unsafe) << "offset " << offset << " of " << end;
      return 0;
    };
    watch.sync = [&] { unsafe = false; };
    const TestPage page = makePage(KxColorSpace::Grey, 201, 150);
    saveSingle(folder.file(name), rasterOf(page, Source::Stripes).get());
    EXPECT_EQ(changes, 1);
    if (std::string(name) != "plan.tif") continue;
    savePaged(folder.file(name), rasterOf(page, Source::Stripes).get(), End::Commit);
    EXPECT_EQ(changes, 2);
  }
}

TEST(ChannelFaults, InterruptedAndShortWritesChangeNothing) {
  const TempFolder folder;
  const TestPage page = makePage(KxColorSpace::Rgb, 201, 40);
  for (const char* compression : {"None", "LZW"}) {
    Watch watch;
    int calls = 0;
    watch.before = [&](std::int64_t, std::size_t* size) {
      ++calls;
      *size = std::min<std::size_t>(*size, static_cast<std::size_t>(1 + calls % 500));
      return calls % 3 == 0 ? EINTR : 0;
    };
    const auto params = paramsWith({{"Compression", compression}});
    saveSingle(folder.file("page.tif"), rasterOf(page, Source::Stripes, 5).get(), params.get(), true);
    const ReadFile read = readTiff(folder.file("page.tif"));
    ASSERT_TRUE(read.ok) << read.complaint;
    EXPECT_EQ(difference(read.pages.at(0), page), "") << compression;
  }
}

TEST(ChannelFaults, AnyFailingWriteIsAnErrorThatLeavesNothing) {
  const TempFolder folder;
  const auto params = paramsWith(kSmallStrips);
  const TestPage first = makePage(KxColorSpace::Rgb, 201, 60, 1),
                 second = makePage(KxColorSpace::Grey, 201, 150, 2);
  const std::string file = folder.file("plan.tif"), fresh = folder.file("new.tif");
  savePaged(file, rasterOf(first, Source::Stripes).get(), End::Commit, params.get());
  const std::string before = readFile(file);
  for (const bool inPlace : {true, false}) {
    bool reached = true;
    for (int nth = 0; reached; ++nth) {
      SCOPED_TRACE(testing::Message() << (inPlace ? "in place" : "new file") << ", write " << nth);
      Watch watch;
      int writes = 0;
      reached = false;
      watch.before = [&](std::int64_t, std::size_t*) {
        reached = reached || writes == nth;
        return writes++ == nth ? ENOSPC : 0;
      };
      try {
        const auto raster = rasterOf(second, Source::Stripes);
        if (inPlace) savePaged(file, raster.get(), End::Commit, params.get());
        if (!inPlace) saveSingle(fresh, raster.get(), params.get());
        ASSERT_FALSE(reached);
      } catch (const CXFileException& e) {
        ASSERT_TRUE(reached);
        EXPECT_EQ(e.systemError(), ENOSPC);
        EXPECT_NE(std::string(e.what()).find(inPlace ? file : fresh), std::string::npos) << e.what();
        EXPECT_TRUE(readFile(file) == before);
        EXPECT_EQ(folder.list(), "plan.tif ");
      }
      ASSERT_LT(nth, 1000);
    }
    if (inPlace) {
      expectFinished(file, {first, second});
      writeFile(file, before);
    }
  }
  EXPECT_EQ(folder.list(), "new.tif plan.tif ");
}

}  // namespace
}  // namespace quillbay::test
