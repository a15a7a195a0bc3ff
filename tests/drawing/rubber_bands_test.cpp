/// Rubber bands without a view: their shapes, their states and what they say.
#include <gtest/gtest.h>

#include <QLocale>
#include <string>
#include <vector>

#include "platform/rubber_bands.h"

namespace quillbay::test {
namespace {

/// Hears what a band tells, and checks that each drawing begins with the one before.
class Site final : public IRubberSite {
 public:
  void setPainted(bool painted) override { log += painted ? "painted " : "hidden "; }
  void redraw(const CRPolyVector& before, const CRPolyVector& now) override {
    EXPECT_EQ(before.elements(), shown.elements());
    shown = now;
  }
  double pixel() const override { return 0.5; }
  void setPolarOrigin(const CRPoint* at) override { polar = at ? at->x : -1; }
  void pointMoved(int, const CRPoint&) override {}
  void pointFixed(int, const CRPoint&) override {}
  void pointTakenBack(int) override {}
  void ended(RubberState state) override { log += "ended " + std::to_string(static_cast<int>(state)) + ' '; }
  void restarted() override { log += "restarted "; }
  std::string log;
  CRPolyVector shown;
  double polar = -1;
};

template <class Band, class Shape>
void expectKept(const Shape& shape) {
  Band band(1);
  Shape got{};
  EXPECT_FALSE(band.get(&got)) << "no points yet";
  band.set(shape);
  ASSERT_TRUE(band.get(&got));
  EXPECT_EQ(got, shape);
}

TEST(RubberBands, KeepTheShapesThatTheyAreGiven) {
  expectKept<CRubberLine>(CRLine{{1, 2}, {5, -7}});
  expectKept<CRubberRect>(CRRect{-1, 2, 5, 7});
  expectKept<CRubberPolyGone>(CRPolygon{{{1, 1}, {2, 5}}, false});
  expectKept<CRubberPolyGoneClosed>(CRPolygon{{{1, 1}, {2, 5}, {0, 0}}, true});
  expectKept<CRubberBaseFrame>(CRFrame{{1, 2}, 4, 3, 0});
  expectKept<CRubberCircle>(CRCircle{{1, 2}, 4});
  expectKept<CRubberCircleByDiameter>(CRCircle{{1, 2}, 4});
  CRubberPoint point(1);
  point.set({3, 4});
  CRPoint at;
  EXPECT_TRUE(point.get(&at));
  EXPECT_EQ(at, (CRPoint{3, 4}));
}

TEST(RubberBands, StartWithoutPointsUnlessTheyAreKept) {
  Site site;
  CRubberPolyGoneClosed band(1);
  band.attach(&site);
  band.start();
  band.fix({3, 1});
  band.fix({9, 1});
  EXPECT_EQ(site.polar, 9);
  EXPECT_FALSE(site.shown.elements().empty());
  EXPECT_TRUE(band.command(kChooseStop));
  EXPECT_EQ(site.polar, 9) << "it goes on later";
  EXPECT_TRUE(site.shown.elements().empty()) << "erased";
  band.setKeepPoints(true);
  band.start();
  EXPECT_EQ(band.count(), 2);
  EXPECT_FALSE(band.finish());
  band.fix({9, 9});
  EXPECT_TRUE(band.finish());
  EXPECT_EQ(site.polar, -1);
  EXPECT_TRUE(band.command(kChooseRestart)) << "with its points";
  EXPECT_EQ(band.count(), 3);
  EXPECT_FALSE(band.command(kChooseRestart));
  EXPECT_TRUE(band.command(kChooseCancel));
  EXPECT_FALSE(band.command(kChooseCancel));
  band.start();  // the end took the flag back
  EXPECT_EQ(band.count(), 0);
  CRPoint current{1, 1};
  EXPECT_TRUE(band.point(0, &current));
  EXPECT_EQ(current, CRPoint{}) << "at the origin until the pointer moves";
  EXPECT_TRUE(site.shown.elements().empty());
  EXPECT_EQ(site.log, "painted hidden ended 3 painted hidden ended 0 painted restarted hidden ended 1 painted ");
}

TEST(RubberBands, SayWhatTheyMeasureInTheLocaleOfTheirUser) {
  const auto texts = [](const QLocale& locale) {
    QLocale::setDefault(locale);
    CRubberLine line(1);
    CRubberRect rect(1);
    CRubberPolyGoneClosed polygon(1);
    CRubberCircle circle(1);
    line.set({{1, 1}, {1201, 901}});
    rect.set({0, 0, 20, 10.5});
    polygon.set({{{0, 0}, {4, 0}, {4, 3}}, true});
    circle.set({{0, 0}, 1});
    return std::vector<std::string>{line.measures(nullptr), rect.measures(nullptr), polygon.measures(nullptr),
                                    circle.measures(nullptr)};
  };
  const QLocale before;
  const auto english = texts(QLocale(QLocale::English)), german = texts(QLocale(QLocale::German));
  QLocale::setDefault(before);
  EXPECT_EQ(english, (std::vector<std::string>{"Length 1500.00 mm (Δx 1200.00, Δy 900.00), angle 36.87°",
                                               "20.00 × 10.50 mm", "Perimeter 12.00 mm, area 6.00 mm²",
                                               "Radius 1.00 mm, diameter 2.00 mm, area 3.14 mm²"}));
  EXPECT_EQ(german[0], "Length 1500,00 mm (Δx 1200,00, Δy 900,00), angle 36,87°");
}

}  // namespace
}  // namespace quillbay::test
