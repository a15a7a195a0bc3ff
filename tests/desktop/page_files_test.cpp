#include <QFile>

#include "desktop_fixture.h"
#include "document/page_files.h"
#include "quillbay/errors.h"

namespace desktop {
namespace {

using quillbay::KxPtr;

KxPtr<quillbay::IRStor> greyPage(int width, int height, int seed) {
  auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, width, height, 200);
  const auto lines = KxPtr<quillbay::IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  std::vector<std::uint8_t> line(static_cast<std::size_t>(width));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) line[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(x * 7 + y * seed);
    lines->WriteLine(y, 0, width, line.data());
  }
  return raster;
}

TEST_F(DesktopTest, PagesOfOneFileComeBackAsTheyWere) {
  const std::vector<KxPtr<quillbay::IRStor>> saved{greyPage(40, 30, 3), greyPage(25, 60, 5), greyPage(7, 1, 1)};
  const std::string file = dir.file("pages.tif");
  quillbay::test::writeFile(file, "something older");
  EXPECT_THROW(quillbay::SaveRasterFile(nullptr, saved, file, false, nullptr), quillbay::CXFileException);
  EXPECT_EQ(quillbay::test::readFile(file), "something older");
  ASSERT_EQ(quillbay::SaveRasterFile(nullptr, saved, file, true, nullptr), 1);
  ASSERT_EQ(quillbay::CountRasterPages(file), 3);
  for (int page = 0; page < 3; ++page) {
    const auto& before = saved[static_cast<std::size_t>(page)];
    const auto after = quillbay::LoadRasterFile(file, page, nullptr);
    EXPECT_EQ(after->GetSize(), before->GetSize());
    EXPECT_EQ(pixels(after.get()), pixels(before.get())) << page;
  }
  EXPECT_EQ(dir.names(), std::vector<std::string>{"pages.tif"}) << "nothing else is left beside it";

  open();
  window->openFiles({QString::fromStdString(file)});
  EXPECT_EQ(pages().size(), 3U);
  EXPECT_TRUE(window->document().unsaved().empty());
  saveName = QString::fromStdString(file);
  ASSERT_TRUE(window->saveCurrentAs());
  EXPECT_EQ(window->document().unsaved(), (std::vector<int>{pages()[0].id, pages()[1].id}))
      << "written over: the file holds the third page only";
}

TEST_F(DesktopTest, WhatCannotBeSavedLeavesNothingBehind) {
  const std::vector<KxPtr<quillbay::IRStor>> two{greyPage(40, 30, 3), greyPage(40, 30, 4)};
  for (const char* name : {"pages.png", "pages.nonsense", "missing/pages.tif"}) {
    try {
      quillbay::SaveRasterFile(nullptr, two, dir.file(name), false, nullptr);
      ADD_FAILURE() << name;
    } catch (const quillbay::CXException& e) {
      EXPECT_NE(std::string(e.what()).find(dir.path()), std::string::npos) << e.what();
    }
  }
  EXPECT_TRUE(dir.names().empty());
}

TEST_F(DesktopTest, UnreadableFilesAreNamedAndTheOthersOpened) {
  const std::string good = dir.file("good.png"), text = dir.file("text.tif"), torn = dir.file("torn.png");
  quillbay::SaveRasterFile(nullptr, {greyPage(300, 200, 3)}, good, false, nullptr);
  quillbay::test::writeFile(text, "no picture at all");
  quillbay::test::writeFile(torn, quillbay::test::readFile(good).substr(0, 120));
  open();
  QStringList files;
  for (const std::string& file : {text, torn, dir.file("nowhere.tif"), dir.path(), good}) {
    files += QString::fromStdString(file);
  }
  window->openFiles(files);
  ASSERT_EQ(pages().size(), 1U);
  EXPECT_EQ(pages()[0].name, "good.png");
  ASSERT_EQ(messages.size(), 1);
  for (const char* name : {"text.tif", "torn.png", "nowhere.tif"}) EXPECT_TRUE(messages[0].contains(name)) << name;
  EXPECT_EQ(window->settings().recent(), QStringList{QString::fromStdString(good)});
}

TEST(PageFiles, NamesForFilesHoldNothingForbiddenAndAreFree) {
  Document document;
  const int id = document.add(greyPage(4, 4, 1), "a/b: \"c\"?");
  const quillbay::test::TempDir dir;
  const QString folder = QString::fromStdString(dir.path());
  const PageFiles files(nullptr, &document, nullptr);
  EXPECT_EQ(files.freeName(folder, *document.page(id)), folder + "/a_b_ _c__.tif");
  quillbay::test::writeFile(dir.file("a_b_ _c__.tif"), "");
  EXPECT_EQ(files.freeName(folder, *document.page(id)), folder + "/a_b_ _c__-2.tif");
}

}  // namespace
}  // namespace desktop
