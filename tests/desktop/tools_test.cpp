#include <QTest>
#include <cmath>

#include "desktop_fixture.h"
#include "document/page_list.h"
#include "tools/measure_dock.h"
#include "tools/tool_commands.h"
#include "tools/tool_entry.h"
#include "tools/typed_point.h"
#include "window/status_line.h"

namespace desktop {
namespace {

using quillbay::CRPoint;

/// As the user's locale writes it: cases use a dot.
QString inLocale(QString text) { return text.replace('.', QLocale().decimalPoint()); }

TEST(TypedPoint, IsReadInEveryFormOrRefusedWithTheReason) {
  quillbay::HostOptions options;
  options.keepSettings = options.interactive = false;
  const auto app = quillbay::New_HostApp(options);
  const auto styles = quillbay::query<quillbay::IStyleManager>(app.get());
  const auto unit = [&](const char* name) {
    return quillbay::KxPtr<quillbay::ILinearUnit>::adopt(styles->GetLinearUnit(name));
  };
  const TypedBasis first{{100, -50}, std::nullopt, {120, -70}};
  const TypedBasis next{{100, -50}, CRPoint{110, -60}, {113, -56}};
  const struct {
    const char* text;
    const TypedBasis& basis;
    const char* unit;
    std::optional<CRPoint> at;
  } cases[] = {
      {"10;20", first, "mm", CRPoint{110, -70}},
      {" 10.5 20 ", first, "mm", CRPoint{110.5, -70}},
      {"1 cm 2\"", first, "mm", CRPoint{110, -100.8}},
      {"1;2", first, "inch", CRPoint{125.4, -100.8}},
      {"1m;-5", next, "mm", CRPoint{1100, -45}},
      {"@3;-4", next, "mm", CRPoint{113, -56}},
      {"50<90", next, "mm", CRPoint{110, -10}},
      {"@2 in<-90", next, "mm", CRPoint{110, -110.8}},
      {"10", next, "mm", CRPoint{116, -52}},
      {"-5", next, "mm", CRPoint{107, -64}},
      {"10", first, "mm", std::nullopt},
      {"@1;2", first, "mm", std::nullopt},
      {"5<30", first, "mm", std::nullopt},
      {"@7", next, "mm", std::nullopt},
      {"1;2;3", next, "mm", std::nullopt},
      {"10;", next, "mm", std::nullopt},
      {"10;5 miles", next, "mm", std::nullopt},
      {"5<east", next, "mm", std::nullopt},
      {"1e9;0", next, "mm", std::nullopt},
      {"", next, "mm", std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.text) + (c.basis.last ? " after a point" : ""));
    const TypedPoint typed = readTypedPoint(inLocale(c.text), c.basis, unit(c.unit).get());
    ASSERT_EQ(typed.at.has_value(), c.at.has_value());
    EXPECT_EQ(typed.why.isEmpty(), c.at.has_value()) << typed.why.toStdString();
    if (!c.at || !typed.at) continue;
    EXPECT_NEAR(typed.at->x, c.at->x, 1e-9);
    EXPECT_NEAR(typed.at->y, c.at->y, 1e-9);
  }
  const TypedBasis nowhere{{}, CRPoint{5, 5}, {5, 5}};
  EXPECT_FALSE(readTypedPoint("10", nowhere, nullptr).at) << "the pointer tells no direction";
}

class ToolsTest : public DesktopTest {
 protected:
  /// The window with a grey page of 254 x 127 mm, in full; each line has a level of its own.
  void openPage() {
    open();
    const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 1000, 500, 100);
    const auto lines = quillbay::KxPtr<quillbay::IAccessContext>::adopt(raster->GetAccessContext(1, 0));
    for (int y = 0; y < 500; ++y) {
      const std::vector<std::uint8_t> line(1000, static_cast<std::uint8_t>(y % 200));
      lines->WriteLine(y, 0, 1000, line.data());
    }
    window->document().add(raster, "sheet");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    window->view().fitPage(pages()[0].id);
  }
  [[nodiscard]] ToolCommands& tools() { return window->tools(); }
  [[nodiscard]] QWidget* view() { return window->view().surface(); }
  [[nodiscard]] const std::vector<Measure>& measures() { return tools().dock()->list().measures(); }
  /// Where a place of the first page is on the view; millimetres from its corner.
  QPoint at(double x, double y) {
    const CRPoint corner = window->view().cornerOf(pages()[0].id).value_or(CRPoint{});
    const CRPoint client = window->view().port()->ToClient({corner.x + x, corner.y - y});
    return {qRound(client.x), qRound(client.y)};
  }
  /// Millimetres of a pixel of the screen: what a click is exact to.
  double pixel() { return 1 / window->view().port()->Transform().scaleX; }
  QAction* start(ToolWork work, ToolShape shape) {
    QAction* action = tools().action(work, shape);
    action->trigger();
    EXPECT_TRUE(tools().isDrawing()) << action->text().toStdString();
    return action;
  }
  void click(double x, double y) {
    QTest::mouseMove(view(), at(x, y));
    QTest::mouseClick(view(), Qt::LeftButton, {}, at(x, y));
    QApplication::processEvents();  // what follows a complete shape comes later
  }
  void key(int key, Qt::KeyboardModifiers held = {}) {
    QTest::keyClick(view(), static_cast<Qt::Key>(key), held);
    QApplication::processEvents();
  }
};

TEST_F(ToolsTest, MeasuresFollowEachOtherUntilEscape) {
  openPage();
  QAction* action = start(ToolWork::MeasureLength, ToolShape::Line);
  EXPECT_TRUE(action->isChecked());
  EXPECT_TRUE(tools().entry()->isVisible());
  const auto shown = window->view().port()->Transform();
  click(10, 10);
  EXPECT_FALSE(tools().entry()->measures().isEmpty());
  click(60, 10);
  click(10, 10);
  click(10, 90);
  ASSERT_EQ(measures().size(), 2U);
  EXPECT_NEAR(measures()[0].length, 50, 2 * pixel());
  EXPECT_NEAR(measures()[1].length, 80, 2 * pixel());
  EXPECT_EQ(measures()[0].page, "sheet");
  EXPECT_EQ(window->view().port()->Transform(), shown) << "a tool's clicks neither pan nor show pages";

  // From the end of the last length on, also by typed lengths; without one it is an ordinary line.
  start(ToolWork::MeasureLength, ToolShape::NextPoint);
  click(60, 90);
  click(60, 40);
  ASSERT_EQ(measures().size(), 4U);
  EXPECT_NEAR(measures()[2].length, 50, 2 * pixel());
  EXPECT_NEAR(measures()[3].dy, 50, 2 * pixel());
  start(ToolWork::MeasurePlace, ToolShape::Point);
  click(30, 70);
  ASSERT_EQ(measures().size(), 5U);
  EXPECT_NEAR(measures()[4].dx, 30, pixel());
  EXPECT_NEAR(measures()[4].dy, 70, pixel());
  for (int i = 0; i < 3; ++i) {
    tools().dock()->table()->selectRow(2);
    tools().dock()->removeChosen();
  }
  ASSERT_EQ(measures().size(), 2U);

  // Choosing another tool ends the first one.
  start(ToolWork::MeasureAngle, ToolShape::Angle);
  EXPECT_FALSE(action->isChecked());
  for (const QPointF place : {QPointF(100, 50), QPointF(50, 50), QPointF(50, 20)}) click(place.x(), place.y());
  ASSERT_TRUE(waitFor([&] { return measures().size() == 3U; }));
  EXPECT_NEAR(measures()[2].degrees, 90, 1);
  key(Qt::Key_Escape);
  EXPECT_FALSE(tools().isDrawing());
  EXPECT_FALSE(tools().entry()->isVisible());
  EXPECT_TRUE(pages()[0].id == window->view().current());

  tools().dock()->table()->selectRow(1);
  tools().dock()->copy();
  EXPECT_EQ(QApplication::clipboard()->text().trimmed().count('\n'), 1)
      << "the names of the columns, and one measure";
  tools().dock()->removeChosen();
  EXPECT_EQ(measures().size(), 2U);
}

TEST_F(ToolsTest, KeysMoveFixAndTakeBackPoints) {
  openPage();
  start(ToolWork::MeasurePath, ToolShape::Path);
  click(50, 50);
  for (int i = 0; i < 3; ++i) key(Qt::Key_Right);
  key(Qt::Key_Down, Qt::ControlModifier);
  key(Qt::Key_Return);
  click(200, 100);
  key(Qt::Key_Backspace);
  key(Qt::Key_Return);  // the pointer fixed nothing since: the line ends
  ASSERT_EQ(measures().size(), 1U);
  EXPECT_NEAR(measures()[0].length, std::hypot(3, 10) * pixel(), 1e-6);

  // Typed text goes to the field, and what is no place stays there.
  QTest::keyClicks(view(), "10;20");
  QLineEdit* field = tools().entry()->field();
  EXPECT_EQ(field->text(), "10;20");
  EXPECT_TRUE(field->hasFocus());
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(field->text(), "");
  EXPECT_TRUE(view()->hasFocus());
  QTest::keyClicks(view(), "@1;;");
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(field->text(), "@1;;");
  EXPECT_FALSE(tools().entry()->hint().isEmpty());
  field->setText("@30;40");
  QTest::keyClick(field, Qt::Key_Return);
  field->setFocus();
  QTest::keyClick(field, Qt::Key_Return);  // an empty field ends the line as well
  QApplication::processEvents();
  ASSERT_EQ(measures().size(), 2U);
  EXPECT_NEAR(measures()[1].length, 50, 1e-6);
  field->setFocus();
  QTest::keyClick(field, Qt::Key_Escape);
  EXPECT_FALSE(tools().isDrawing());
}

TEST_F(ToolsTest, PagesAreChangedInOneStepThatIsUndone) {
  openPage();
  const int id = pages()[0].id;
  const std::string before = pixels(pages()[0].raster.get());
  const auto raster = [&] { return window->document().page(id)->raster; };
  start(ToolWork::EraseInside, ToolShape::Frame);
  click(50, 50);
  click(100, 100);
  EXPECT_FALSE(tools().isDrawing()) << "such a tool ends after one shape";
  EXPECT_NE(pixels(raster().get()), before);
  window->undo();
  EXPECT_EQ(pixels(raster().get()), before);
  EXPECT_EQ(window->document().nextUndo(), nullptr);

  start(ToolWork::Crop, ToolShape::Frame);
  click(-2, -2);  // beside the page, near to it
  click(127, 63.5);
  EXPECT_NEAR(raster()->GetWidth(), 500, 2 * pixel() / 0.254 + 1);
  EXPECT_NEAR(raster()->GetHeight(), 250, 2 * pixel() / 0.254 + 1);
  window->undo();
  EXPECT_EQ(pixels(raster().get()), before);

  start(ToolWork::CopyFrame, ToolShape::Frame);
  click(10, 10);
  click(60, 35);
  const QImage copied = QApplication::clipboard()->image();
  EXPECT_NEAR(copied.width(), 197, 2 * pixel() / 0.254 + 1);
  EXPECT_NEAR(copied.height(), 98, 2 * pixel() / 0.254 + 1);

  saveName = QString::fromStdString(dir.file("part.tif"));
  start(ToolWork::SaveFrame, ToolShape::Frame);
  click(10, 10);
  click(60, 35);
  EXPECT_EQ(pagesInFile(saveName), 1);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('\n').toStdString();
  EXPECT_EQ(window->document().nextUndo(), nullptr) << "neither changes the page";

  // A shape that begins beside the pages is refused, and begins anew.
  start(ToolWork::EraseInside, ToolShape::Polygon);
  window->view().zoomBy(0.5);
  click(-100, -60);
  EXPECT_TRUE(tools().isDrawing());
  EXPECT_EQ(window->statusBar()->currentMessage().isEmpty(), false);
  click(50, 50);
  EXPECT_EQ(tools().running()->page().value_or(DrawnPage{}).id, id);
  key(Qt::Key_Escape);
  EXPECT_FALSE(tools().action(ToolWork::ScanAgain, ToolShape::Frame)->isEnabled()) << "it was not scanned";
}

/// The mean of a grey raster's parts: `columns` x `rows` of them, from a rectangle in pixels.
std::vector<double> means(quillbay::IRStor* raster, const QRect& of, int columns, int rows) {
  const std::string all = pixels(raster);
  const std::size_t stride = all.size() / static_cast<std::size_t>(raster->GetHeight());
  std::vector<double> sums(static_cast<std::size_t>(columns * rows), 0);
  for (int y = 0; y < of.height(); ++y)
    for (int x = 0; x < of.width(); ++x) {
      const auto part = static_cast<std::size_t>(y * rows / of.height() * columns + x * columns / of.width());
      const std::size_t pixel =
          static_cast<std::size_t>(of.y() + y) * stride + static_cast<std::size_t>(of.x() + x);
      sums[part] += static_cast<unsigned char>(all[pixel]);
    }
  for (double& sum : sums) sum /= double(of.width()) * of.height() / (columns * rows);
  return sums;
}

TEST_F(ToolsTest, AFrameIsScannedAgainWhereItLay) {
  // The same sheet again and again; each place has a level of its own.
  const auto sheet = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 1200, 900, 100);
  const auto lines = quillbay::KxPtr<quillbay::IAccessContext>::adopt(sheet->GetAccessContext(1, 0));
  for (int y = 0; y < 900; ++y) {
    std::vector<std::uint8_t> line(1200);
    for (int x = 0; x < 1200; ++x) line[std::size_t(x)] = static_cast<std::uint8_t>(x / 10 + y / 8);
    lines->WriteLine(y, 0, 1200, line.data());
  }
  ASSERT_TRUE(quillbay::SaveRasterFile(nullptr, {sheet}, dir.file("sheet.png"), true, nullptr));
  open("sim:width=500,at=0x0,image-dpi=100,images=" + dir.file("sheet.png"));
  smallPages();
  set("m_fCenter", 0);
  set("m_rcScan", quillbay::tagRRECT{20, 30, 220, 180});
  ASSERT_TRUE(scan());
  ASSERT_EQ(pages().size(), 1U);
  int askedNow = 0;
  window->prompts().resolution = [&](int now) {
    askedNow = now;
    return 200;
  };
  window->view().fitPage(pages()[0].id);
  // Cut first: what is left is still known.
  start(ToolWork::Crop, ToolShape::Frame);
  click(40, 20);
  click(190, 140);
  start(ToolWork::ScanAgain, ToolShape::Frame);
  click(30, 40);
  click(90, 80);
  ASSERT_TRUE(waitFor([&] { return pages().size() == 2U && !window->panelDock().isBusy(); }))
      << messages.join('\n').toStdString();
  EXPECT_EQ(askedNow, 100);
  quillbay::CKxVariant dpi;
  ASSERT_TRUE(waitFor([&] {
    control()->GetParam("m_uiDPI", &dpi);
    return dpi.toInt() == 100;
  })) << "the panel keeps its resolution";
  quillbay::IRStor* fine = pages()[1].raster.get();
  EXPECT_EQ(fine->GetResolution(), 200U);
  EXPECT_NEAR(fine->GetWidth(), 60 / 25.4 * 200, 2 * pixel() / 0.127 + 2);

  // At twice the resolution parts of the two pages are alike.
  const int columns = 12, rows = 8;
  const QRect coarse(qRound(30 / 0.254), qRound(40 / 0.254), fine->GetWidth() / 2, fine->GetHeight() / 2);
  const auto one = means(pages()[0].raster.get(), coarse, columns, rows);
  const auto other = means(fine, QRect(0, 0, fine->GetWidth(), fine->GetHeight()), columns, rows);
  const auto shifted = means(pages()[0].raster.get(), coarse.translated(60, 40), columns, rows);
  double alike = 0, unlike = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    alike += std::abs(one[i] - other[i]);
    unlike += std::abs(shifted[i] - other[i]);
  }
  EXPECT_LT(alike * 3, unlike);
}

TEST_F(ToolsTest, EscapeEndsTheToolAndThenIsTheScansAgain) {
  openPage();
  set("m_CurrMode", 5);
  set("m_uiDPI", 100);
  QAction* stop = nullptr;
  for (QAction* action : window->findChildren<QAction*>())
    if (action->shortcut() == QKeySequence(Qt::Key_Escape) && action->shortcutContext() == Qt::WindowShortcut)
      stop = action;
  ASSERT_TRUE(stop);
  start(ToolWork::MeasureLength, ToolShape::Line);
  EXPECT_TRUE(stop->shortcut().isEmpty());
  window->pageList().setFocus();
  QTest::keyClick(window.get(), Qt::Key_Escape);
  EXPECT_FALSE(tools().isDrawing()) << "wherever the keyboard's focus is";
  EXPECT_EQ(stop->shortcut(), QKeySequence(Qt::Key_Escape));
}

}  // namespace
}  // namespace desktop
