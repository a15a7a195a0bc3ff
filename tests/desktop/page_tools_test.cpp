// What the tools of the view do to pages, below the window.
#include "tools/page_tools.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <numbers>

#include "desktop_fixture.h"
#include "quillbay/formats.h"
#include "support/temp_dir.h"

namespace desktop {
namespace {

using quillbay::CRCircle;
using quillbay::CRFrame;
using quillbay::CRLine;
using quillbay::CRPolygon;
using quillbay::CRRect;
using quillbay::ShapePart;

/// A grey page of 254 x 127 mm at 100 dpi whose tones rise along its lines; it lies somewhere in the view.
class PageToolsTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 1000, 500, 100);
    const auto lines = quillbay::KxPtr<quillbay::IAccessContext>::adopt(raster->GetAccessContext(1, 0));
    for (int y = 0; y < 500; ++y) {
      std::string line(1000, 0);
      for (int x = 0; x < 1000; ++x) line[static_cast<std::size_t>(x)] = static_cast<char>(60 + x / 10 + y / 100);
      lines->WriteLine(y, 0, 1000, line.data());
    }
    page = {document.add(raster, "plan.tif"), {300, -40}};
    before = pixels(raster.get());
    tools.tell = [this](const QString& text) { told += text; };
    tools.agree = [this](const QString& question, const QString&) {
      asked += question;
      return agrees;
    };
  }
  [[nodiscard]] quillbay::IRStor* raster() { return document.page(page.id)->raster.get(); }
  [[nodiscard]] int at(int x, int y) {
    return static_cast<unsigned char>(pixels(raster())[static_cast<std::size_t>(y * raster()->GetWidth() + x)]);
  }
  /// A place of the page in millimetres from its corner, y down, as the view has it.
  [[nodiscard]] quillbay::CRPoint view(double x, double y) const {
    return {page.topLeft.x + x, page.topLeft.y - y};
  }

  quillbay::test::TempDir dir;
  QWidget window;
  Document document;
  PageTools tools{nullptr, &document, &window};
  ToolPage page;
  std::string before;
  QStringList told, asked;
  bool agrees = false;
};

TEST_F(PageToolsTest, EachChangeIsOneStepThatCanBeUndone) {
  const auto low = view(50.8, 50.8), high = view(101.6, 25.4);
  const CRRect rect{low.x, low.y, high.x, high.y};
  const struct {
    const char* name;
    std::function<bool()> act;
    std::function<void()> check;
  } changes[] = {
      {"inside a frame, white",
       [&] { return tools.erase(page, rect, ShapePart::Inside, PageTools::Ground::White); },
       [&] {
         EXPECT_EQ(at(200, 100), 255);
         EXPECT_EQ(at(399, 199), 255);
         EXPECT_EQ(at(199, 100), 80);
         EXPECT_EQ(at(400, 199), 101);
         EXPECT_EQ(at(200, 99), 80);
       }},
      {"outside a circle, the colour around",
       [&] {
         return tools.erase(page, CRCircle{view(127, 63.5), 25.4}, ShapePart::Outside, PageTools::Ground::Around);
       },
       [&] {
         EXPECT_EQ(at(500, 250), 112);
         EXPECT_NEAR(at(10, 10), 112, 2);
         EXPECT_EQ(at(10, 10), at(990, 490));
       }},
      {"crop", [&] { return tools.crop(page, rect); },
       [&] {
         EXPECT_EQ(raster()->GetSize(), (quillbay::KxSize{200, 100}));
         EXPECT_EQ(at(0, 0), 81);
         EXPECT_EQ(at(199, 99), 100);
       }},
      {"crop to a frame drawn from its right side upwards",
       [&] {
         return tools.crop(page, CRFrame{{high.x, low.y}, 25.4, 50.8, std::numbers::pi / 2});
       },
       [&] {
         EXPECT_EQ(raster()->GetSize(), (quillbay::KxSize{200, 100}));
         EXPECT_EQ(at(0, 0), 81);
       }},
      {"straighten",
       [&] {
         return tools.straighten(page, CRLine{view(25.4, 50.8), view(203.2, 55.88)});
       },
       [&] {
         EXPECT_EQ(raster()->GetWidth(), 1014);
         EXPECT_EQ(raster()->GetHeight(), 529);
       }},
  };
  for (const auto& change : changes) {
    SCOPED_TRACE(change.name);
    const auto source = std::make_shared<PageSource>();
    source->file = QString::fromStdString(dir.file("plan.tif"));
    document.noteWritten(source, {page.id}, {document.page(page.id)->version});
    EXPECT_FALSE(document.isModified());
    ASSERT_TRUE(change.act());
    change.check();
    EXPECT_TRUE(document.isModified());
    EXPECT_FALSE(document.nextUndo()->text.isEmpty());
    ASSERT_TRUE(document.undo());
    EXPECT_EQ(pixels(raster()), before);
    EXPECT_FALSE(document.isModified());
    EXPECT_EQ(document.nextUndo(), nullptr);
  }
  EXPECT_TRUE(told.isEmpty()) << told.join('|').toStdString();
}

TEST_F(PageToolsTest, WhatCannotBeDoneIsToldAndChangesNothing) {
  const CRRect beside{0, 0, 10, 10}, on{310, -60, 330, -50};
  EXPECT_FALSE(tools.crop(page, beside));
  const ViewShape around[] = {beside, CRCircle{{5, 5}, 4}, CRFrame{{295, -40}, 20, 4, std::numbers::pi / 2},
                              CRPolygon{{{0, 0}, {10, 0}, {0, 10}}}, CRPolygon{}};
  for (const ViewShape& shape : around)
    EXPECT_FALSE(tools.erase(page, shape, ShapePart::Outside, PageTools::Ground::White));
  EXPECT_TRUE(tools.copyFrame(page, beside).isNull());
  EXPECT_FALSE(tools.saveFrame(page, on, QString::fromStdString(dir.file("nowhere/a.tif")), false));
  EXPECT_FALSE(tools.straighten(page, CRLine{view(10, 10), view(200, 10)}));
  EXPECT_FALSE(tools.erase({99, {}}, on, ShapePart::Inside, PageTools::Ground::White));
  tools.refusal = [] { return QString("A scan runs."); };
  EXPECT_FALSE(tools.crop(page, on));
  EXPECT_EQ(told.size(), 11);
  EXPECT_EQ(told.last(), "A scan runs.");
  tools.refusal = {};
  // Given up, or changed by somebody else, while it works.
  const auto link = QObject::connect(&tools, &PageTools::runningChanged, [this] {
    EXPECT_TRUE(!tools.isRunning() || !tools.crop(page, CRRect{310, -60, 330, -50}));
    tools.cancel();
  });
  EXPECT_FALSE(tools.crop(page, on));
  EXPECT_EQ(told.size(), 12);
  EXPECT_EQ(document.nextUndo(), nullptr);
  EXPECT_EQ(pixels(raster()), before);
  QObject::disconnect(link);
  QObject::connect(&tools, &PageTools::runningChanged, [this] {
    if (tools.isRunning()) document.replace(page.id, quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 9, 9, 100));
  });
  EXPECT_FALSE(tools.crop(page, on));
  EXPECT_EQ(told.size(), 13);
  EXPECT_EQ(raster()->GetWidth(), 9);
}

TEST_F(PageToolsTest, AFrameIsCopiedAndSaved) {
  const auto low = view(50.8, 50.8), high = view(101.6, 25.4);
  const CRRect rect{low.x, low.y, high.x, high.y};
  const QImage copied = tools.copyFrame(page, rect);
  ASSERT_EQ(copied.size(), QSize(200, 100));
  EXPECT_NEAR(copied.dotsPerMeterX() * 0.0254, 100, 0.02);
  EXPECT_EQ(qRed(copied.pixel(0, 0)), 81);
  EXPECT_EQ(qRed(copied.pixel(199, 99)), 100);

  const QString file = QString::fromStdString(dir.file("part.png"));
  ASSERT_TRUE(tools.saveFrame(page, rect, file, false));
  EXPECT_FALSE(tools.saveFrame(page, rect, file, false)) << "replaced a file unasked";
  const auto saved = quillbay::LoadRasterFile(file.toStdString(), 0, nullptr);
  EXPECT_EQ(saved->GetSize(), (quillbay::KxSize{200, 100}));
  EXPECT_EQ(saved->GetResolution(), 100U);
  EXPECT_EQ(document.nextUndo(), nullptr);

  // A picture that is too large for the clipboard.
  const int large = document.add(quillbay::new_IRStor(quillbay::KxColorSpace::Bitonal, 10000, 8000, 1000), "");
  const CRRect all{-1, -1000, 1000, 1};
  EXPECT_TRUE(tools.copyFrame({large, {0, 0}}, all).isNull());
  agrees = true;
  const QImage small = tools.copyFrame({large, {0, 0}}, all);
  EXPECT_EQ(asked.size(), 2);
  EXPECT_LE(qint64{small.width()} * small.height(), PageTools::kMostCopied);
  EXPECT_GE(qint64{small.width()} * small.height(), PageTools::kMostCopied * 99 / 100);
  EXPECT_NEAR(small.dotsPerMeterX() * 0.254, small.width(), 1);
}

}  // namespace
}  // namespace desktop
