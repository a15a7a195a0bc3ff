#include <gtest/gtest.h>

#include <cstring>

#include "platform/base_services.h"
#include "stores/scan_to_file_stor.h"
#include "stripes.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

using test::pageLine;
using test::pageStripe;

constexpr std::int32_t kWidth = 333;

KxPtr<CScanToFileStor> newStore(const PageTarget& to) {
  const auto app = KxPtr<test::FakeApp>::adopt(new test::FakeApp);
  auto store = KxPtr<CScanToFileStor>::adopt(new CScanToFileStor(app.get(), nullptr));
  store->SetTarget(to);
  return store;
}

PageTarget batchPage(const std::string& path, bool isLast) {
  PageTarget target;
  target.path = path;
  target.joinsPart = true;
  target.isLast = isLast;
  return target;
}

// Scans `lines` lines of the page into a store of its own; answers what its end answered.
int scanPage(const PageTarget& to, KxColorSpace colorSpace, std::int32_t lines, int minLines = 0) {
  const auto store = newStore(to);
  for (std::int32_t at = 0; at < lines; at += 40)
    EXPECT_EQ(store->AddStripe(pageStripe(colorSpace, kWidth, at, std::min(40, lines - at)).get()), 1);
  const int answer = store->Finish(nullptr, minLines, 1);
  EXPECT_EQ(answer, store->GetError().empty() ? 1 : 0) << store->GetError();
  return answer;
}

void expectPage(const std::string& path, int page, KxColorSpace colorSpace, std::int32_t lines,
                std::int32_t height) {
  SCOPED_TRACE(::testing::Message() << path << " page " << page);
  const auto load = new_OpenFileChanel(nullptr, path).as<IKxRasterLoadFileChanel>();
  ASSERT_TRUE(load);
  ASSERT_LT(page, load->GetPageCount());
  const auto raster = load->Load(page, nullptr);
  ASSERT_EQ(raster->GetSize(), (KxSize{kWidth, height}));
  const auto context = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
  std::vector<std::uint8_t> line(4096);
  for (std::int32_t i = 0; i < lines; ++i) {
    ASSERT_EQ(context->ReadLine(i, 0, kWidth, line.data()), 1);
    const auto want = pageLine(colorSpace, kWidth, i);
    ASSERT_EQ(std::memcmp(line.data(), want.data(), want.size()), 0) << "line " << i;
  }
}

TEST(RealFiles, HoldWhatWasScanned) {
  const test::TempDir dir;
  for (const KxColorSpace cs :
       {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Grey, KxColorSpace::Rgb}) {
    const std::string path = dir.file("plan" + std::to_string(static_cast<int>(cs)) + ".tif");
    ASSERT_EQ(scanPage({path}, cs, 250, 300), 1);
    expectPage(path, 0, cs, 250, 300);
  }
  EXPECT_EQ(dir.names().size(), 4u) << "no part is left";
}

TEST(RealFiles, ABatchIsOneFileThoughAPageOfItIsAbandoned) {
  const test::TempDir dir;
  const std::string path = dir.file("batch.tif");
  ASSERT_EQ(scanPage(batchPage(path, false), KxColorSpace::Grey, 100), 1);
  {
    const auto abandoned = newStore(batchPage(path, false));
    ASSERT_EQ(abandoned->AddStripe(pageStripe(KxColorSpace::Grey, kWidth, 0, 50).get()), 1);
    abandoned->Reset();
  }
  EXPECT_FALSE(fio::exists(path)) << "the batch is going on";
  ASSERT_EQ(scanPage(batchPage(path, true), KxColorSpace::Bitonal, 70), 1);
  expectPage(path, 0, KxColorSpace::Grey, 100, 100);
  expectPage(path, 1, KxColorSpace::Bitonal, 70, 70);
  EXPECT_EQ(new_OpenFileChanel(nullptr, path).as<IKxRasterLoadFileChanel>()->GetPageCount(), 2);
}

TEST(RealFiles, AnAbandonedPageLeavesNothing) {
  const test::TempDir dir;
  const auto store = newStore({dir.file("plan.tif")});
  ASSERT_EQ(store->AddStripe(pageStripe(KxColorSpace::Rgb, kWidth, 0, 50).get()), 1);
  store->Reset();
  EXPECT_TRUE(dir.names().empty());
}

TEST(RealFiles, AFileThatAppearedMeanwhileIsNotReplaced) {
  const test::TempDir dir;
  const std::string path = dir.file("plan.png");
  for (const bool mayReplace : {false, true}) {
    const auto store = newStore({path, mayReplace});
    ASSERT_EQ(store->AddStripe(pageStripe(KxColorSpace::Grey, kWidth, 0, 50).get()), 1);
    test::writeFile(path, "somebody's work");
    EXPECT_EQ(store->Finish(nullptr, 0, 1), mayReplace ? 1 : 0);
    EXPECT_EQ(store->IsPublished(), mayReplace ? 1 : 0);
    EXPECT_EQ(store->GetError().find(path) != std::string::npos, !mayReplace) << store->GetError();
    EXPECT_EQ(test::readFile(path) == "somebody's work", !mayReplace);
    if (!mayReplace) PublishPart(path, true);  // the page waits in its part
  }
  expectPage(path, 0, KxColorSpace::Grey, 50, 50);
}

TEST(RealFiles, WhatCannotBeCreatedIsToldAtTheFirstStripe) {
  const test::TempDir dir;
  for (const char* name : {"missing/plan.tif", "plan.unknown"}) {
    const auto store = newStore({dir.file(name)});
    EXPECT_EQ(store->AddStripe(pageStripe(KxColorSpace::Grey, kWidth, 0, 50).get()), 0);
    EXPECT_NE(store->GetError().find(name), std::string::npos) << store->GetError();
    EXPECT_TRUE(dir.names().empty());
  }
}

}  // namespace
}  // namespace quillbay
