/// Pens on a surface that writes down what it is told, and strokes on pixels.
#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <numbers>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "view/default_pen.h"
#include "view/ext_pen.h"
#include "view/pen_dc.h"
#include "view/pixel_strokes.h"
#include "view/view_transform.h"

namespace quillbay::test {
namespace {

class PenSurface final : public CKxUnknownImplStatic<IPenDC> {
 public:
  int Begin(std::uint32_t value, int) override {
    log += "begin " + std::to_string(value) + ' ';
    return works;
  }
  int SetBackgroundMode(int) override { return 0; }
  int SetDrawingMode(int) override { return 0; }
  int SelectHandle(const PenHandle& handle, PenHandle* former) override {
    if (!works) return 0;
    if (former) *former = selected;
    selected = handle;
    log += "select " + std::to_string(handle.color) + ' ';
    return 1;
  }
  int SetPen(IPen* p) override {
    pen = KxPtr<IPen>::share(p);
    return 1;
  }
  IPen* GetPen() override { return KxPtr(pen).detach(); }
  int DrawLine(const KxPoint& a, const KxPoint& b) override {
    from = a;
    to = b;
    log += "line ";
    return 1;
  }
  int DrawPolyline(std::span<const KxPoint> points) override {
    log += "points " + std::to_string(points.size()) + ' ';
    return 1;
  }
  int DrawArc(const tagRPOINT&, double, double, double) override { return log += "arc ", 1; }
  int DrawCircle(const tagRPOINT&, double) override { return log += "circle ", 1; }
  int Flush() override { return 1; }

  std::string log;
  int works = 1;
  KxPoint from, to;
  PenHandle selected{77, 1};
  KxPtr<IPen> pen;
};

CRPolyVector oneOfEach() {
  CRPolyVector shape;
  const CRPoint points[] = {{0, 0}, {1, 0}, {2, 5}};
  shape.addPoint({1, 1});
  shape.addPath(points, false);
  shape.addArc({{0, 0}, 5, 0, 1});
  shape.addCircle({{0, 0}, 5});
  return shape;
}

TEST(Pens, PixelsAreRoundedHalvesUpward) {
  const std::pair<double, std::int32_t> cases[] = {{-0.5, 0}, {0.5, 1},    {-1.5, -1}, {1.5, 2},  {-0.51, -1},
                                                   {0.49, 0}, {-1.49, -1}, {2.0, 2},   {-2.0, -2}};
  PenSurface surface;
  const auto pen = getDefaultPen(0);
  const CRTfm same{1, 1, 0, 0, 0};
  for (const auto& [value, pixel] : cases) {
    EXPECT_EQ(pen->DrawLine(&surface, same, {value, 0}, {0, value}), 1);
    EXPECT_EQ(surface.from, (KxPoint{pixel, 0})) << value;
    EXPECT_EQ(surface.to, (KxPoint{0, pixel})) << value;
  }
}

TEST(Pens, LinesThatLeadFarAwayKeepTheirDirection) {
  PenSurface surface;
  const CRTfm same{1, 1, 0, 0, 0};
  getDefaultPen(0)->DrawLine(&surface, same, {-1e15, -2e15 + 8}, {1e15, 2e15 + 8});
  EXPECT_EQ(surface.from, (KxPoint{-(1 << 27) - 4, -(1 << 28)}));
  EXPECT_EQ(surface.to, (KxPoint{(1 << 27) - 4, 1 << 28}));
  surface.log.clear();
  getDefaultPen(0)->DrawLine(&surface, same, {0, 1e300}, {1e300, 0});
  EXPECT_EQ(surface.log, "begin 0 ") << "nowhere near";
}

TEST(Pens, APenOfAValueIsMadeOnce) {
  const auto pen = getDefaultPen(5);
  EXPECT_EQ(getDefaultPen(5).get(), pen.get());
  EXPECT_NE(getDefaultPen(5 + 127).get(), pen.get()) << "of the same bucket";
  EXPECT_EQ(getDefaultPen(5 + 127)->GetPenValue(), 132U);
  PenSurface surface;
  selectDefaultPen(&surface, 5);
  EXPECT_EQ(surface.pen.get(), pen.get());
  EXPECT_EQ(pen->GetExtent(), (KxSize{0, 0}));
}

TEST(Pens, DrawElementsOneByOneAndPutHandlesBack) {
  const CRTfm view{2, -2, 0, 0, 0};
  PenSurface surface;
  EXPECT_EQ(getDefaultPen(3)->DrawPolyVector(&surface, view, oneOfEach()), 1);
  EXPECT_EQ(surface.log, "begin 3 line begin 3 line begin 3 arc begin 3 circle ");
  surface.log.clear();
  const auto own = makePen({9, 2});
  EXPECT_EQ(own->DrawPolyVector(&surface, view, oneOfEach()), 1);
  EXPECT_EQ(surface.log,
            "select 9 line select 77 select 9 line select 77 select 9 arc select 77 select 9 circle "
            "select 77 ");
  EXPECT_EQ(surface.selected, (PenHandle{77, 1}));
  // Stretched circles are no circles.
  surface.log.clear();
  getDefaultPen(3)->DrawCircle(&surface, {2, -3, 0, 0, 0}, {{0, 0}, 5});
  EXPECT_EQ(surface.log, "begin 3 points 257 ");
}

TEST(Pens, ASurfaceThatCannotBeDrawnOnIsPassedOver) {
  PenSurface surface;
  surface.works = 0;
  EXPECT_EQ(getDefaultPen(3)->DrawPolyVector(&surface, view::baseTransform(), oneOfEach()), 1);
  EXPECT_EQ(surface.log, "begin 3 begin 3 begin 3 begin 3 ");
  EXPECT_EQ(makePen({9, 2})->DrawLine(&surface, view::baseTransform(), {0, 0}, {1, 1}), 1);
  EXPECT_EQ(surface.selected.color, 77U);
}

/// The pixels of a stroke in pieces of this size; none is drawn twice.
std::set<std::pair<int, int>> pixelsOf(const PixelStroke& stroke, int piece) {
  std::set<std::pair<int, int>> found;
  constexpr int kSide = 60;
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(piece * piece));
  for (int top = 0; top < kSide; top += piece) {
    for (int left = 0; left < kSide; left += piece) {
      std::fill(pixels.begin(), pixels.end(), 0U);
      StrokeTarget target;
      target.pixels = pixels.data();
      target.area = {left, top, left + piece, top + piece};
      target.color = 1;
      stroke.draw(target);
      for (int i = 0; i < piece * piece; ++i) {
        if (pixels[static_cast<std::size_t>(i)]) found.insert({left + i % piece, top + i / piece});
      }
    }
  }
  return found;
}

PixelStroke lineStroke(KxPoint from, KxPoint to, int width) {
  PixelStroke s;
  s.from = from;
  s.to = to;
  s.width = width;
  return s;
}

PixelStroke arcStroke(double radius, double start, double sweep, int width) {
  PixelStroke s;
  s.center = {30.3, 29.5};
  s.radius = radius;
  s.start = start;
  s.sweep = sweep;
  s.width = width;
  return s;
}

TEST(PixelStrokes, FitTogetherHoweverTheyArePainted) {
  const double turn = 2 * std::numbers::pi;
  const PixelStroke strokes[] = {
      lineStroke({3, 5}, {50, 41}, 1),
      lineStroke({50, 41}, {3, 5}, 1),
      lineStroke({3, 50}, {20, 2}, 2),
      lineStroke({-100000, 3}, {90000, 50}, 3),
      lineStroke({7, 7}, {7, 55}, 2),
      lineStroke({7, 7}, {7, 7}, 3),
      lineStroke({40, -(1 << 28)}, {1 << 28, 1 << 28}, 1),
      arcStroke(20, 0, turn, 1),
      arcStroke(20, 0, turn, 2),
      arcStroke(25, 1, -2, 1),
      arcStroke(1e6, 0, turn, 1),
      arcStroke(0, 0, turn, 1),
  };
  for (const PixelStroke& s : strokes) {
    const auto whole = pixelsOf(s, 60);
    for (const int piece : {4, 15, 20}) EXPECT_EQ(pixelsOf(s, piece), whole) << &s - strokes;
    const KxRect b = s.bounds();
    for (const auto& [x, y] : whole) EXPECT_TRUE(x >= b.left && x < b.right && y >= b.top && y < b.bottom);
  }
  EXPECT_EQ(pixelsOf(strokes[0], 60), pixelsOf(strokes[1], 60)) << "there and back";
  EXPECT_EQ(pixelsOf(strokes[0], 60).size(), 48U) << "one for each step";
  EXPECT_EQ(pixelsOf(strokes[5], 60).size(), 9U);
}

TEST(PixelStrokes, TurnEachPixelOverOnce) {
  QImage image(60, 60, QImage::Format_RGB32);
  for (const unsigned ground : {0x000000U, 0xFFFFFFU, 0x808080U, 0x336699U}) {
    image.fill(0xFF000000U | ground);
    {
      QPainter painter(&image);
      const auto surface = KxPtr<CPenDC>::adopt(new CPenDC(&painter, {0, 0, 60, 60}, 1));
      surface->SetDrawingMode(kDrawXor);
      CRPolyVector cross;
      const CRPoint square[] = {{10, -10}, {40, -10}, {40, -40}, {10, -40}};
      cross.addPath(square, true);
      cross.addLine({10, -10}, {40, -40});
      cross.addLine({40, -10}, {10, -40});
      cross.addLine({10, -10}, {30, -10});
      getDefaultPen(0)->DrawPolyVector(surface.get(), view::baseTransform(), cross);
      EXPECT_EQ(image.pixel(10, 10) & 0xFFFFFF, ground) << "nothing shows before the flush";
      surface->Flush();
    }
    for (const QPoint at : {QPoint(10, 10), QPoint(25, 25), QPoint(20, 10), QPoint(40, 40), QPoint(33, 33)})
      EXPECT_EQ(image.pixel(at) & 0xFFFFFF, ground ^ CPenDC::kXorBits) << at.x() << ' ' << at.y();
    EXPECT_EQ(image.pixel(25, 15) & 0xFFFFFF, ground);
  }
}

}  // namespace
}  // namespace quillbay::test
