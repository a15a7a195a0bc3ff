/// The pixels of a view below a rubber band, at the scale factor that the screen has (QT_SCALE_FACTOR).
#include <gtest/gtest.h>

#include <QtWidgets>
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "quillbay/choosers.h"
#include "quillbay/raster.h"
#include "quillbay/view.h"
#include "view/pen_dc.h"

namespace quillbay::test {
namespace {

KxPtr<IRStor> noisyRaster() {
  constexpr std::int32_t kSide = 900;
  auto raster = new_IRStor(KxColorSpace::Grey, kSide, kSide, 254);
  const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  std::vector<std::uint8_t> line(kSide);
  std::uint32_t noise = 1;
  for (std::int32_t y = 0; y < kSide; ++y) {
    for (std::uint8_t& v : line) v = static_cast<std::uint8_t>((noise = noise * 1664525 + 1013904223) >> 24);
    lines->WriteLine(y, 0, kSide, line.data());
  }
  return raster;
}

class BandPixels : public testing::Test {
 protected:
  BandPixels() {
    // The test platform shows as many device pixels of a window as it has client pixels.
    host.resize(static_cast<int>(412 * host.devicePixelRatioF()), static_cast<int>(310 * host.devicePixelRatioF()));
    view = new_ViewPort(nullptr, &host);
    view->GetWindow()->setGeometry(7, 9, 405, 301);
    tools = new_ToolCtx(nullptr, view.get()).as<IToolCtxEx>();
    host.show();
  }
  void show(IRStor* raster) {
    painter = new_RasterPainter(view.get());  // after the choosers: they draw over it all the same
    painter->Add(raster, {0, 0}, 0);
    query<IRStorLevels>(raster)->MakeLevels(-1);
    view->SetTransform({3.1, -3.1, 0, 11.3, 5.7}, 0);
    view->Invalidate(nullptr);
    settle();
  }
  static void settle() {
    for (int i = 0; i < 3; ++i) QApplication::processEvents();
  }
  /// What the screen shows, piece by piece as it was painted.
  [[nodiscard]] QImage screen() {
    view->Update();
    settle();
    return host.screen()->grabWindow(host.winId()).toImage().convertToFormat(QImage::Format_RGB32);
  }
  [[nodiscard]] CRPoint at(double x, double y) { return view->ToDocument(x, y); }

  QWidget host;
  KxPtr<IKxViewPort> view;
  KxPtr<IToolCtxEx> tools;
  KxPtr<IKxRasterPainter> painter;
};

/// Where two pictures differ: how many pixels, and the first one.
std::string differences(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) return "size";
  int count = 0;
  std::string first;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      if (a.pixel(x, y) == b.pixel(x, y)) continue;
      if (++count == 1)
        first = std::to_string(x) + ',' + std::to_string(y) + ": " + QColor(a.pixel(x, y)).name().toStdString() +
                " and " + QColor(b.pixel(x, y)).name().toStdString();
    }
  }
  return count == 0 ? std::string() : std::to_string(count) + " pixels, the first at " + first;
}

using Make = std::function<IChoose*(IToolCtxEx&)>;

TEST_F(BandPixels, AreAsBeforeWhenItEndedAndTurnedOverWhileItRuns) {
  const std::pair<const char*, Make> kinds[] = {
      {"point", [](IToolCtxEx& t) { return t.ChoosePoint(0, 1, nullptr); }},
      {"line", [](IToolCtxEx& t) { return t.ChooseLine(0, 1, nullptr); }},
      {"frame", [](IToolCtxEx& t) { return t.ChooseFrame(0, 1, nullptr); }},
      {"fence", [](IToolCtxEx& t) { return t.ChooseFence(0, 1, nullptr); }},
      {"polygon", [](IToolCtxEx& t) { return t.ChoosePolygon(0, 1, nullptr); }},
      {"freehand", [](IToolCtxEx& t) { return t.ChooseFreehand(0, 1, nullptr); }},
      {"turned frame", [](IToolCtxEx& t) { return t.ChooseFrameEx(0, 1, nullptr); }},
      {"circle", [](IToolCtxEx& t) { return t.ChooseCircleByRadius(0, 1, nullptr); }},
      {"circle over a diameter", [](IToolCtxEx& t) { return t.ChooseCircleByDiameter(0, 1, nullptr); }},
  };
  const auto raster = noisyRaster();
  for (const auto& [what, make] : kinds) {
    auto chooser = KxPtr<IChoose>::adopt(make(*tools));
    show(raster.get());
    const QImage before = [&] {
      chooser->Command(kChooseStop);
      return screen();
    }();
    chooser->Command(kChooseRestart);
    const CRPoint corners[] = {at(40, 50.3), at(300.5, 40), at(250, 260.2), at(90, 200)};
    const int fixed = chooser.as<IChooseShape<CRPolygon>>() ? 4 : chooser.as<IChooseShape<CRFrame>>() ? 2 : 1;
    for (int i = 0; i < 4; ++i) {
      // Every kind of way: a short one, a long one, out of the view.
      for (const CRPoint& p :
           {corners[i], at(10 + 37 * i, 280), at(-5000, 90), at(390, 20 + 61 * i), at(200, 150)}) {
        chooser->MoveTo(p);
        view->Update();
      }
      if (i < fixed && std::string_view(what) != "point") chooser->FixPoint(corners[i]);
      chooser->MoveTo(at(220 + 20 * i, 160 + 9 * i));
      const QImage pieces = screen();
      int turned = 0, other = 0;
      for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
          const QRgb change = (pieces.pixel(x, y) ^ before.pixel(x, y)) & 0xFFFFFF;
          turned += change == CPenDC::kXorBits ? 1 : 0;
          other += change != 0 && change != CPenDC::kXorBits ? 1 : 0;
        }
      }
      EXPECT_GT(turned, 10) << what << i;
      EXPECT_EQ(other, 0) << what << i;
      view->Invalidate(nullptr);
      EXPECT_EQ(differences(screen(), pieces), "") << what << i << ": painted as a whole";
    }
    view->ScrollByPixels(13, -7);
    view->ScrollByPixels(-13, 7);
    chooser->Close();
    EXPECT_EQ(differences(screen(), before), "") << what;
    painter = nullptr;
  }
}

TEST_F(BandPixels, PiecesOfARasterFitTogether) {
  const auto raster = noisyRaster();
  show(raster.get());
  const QImage before = screen();
  std::uint32_t noise = 7;
  const auto random = [&](int below) {
    return static_cast<int>((noise = noise * 1664525 + 1013904223) >> 8) % below;
  };
  for (int i = 0; i < 300; ++i) {
    QRegion pieces(random(100), random(60), 1 + random(60), 1 + random(40));
    // Now and then so many that they are painted as larger parts.
    for (int more = i % 10 == 0 ? 90 : 0; more > 0; --more) pieces += QRect(random(300), random(200), 3, 2);
    view->GetWindow()->update(pieces);
    view->Update();
  }
  EXPECT_EQ(differences(screen(), before), "");
}

TEST_F(BandPixels, LinesAreAsThickAsThePixelsOfTheScreenAreFine) {
  const double ratio = view->GetWindow()->devicePixelRatioF();
  show(noisyRaster().get());
  const QImage before = screen();
  const auto chooser = KxPtr<IChoose>::adopt(tools->ChooseFrame(0, 1, nullptr));
  chooser->FixPoint(at(50.4, 60.6));
  chooser->MoveTo(at(200.7, 230.2));
  const QImage now = screen();
  const auto count = [&](int x, int y, int dx, int dy, int steps) {
    int changed = 0;
    for (int i = 0; i < steps; ++i)
      changed += now.pixel(x + i * dx, y + i * dy) != before.pixel(x + i * dx, y + i * dy);
    return changed;
  };
  const auto pixel = [&](double v) { return static_cast<int>(v * ratio); };
  const int thick = std::max(1, static_cast<int>(std::lround(ratio)));
  EXPECT_EQ(count(0, pixel(150), 1, 0, now.width()), 2 * thick) << "left and right edge";
  EXPECT_EQ(count(pixel(120), 0, 0, 1, now.height()), 2 * thick) << "upper and lower edge";
}

TEST_F(BandPixels, OnlyWhatChangedIsPainted) {
  class Counter final : public TSinkImpl<IKxViewPaintReactor, QWidget> {
   public:
    using TSinkImpl::TSinkImpl;
    int ActiveChanged(IKxViewPort*, int) override { return 1; }
    int Paint(IKxViewPort*, IKxViewDC* dc, int) override {
      const KxRect c = dc->GetClientClip();
      pixels += std::int64_t{c.right - c.left} * (c.bottom - c.top);
      return 1;
    }
    int Painted(IKxViewPort*) override { return 1; }
    int Closing(IKxViewPort*) override { return 1; }
    int GetArea(IKxViewPort*, tagRRECT*) override { return 0; }
    std::int64_t pixels = 0;
  } counter(nullptr);
  counter.Subscribe(view.as<IConnectionPoint<IKxViewPaintReactor>>().get());
  settle();
  const auto painted = [&](IChoose* raw, const std::vector<CRPoint>& points) {
    const auto chooser = KxPtr<IChoose>::adopt(raw);
    for (const CRPoint& p : points) chooser->FixPoint(p);
    chooser->MoveTo(at(390, 290));
    view->Update();
    counter.pixels = 0;
    chooser->MoveTo(at(391, 288));
    view->Update();
    return counter.pixels;
  };
  const std::int64_t all = 405 * 301;
  EXPECT_LT(painted(tools->ChooseLine(0, 1, nullptr), {at(5, 5)}), all / 5);
  EXPECT_LT(painted(tools->ChooseFrame(0, 1, nullptr), {at(5, 5)}), all / 15);
  EXPECT_LT(painted(tools->ChooseCircleByRadius(0, 1, nullptr), {at(200, 150)}), all / 3);
  std::vector<CRPoint> many;
  for (int i = 0; i < 1000; ++i) many.push_back(at(200 + 90 * std::cos(i * 2.4), 150 + 90 * std::sin(i * 2.4)));
  many.push_back(at(380, 280));
  EXPECT_LT(painted(tools->ChooseFence(0, 1, nullptr), many), all / 50);
}

}  // namespace
}  // namespace quillbay::test
