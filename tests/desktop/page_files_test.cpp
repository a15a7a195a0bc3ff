#include <algorithm>
#include <utility>

#include "desktop_fixture.h"
#include "document/page_commands.h"
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
  saveName = QString::fromStdString(file);
  ASSERT_TRUE(window->saveCurrentAs());
  EXPECT_EQ(agreed, QStringList{"pages.tif has 3 pages; saving would keep only 1.|&Save 1 page"});
  EXPECT_EQ(window->document().unsaved(), (std::vector<int>{pages()[0].id, pages()[1].id}))
      << "written over: the file holds the third page only";
}

TEST_F(DesktopTest, WhatCanBeReadOfATruncatedFileIsOpened) {
  const std::string file = dir.file("cut.tif");
  quillbay::SaveRasterFile(nullptr, {greyPage(40, 30, 3), greyPage(25, 60, 5), greyPage(300, 300, 1)}, file, false,
                           nullptr);
  const std::string whole = quillbay::test::readFile(file);
  quillbay::test::writeFile(file, whole.substr(0, whole.size() - 1000));
  open();
  window->openFiles({QString::fromStdString(file)});
  EXPECT_EQ(pages().size(), 2U);
  ASSERT_EQ(messages.size(), 1);
  EXPECT_TRUE(messages[0].contains("the file is truncated")) << messages[0].toStdString();
  window->document().replace(pages()[0].id, greyPage(9, 20, 1));
  agrees = false;
  EXPECT_FALSE(window->saveAll());
  EXPECT_EQ(agreed, QStringList{"cut.tif has 3 pages; saving would keep only 2.|&Save 2 pages"});
}

TEST_F(DesktopTest, SavingNeverShrinksAFileWithoutAsking) {
  std::vector<KxPtr<quillbay::IRStor>> five;
  for (int i = 0; i < 5; ++i) five.push_back(greyPage(30 + i, 20, i + 1));
  const std::string file = dir.file("plan.tif");
  quillbay::SaveRasterFile(nullptr, five, file, false, nullptr);
  const auto widths = [&] {
    std::vector<int> all;
    for (int i = 0; i < quillbay::CountRasterPages(file); ++i) {
      all.push_back(quillbay::LoadRasterFile(file, i, nullptr)->GetWidth());
    }
    return all;
  };
  open();
  window->openFiles({QString::fromStdString(file)});
  ASSERT_EQ(pages().size(), 5U);
  window->document().replace(pages()[2].id, greyPage(99, 20, 1));
  EXPECT_TRUE(window->isWindowModified());
  ASSERT_TRUE(window->saveAll());
  EXPECT_EQ(widths(), (std::vector<int>{30, 31, 99, 33, 34}));
  EXPECT_EQ(pixels(quillbay::LoadRasterFile(file, 4, nullptr).get()), pixels(five[4].get()));
  EXPECT_FALSE(window->isWindowModified());
  EXPECT_TRUE(agreed.isEmpty());

  ASSERT_TRUE(window->closePages({pages()[0].id, pages()[4].id}));
  agrees = false;
  EXPECT_FALSE(window->saveAll());
  EXPECT_EQ(agreed, QStringList{"plan.tif has 5 pages; saving would keep only 3.|&Save 3 pages"});
  EXPECT_EQ(widths().size(), 5U);
  agrees = true;
  ASSERT_TRUE(window->saveAll());
  EXPECT_EQ(widths(), (std::vector<int>{31, 99, 33}));
  window->undo();
  agreed.clear();
  ASSERT_TRUE(window->saveAll());
  EXPECT_EQ(widths(), (std::vector<int>{30, 31, 99, 33, 34})) << "undone and saved again";
  EXPECT_TRUE(agreed.isEmpty());

  std::vector<int> backwards = window->document().order();
  std::reverse(backwards.begin(), backwards.end());
  window->document().reorder(backwards);
  unsaved = UnsavedAnswer::Cancel;
  EXPECT_FALSE(window->close());
  ASSERT_EQ(asked.size(), 1);
  EXPECT_TRUE(asked[0].contains("plan.tif, the order")) << asked[0].toStdString();
  quillbay::SaveRasterFile(nullptr, five, file, true, nullptr);  // another program
  agrees = false;
  unsaved = UnsavedAnswer::Save;
  EXPECT_FALSE(window->close());
  ASSERT_EQ(agreed.size(), 1);
  EXPECT_TRUE(agreed[0].contains("Another program changed plan.tif")) << agreed[0].toStdString();
  agrees = true;
  EXPECT_TRUE(window->close());
  EXPECT_EQ(widths(), (std::vector<int>{34, 33, 99, 31, 30}));
  EXPECT_TRUE(messages.isEmpty()) << messages.join(' ').toStdString();
}

TEST_F(DesktopTest, OpeningManyFilesIsShownAndCancelledAsAWhole) {
  const QString file = QString::fromStdString(dir.file("sheet.tif"));
  quillbay::SaveRasterFile(nullptr, {greyPage(3000, 2000, 3)}, file.toStdString(), false, nullptr);
  open();
  window->openFiles({file});
  int shown = 0;
  bool again = true;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, [&] {
    auto* progress = window->findChild<QProgressDialog*>();
    if (!progress || !progress->isVisible() || shown++ > 0) return;  // the window lives: timers run
    EXPECT_TRUE(progress->labelText().contains("sheet.tif")) << progress->labelText().toStdString();
    EXPECT_TRUE(window->isOccupied());
    if (std::exchange(again, false)) window->openFiles({file});  // comes after the others
    progress->cancel();
  });
  look.start(10);
  window->openFiles(QStringList(400, file));
  EXPECT_GE(shown, 1);
  EXPECT_EQ(pages().size(), 1U) << "as it was";
  EXPECT_FALSE(window->isOccupied());
  EXPECT_TRUE(messages.isEmpty());

  shown = 0;
  bool closes = false;
  QObject::connect(&look, &QTimer::timeout, [&] {
    if (!closes && window->isOccupied()) closes = !window->close();
  });
  window->openFiles(QStringList(400, file));
  EXPECT_TRUE(closes);
  EXPECT_TRUE(waitFor([&] { return !window->isVisible(); })) << "it closes when the reading has ended";
  EXPECT_EQ(pages().size(), 1U);
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

TEST_F(DesktopTest, ACommandOfTheMenuPageIsShownMarkedAndTakenBack) {
  open();
  smallPages();
  ASSERT_TRUE(scan());
  saveName = QString::fromStdString(dir.file("page.tif"));
  ASSERT_TRUE(window->saveCurrentAs());
  ASSERT_TRUE(waitFor([&] { return !pages()[0].overview.isNull(); }));
  const auto before = pages()[0].raster;
  PageCommands& commands = window->pageCommands();
  ASSERT_TRUE(commands.run("Rotate right", "/Rotate ANGLE:90"));
  EXPECT_EQ(pages()[0].raster->GetSize(), (quillbay::KxSize{before->GetSize().height, before->GetSize().width}));
  EXPECT_FALSE(pages()[0].isSaved());
  EXPECT_TRUE(window->isWindowModified());
  ASSERT_TRUE(waitFor([&] { return !pages()[0].overview.isNull(); }));
  EXPECT_LT(pages()[0].overview.width(), pages()[0].overview.height()) << "the picture of the turned page";

  EXPECT_EQ(window->document().nextUndo()->text, "Rotate right");
  ASSERT_TRUE(window->document().undo());
  EXPECT_EQ(pages()[0].raster.get(), before.get());
  EXPECT_TRUE(pages()[0].isSaved()) << "its file holds just this";
  EXPECT_FALSE(window->document().undo());
  EXPECT_TRUE(messages.isEmpty());
}

TEST_F(DesktopTest, ALongCommandShowsAWindowThatCancelsIt) {
  open();
  const auto page = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 4000, 4000, 300);
  window->document().add(page, "large");
  bool enabled = true, closed = true;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, [&] {
    auto* progress = window->findChild<QProgressDialog*>();
    if (!progress || !progress->isVisible()) return;
    for (const QAction* action : window->menuBar()->actions()) {
      if (action->text() == "&Page") enabled = action->menu()->actions().first()->isEnabled();
    }
    closed = window->close();
    progress->cancel();
  });
  look.start(0);
  std::string turns;
  for (int i = 0; i < 200; ++i) turns += "/Rotate ANGLE:90\n/Rotate ANGLE:-90.5\n/Crop WIDTH:300 HEIGHT:300\n";
  EXPECT_FALSE(window->pageCommands().run("Turn", QString::fromStdString(turns)));
  EXPECT_FALSE(enabled) << "one command at a time";
  EXPECT_FALSE(closed);
  EXPECT_EQ(pages()[0].raster.get(), page.get());
  EXPECT_TRUE(messages.isEmpty());
  EXPECT_EQ(window->findChild<QProgressDialog*>(), nullptr);
  unsaved = UnsavedAnswer::Discard;
  EXPECT_TRUE(window->close());
}

}  // namespace
}  // namespace desktop
