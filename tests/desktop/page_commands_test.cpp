#include "document/page_commands.h"

#include "desktop_fixture.h"

namespace desktop {
namespace {

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

  ASSERT_TRUE(commands.run("Invert", "/Invert"));
  ASSERT_TRUE(window->saveCurrentAs());
  ASSERT_TRUE(window->document().undo());
  EXPECT_FALSE(pages()[0].isSaved()) << "its file holds the inverted page";
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
