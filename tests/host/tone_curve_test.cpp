// Curves: what their points give, how points may be changed, and files of curves with anything in them.
#include <gtest/gtest.h>

#include <QFile>
#include <numeric>

#include "host/tools/curve_text.h"
#include "host/tools/level_counts.h"
#include "temp_folder.h"

namespace quillbay {
namespace {

using Points = std::vector<CurvePoint>;

Points pointsOf(const ToneCurve& curve) { return {curve.points().begin(), curve.points().end()}; }

TEST(ToneCurve, TakesOnlyPointsThatAscend) {
  struct Case {
    const char* why;
    Points points;
    bool good;
  };
  const Case cases[] = {{"two", {{0, 0}, {255, 255}}, true},
                        {"falling levels, as for negatives", {{0, 255}, {255, 0}}, true},
                        {"one", {{0, 0}}, false},
                        {"none", {}, false},
                        {"the same x twice", {{0, 0}, {9, 1}, {9, 2}, {255, 255}}, false},
                        {"back", {{0, 0}, {9, 1}, {8, 2}, {255, 255}}, false},
                        {"below the levels", {{-1, 0}, {255, 255}}, false},
                        {"above the levels", {{0, 0}, {255, 256}}, false}};
  for (const Case& c : cases) EXPECT_EQ(ToneCurve::through(c.points).has_value(), c.good) << c.why;
  Points many;
  for (int i = 0; i < static_cast<int>(ToneCurve::kMostPoints); ++i) many.push_back({i, i});
  EXPECT_TRUE(ToneCurve::through(many));
  many.push_back({200, 200});
  EXPECT_FALSE(ToneCurve::through(many));
}

TEST(ToneCurve, PassesThroughItsPointsAndNeverBeyondThem) {
  const Points cases[] = {{{0, 0}, {255, 255}},
                          {{0, 0}, {64, 10}, {65, 240}, {255, 255}},  // a cliff, where plain splines overshoot
                          {{0, 0}, {100, 200}, {150, 200}, {255, 255}},
                          {{0, 255}, {128, 20}, {255, 0}},
                          {{0, 128}, {50, 0}, {120, 255}, {200, 255}, {255, 30}},
                          {{30, 0}, {220, 255}},
                          {{0, 0}, {1, 255}, {2, 0}, {255, 255}}};
  for (const Points& points : cases) {
    SCOPED_TRACE(testing::PrintToString(points[1].x));
    const CurveLevels levels = ToneCurve::through(points)->levels();
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
      const CurvePoint a = points[i], b = points[i + 1];
      EXPECT_EQ(levels[static_cast<std::size_t>(a.x)], a.y);
      EXPECT_EQ(levels[static_cast<std::size_t>(b.x)], b.y);
      const int direction = b.y >= a.y ? 1 : -1;
      for (int x = a.x; x < b.x; ++x) {
        const auto at = static_cast<std::size_t>(x);
        ASSERT_GE(direction * (levels[at + 1] - levels[at]), 0) << "it turns at " << x;
      }
    }
    for (int x = 0; x < points.front().x; ++x) ASSERT_EQ(levels[static_cast<std::size_t>(x)], points.front().y);
    for (int x = points.back().x; x < 256; ++x) ASSERT_EQ(levels[static_cast<std::size_t>(x)], points.back().y);
  }
}

TEST(ToneCurve, StraightLinesAreExact) {
  CurveLevels same{};
  std::iota(same.begin(), same.end(), std::uint8_t{0});
  EXPECT_EQ(ToneCurve().levels(), same);
  EXPECT_EQ(ToneCurve::through({{0, 0}, {17, 17}, {100, 100}, {255, 255}})->levels(), same);
  const CurveLevels spread = ToneCurve::through({{51, 0}, {153, 255}})->levels();
  EXPECT_EQ(spread[52], 3) << "2.5 goes up";
  EXPECT_EQ(spread[102], 128) << "127.5 goes up";
  // (0,0) (128,192) (255,255): slopes 1.5 and 63/127; the inner one is their weighted harmonic mean, the first
  // end's that of a parabola, 2.0059. At 64: 96 + 128 / 8 * (2.0059 - 0.7440) = 116.2
  EXPECT_EQ(ToneCurve::through({{0, 0}, {128, 192}, {255, 255}})->levels()[64], 116);
}

TEST(ToneCurve, PointsStayBetweenTheirNeighbours) {
  ToneCurve curve;
  ASSERT_EQ(curve.add({100, 300}), 1U);
  ASSERT_EQ(curve.add({200, 60}), 2U);
  EXPECT_EQ(curve.add({100, 50}), 1U) << "the same x is the same point";
  EXPECT_EQ(pointsOf(curve), (Points{{0, 0}, {100, 50}, {200, 60}, {255, 255}}));
  EXPECT_EQ(curve.move(1, {240, -9}), (CurvePoint{199, 0}));
  EXPECT_EQ(curve.move(1, {-50, 70}), (CurvePoint{1, 70}));
  EXPECT_EQ(curve.move(0, {9, 9}), (CurvePoint{0, 9})) << "before the point at 1";
  EXPECT_EQ(curve.move(3, {150, 999}), (CurvePoint{201, 255}));
  EXPECT_FALSE(curve.remove(0));
  EXPECT_FALSE(curve.remove(3));
  EXPECT_TRUE(curve.remove(1));
  EXPECT_EQ(pointsOf(curve), (Points{{0, 9}, {200, 60}, {201, 255}}));
  for (int x = 1; curve.points().size() < ToneCurve::kMostPoints; ++x) ASSERT_TRUE(curve.add({x, x}));
  EXPECT_FALSE(curve.add({150, 1})) << "no room";
  EXPECT_TRUE(curve.add({200, 1})) << "moves one that is there";
}

TEST(ToneCurve, BlackAndWhiteRemoveWhatLiesBeyond) {
  ToneCurve curve = *ToneCurve::through({{0, 0}, {20, 30}, {128, 140}, {250, 240}, {255, 255}});
  EXPECT_TRUE(curve.setBlack(20));
  EXPECT_TRUE(curve.setWhite(200));
  EXPECT_EQ(pointsOf(curve), (Points{{20, 0}, {128, 140}, {200, 255}}));
  EXPECT_FALSE(curve.setBlack(200));
  EXPECT_FALSE(curve.setWhite(20));
  EXPECT_TRUE(curve.setBlack(3)) << "it can be taken back";
  EXPECT_EQ(curve.points().front(), (CurvePoint{3, 0}));
  EXPECT_LE(ToneCurve::following(CurveLevels{}).points().size(), ToneCurve::kMostPoints);
  ToneCurve full = ToneCurve::following(ToneCurve().levels());
  full.move(0, {10, 0});
  EXPECT_TRUE(full.setBlack(5));
  EXPECT_LE(full.points().size(), ToneCurve::kMostPoints);
}

TEST(CurveSet, TheCommonCurveFollowsThoseOfTheChannels) {
  CurveSet curves;
  curves.setCurve(CurveChannel::Red, *ToneCurve::through({{0, 100}, {255, 100}}));
  curves.setCurve(CurveChannel::Common, *ToneCurve::through({{0, 255}, {255, 0}}));
  const GammaTable table = curves.table();
  EXPECT_EQ(table[7], (KXRGBQUAD{155, 248, 248, 0}));
  EXPECT_EQ(curves.applied(CurveChannel::Red)[7], 155) << "drawn as it is applied";

  GammaTable given{};
  for (std::size_t i = 0; i < given.size(); ++i) given[i] = {static_cast<std::uint8_t>(i ^ 5), 9, 9, 77};
  curves.follow(given);
  EXPECT_EQ(curves.table()[8], (KXRGBQUAD{13, 9, 9, 0})) << "byte 3 is never a host's";
  curves.setCurve(CurveChannel::Common, ToneCurve());
  EXPECT_EQ(curves.table()[16].green, 9) << "a change goes on from there";

  CurveSet points;
  EXPECT_TRUE(points.setBlack({10, 20, 30, 0}));
  EXPECT_TRUE(points.setWhite({240, 230, 220, 0}));
  EXPECT_EQ(points.table()[20], (KXRGBQUAD{11, 0, 0, 0}));
  EXPECT_EQ(points.table()[230], (KXRGBQUAD{244, 255, 255, 0}));
  const CurveSet before = points;
  EXPECT_FALSE(points.setBlack({10, 250, 30, 0}));
  EXPECT_EQ(points, before) << "not a channel is changed";
}

TEST(CurveText, ReadsWhatItWrites) {
  CurveSet curves;
  curves.setCurve(CurveChannel::Green, *ToneCurve::through({{5, 0}, {77, 91}, {255, 255}}));
  curves.setCurve(CurveChannel::Common, *ToneCurve::through({{0, 255}, {255, 0}}));
  CurveSet read;
  EXPECT_EQ(readCurveText(curveText(curves), &read), "");
  EXPECT_EQ(read, curves);
  EXPECT_EQ(readCurveText("quillbay-curves 1\r\n# by hand\r\n\r\nred\t0,9  255,8", &read), "");
  EXPECT_EQ(pointsOf(read.curve(CurveChannel::Red)), (Points{{0, 9}, {255, 8}}));
  EXPECT_TRUE(read.curve(CurveChannel::Green).isStraight());
}

TEST(CurveText, NamesWhatIsWrongAndChangesNothing) {
  const std::string start = "quillbay-curves 1\n";
  struct Case {
    std::string text, says;
  };
  const Case cases[] = {
      {"", "first line"},
      {"P6\n3 4", "first line"},
      {"quillbay-curves 2\n", "first line"},
      {start + "purple 0,0 255,255", "line 2: \"purple\""},
      {start + "red 0,0\n", "at least two"},
      {start + "red\n", "at least two"},
      {start + "\nred 0,0 255;255", "line 3: \"255;255\""},
      {start + "red 0,0 256,255", "\"256,255\""},
      {start + "red -1,0 255,255", "\"-1,0\""},
      {start + "red 0,0 99999999999999999999,1", "no point"},
      {start + "red 0,0 0x10,1", "no point"},
      {start + "red 9,0 9,1", "greater than"},
      {start + "red 0,0 255,255\nred 0,0 255,255", "line 3: the curve red"},
      {start + "red 0,0 1.5,255", "no point"},
      {start + std::string(2000, 'x'), "xxx..."},
      {start + "red 0,0 " + std::string("\x1b[2J\xff,1"), "?[2J?,1"},
      {start + "blue 0,0 1,1 2,2 3,3 4,4 5,5 6,6 7,7 8,8 9,9 10,1 11,1 12,1 13,1 14,1 15,1 16,1 17,1",
       "at most 17"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 60));
    CurveSet read;
    read.setCurve(CurveChannel::Blue, *ToneCurve::through({{0, 3}, {255, 4}}));
    const CurveSet before = read;
    const std::string why = readCurveText(c.text, &read);
    EXPECT_NE(why.find(c.says), std::string::npos) << why;
    EXPECT_LT(why.size(), 200U);
    EXPECT_EQ(read, before);
  }
}

TEST(CurveText, FilesThatCannotBeReadOrWrittenAreNamed) {
  const ::TempFolder folder;
  const std::string good = folder.file("my.curves"), large = folder.file("large.curves");
  CurveSet curves;
  curves.setCurve(CurveChannel::Red, *ToneCurve::through({{0, 3}, {255, 4}}));
  EXPECT_EQ(saveCurveFile(good, curves), "");
  CurveSet read;
  EXPECT_EQ(loadCurveFile(good, &read), "");
  EXPECT_EQ(read, curves);
  QFile file(QString::fromStdString(large));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("quillbay-curves 1\n" + QByteArray(70000, '#'));
  file.close();
  for (const std::string& path : {large, folder.file("none"), folder.file(""), std::string("/dev/zero")}) {
    const std::string why = loadCurveFile(path, &read);
    EXPECT_NE(why.find(path), std::string::npos) << why;
    EXPECT_EQ(read, curves);
  }
  EXPECT_NE(saveCurveFile(folder.file("no/where"), curves).find("no/where"), std::string::npos);
}

TEST(LevelCounts, CountsChannelsAndBrightness) {
  const std::uint32_t pixels[] = {0xff0a141e, 0xff0a141e, 0xffffffff, 0xdeadbeef};  // the last is beyond the row
  const ToolPicture picture{3, 1, sizeof pixels, reinterpret_cast<const std::uint8_t*>(pixels), {}};
  const auto& [common, red, green, blue] = countLevels(picture).counts;
  EXPECT_EQ(red[10], 2U);
  EXPECT_EQ(green[20], 2U);
  EXPECT_EQ(blue[30], 2U);
  EXPECT_EQ(common[18], 2U) << "0.299, 0.587, 0.114";
  EXPECT_EQ(std::accumulate(common.begin(), common.end(), 0U), 3U);
  const auto two = barHeights(red);
  EXPECT_FLOAT_EQ(two[10], 1);
  EXPECT_GT(two[255], 0.7F) << "few levels are all shown";
  EXPECT_FLOAT_EQ(two[0], 0);
}

}  // namespace
}  // namespace quillbay
