#include <gtest/gtest.h>

#include <QtWidgets>
#include <vector>

#include "quillbay/view.h"

namespace quillbay::test {
namespace {

/// A raster of one tone with a mark in its top left corner.
KxPtr<IRStor> newRaster(std::int32_t width, std::int32_t height, std::uint8_t tone) {
  auto raster = new_IRStor(KxColorSpace::Grey, width, height, 254);  // ten pixels a millimetre
  const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  std::vector<std::uint8_t> line(static_cast<std::size_t>(width), tone);
  for (std::int32_t i = 0; i < height; ++i) {
    std::fill_n(line.begin(), width / 4, i < height / 4 ? std::uint8_t{0} : tone);
    lines->WriteLine(i, 0, width, line.data());
  }
  return raster;
}

class RasterPainter : public testing::Test {
 protected:
  RasterPainter() {
    host.resize(400, 300);
    view = new_ViewPort(nullptr, &host);
    view->GetWindow()->resize(400, 300);
    host.show();
    painter = new_RasterPainter(view.get());
  }
  [[nodiscard]] int toneAt(double x, double y) {
    const tagRPOINT p = view->ToClient({x, y});
    const QImage image = view->GetWindow()->grab().toImage();
    return image.pixelColor(static_cast<int>(p.x), static_cast<int>(p.y)).red();
  }

  QWidget host;
  KxPtr<IKxViewPort> view;
  KxPtr<IKxRasterPainter> painter;
};

TEST_F(RasterPainter, RastersLieAtTheirPlacesAtAnyZoom) {
  const auto left = newRaster(400, 800, 100);  // 40 x 80 mm
  const auto right = newRaster(800, 400, 200);
  ASSERT_EQ(painter->Add(left.get(), {10, 0}, 0), 1);
  ASSERT_EQ(painter->Add(right.get(), {60, 20}, 127), 1);  // 160 x 80 mm
  EXPECT_EQ(painter->Add(right.get(), {0, 0}, 0), 0);
  tagRRECT extents;
  ASSERT_EQ(view->GetExtents(&extents), 1);
  EXPECT_NEAR(extents.left, 10, 1e-9);
  EXPECT_NEAR(extents.top, -80, 1e-9);
  EXPECT_NEAR(extents.right, 220, 1e-9);
  EXPECT_NEAR(extents.bottom, 20, 1e-9);
  const int paper = host.palette().color(QPalette::Window).red();
  for (const double factor : {1.0, 0.4, 3.7, 24.0}) {
    const auto zoom = view.as<ICmdProcess>();
    const auto seen = [&](double x, double y) {
      zoom->ZoomByFactor(factor, {x, y});
      return toneAt(x, y);
    };
    EXPECT_EQ(seen(40, -40), 100) << factor;
    EXPECT_EQ(seen(14, -10), 0) << "the mark is at the top left: " << factor;
    EXPECT_EQ(seen(14, -70), 100) << factor;
    EXPECT_EQ(seen(80, 10), 0) << factor;
    EXPECT_EQ(seen(200, -50), 200) << factor;
    EXPECT_EQ(seen(55, -20), paper) << factor;
  }
}

TEST_F(RasterPainter, RotatedViewsTurnRasters) {
  const auto raster = newRaster(800, 400, 150);
  painter->Add(raster.get(), {0, 0}, 0);
  for (const double angle : {0.5, -1.2, 3.0}) {
    CRTfm t = view->Transform();
    t.angle = angle;
    ASSERT_EQ(view->SetTransform(t, 0), 1);
    for (const auto& [at, tone] : {std::pair(tagRPOINT{10, -5}, 0), std::pair(tagRPOINT{60, -30}, 150)}) {
      view.as<ICmdProcess>()->ZoomByFactor(3, at);
      EXPECT_NEAR(toneAt(at.x, at.y), tone, 2) << angle;
    }
  }
}

TEST_F(RasterPainter, LevelsAreMadeInIdleMomentsAndFollowGrowth) {
  const auto raster = newRaster(2000, 3000, 90);
  painter->Add(raster.get(), {0, 0}, 0);
  const auto levels = raster.as<IRStorLevels>();
  while (levels->GetLevelLines() < 3000) QApplication::processEvents();
  EXPECT_GT(raster->GetLevelCount(), 0);
  raster.as<IRStorAddStripe>()->AddLines(0, 3000, 500);
  painter->Refresh();
  view.as<ICmdProcess>()->ZoomByFactor(0.5, {50, -150});
  while (levels->GetLevelLines() < 3500) {
    view->GetWindow()->grab();
    QApplication::processEvents();
  }
  EXPECT_EQ(toneAt(100, -320), 255);
  painter->Clear();
  tagRRECT none;
  EXPECT_EQ(view->GetExtents(&none), 0);
}

/// Keeps what was painted, from top to bottom of the window.
class PaintedRows final : public TSinkImpl<IKxViewPaintReactor, KxRect> {
 public:
  using TSinkImpl::TSinkImpl;
  int ActiveChanged(IKxViewPort*, int) override { return 1; }
  int Paint(IKxViewPort*, IKxViewDC* dc, int) override {
    const KxRect clip = dc->GetClientClip();
    owner()->top = std::min(owner()->top, clip.top);
    owner()->bottom = std::max(owner()->bottom, clip.bottom);
    return 1;
  }
  int Painted(IKxViewPort*) override { return 1; }
  int Closing(IKxViewPort*) override { return 1; }
  int GetArea(IKxViewPort*, tagRRECT*) override { return 0; }
};

TEST_F(RasterPainter, NewLinesAloneArePaintedWhenARasterGrows) {
  const auto raster = newRaster(1000, 500, 90);  // 100 x 50 mm
  raster.as<IRStorLevels>()->MakeLevels(-1);
  painter->Add(raster.get(), {0, 0}, 0);
  view->ZoomToRectangle({0, -100, 100, 0});
  QApplication::processEvents();
  KxRect painted{0, 1000, 0, 0};
  PaintedRows rows(&painted);
  rows.Subscribe(view.as<IConnectionPoint<IKxViewPaintReactor>>().get());
  raster.as<IRStorAddStripe>()->AddLines(0, 500, 100);
  painter->Refresh();
  view->Update();
  const auto y = [&](double mm) { return static_cast<std::int32_t>(view->ToClient({0, -mm}).y); };
  EXPECT_GE(painted.top, y(50) - 3);
  EXPECT_LE(painted.bottom, y(60) + 4);
  EXPECT_GT(painted.bottom, painted.top);
}

TEST_F(RasterPainter, OutlivesItsView) {
  const auto raster = newRaster(100, 100, 90);
  painter->Add(raster.get(), {0, 0}, 0);
  delete view->GetWindow();
  view = {};
  EXPECT_EQ(painter->Move(raster.get(), {5, 5}), 1);
  EXPECT_EQ(painter->Remove(raster.get()), 1);
}

}  // namespace
}  // namespace quillbay::test
