// What is measured, and the list of it.
#include "tools/measures.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <cmath>
#include <numbers>

#include "quillbay/host.h"
#include "support/temp_dir.h"

namespace desktop {
namespace {

/// An inch, as hosts have it.
class Inch final : public quillbay::CKxUnknownImpl<quillbay::ILinearUnit> {
 public:
  int GetKind() override { return 0; }
  std::string GetLabel() override { return "inch"; }
  int GetFlags() override { return 0; }
  int FormatValue(double, char*, int) override { return 0; }
  int FormatPattern(double, const char*, char*, int) override { return 0; }
  int Reserved8() override { return 0; }
  int Reserved9() override { return 0; }
  int ParseValue(const char*, double*) override { return 0; }
  int Reserved11() override { return 0; }
  int GetDecimals() override { return 2; }
  double GetStep() override { return 0.1; }
  double GetFactor() override { return 25.4; }
  std::string GetName() override { return "inch"; }
  std::string GetSymbol() override { return "\""; }
};

const QLocale kGerman(QLocale::German, QLocale::Germany), kPlain = QLocale::c();

TEST(Measures, LengthsAnglesAndAreas) {
  const Measure line = measureLine({{10, 20}, {13, 24}});
  EXPECT_DOUBLE_EQ(line.length, 5);
  EXPECT_DOUBLE_EQ(line.dx, 3);
  EXPECT_DOUBLE_EQ(line.dy, 4);
  EXPECT_NEAR(line.degrees, 53.1301, 1e-4);
  EXPECT_DOUBLE_EQ(measurePolyline({{{0, 0}, {3, 4}, {3, 10}}, false}).length, 11);
  const struct {
    quillbay::CRPoint arm, other;
    double degrees;
  } angles[] = {{{1, 0}, {0, 1}, 90},
                {{0, 1}, {1, 0}, 90},
                {{5, 0}, {-3, 0}, 180},
                {{2, 2}, {1, 1}, 0},
                {{1, 0}, {-1, 1}, 135}};
  for (const auto& a : angles) {
    EXPECT_NEAR(measureAngle({7 + a.arm.x, a.arm.y - 2}, {7, -2}, {7 + a.other.x, a.other.y - 2}).degrees,
                a.degrees, 1e-9);
  }
}

TEST(Measures, TheAreaOfAnOutlineIsThatOfItsInside) {
  quillbay::CRPolygon star, round, twice;
  star.points.reserve(5);
  for (int i = 0; i < 5; ++i) {
    const double angle = 2 * std::numbers::pi * 2 * i / 5;
    star.points.push_back({std::sin(angle), std::cos(angle)});
  }
  round.points.reserve(20'000);
  for (int i = 0; i < 20'000; ++i) {
    const double angle = 2 * std::numbers::pi * i / 20'000;
    round.points.push_back({100 + 30 * std::cos(angle), -50 + 30 * std::sin(angle)});
  }
  twice.points = {{0, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}, {2, 0}, {2, 2}, {0, 2}};
  const double c = std::cos(std::numbers::pi / 5), s = std::sin(std::numbers::pi / 5);
  // A pentagram's points; its middle is crossed twice.
  const double inner = std::cos(2 * std::numbers::pi / 5) / c;
  const double points = 10 * (inner * s / 2) - 5 * inner * inner * std::sin(2 * std::numbers::pi / 5) / 2;
  const struct {
    quillbay::CRPolygon outline;
    double area;
  } cases[] = {
      {{}, 0},
      {{{{1, 1}, {4, 1}}}, 0},
      {{{{0, 0}, {4, 0}, {4, 3}}}, 6},
      {{{{0, 0}, {4, 3}, {4, 0}}}, 6},
      {{{{0, 0}, {4, 4}, {4, 0}, {0, 4}}}, 8},  // crosses itself in its middle
      {twice, 0},
      {star, points},
      {round, 900 * std::numbers::pi},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_NEAR(measurePolygon(cases[i].outline).area, cases[i].area, 1e-4 + cases[i].area * 1e-6) << i;
  }
}

TEST(Measures, TablesAreThoseOfTheLocale) {
  MeasureList list;
  Measure line = measureLine({{0, 0}, {1234.5, -0.0001}});
  line.page = "=plan; \"A\", left";
  EXPECT_EQ(list.add(line), 0);
  list.add(measureCircle({{0, 0}, 10}));
  list.add(measureAngle({1, 0}, {0, 0}, {0, 1}));
  const auto row = [&](const QString& table, int i) { return table.split("\r\n").value(i); };
  const QString plain = measuresAsCsv(list.measures(), nullptr, kPlain);
  EXPECT_EQ(row(plain, 1), "1,Length,\" =plan; \"\"A\"\", left\",1234.500,1234.500,0.000,0.0000,");
  EXPECT_EQ(row(plain, 2), "2,Area of a circle,,62.832,20.000,20.000,,314.159");
  EXPECT_EQ(row(plain, 3), "3,Angle,,,,,90.0000,");
  EXPECT_TRUE(row(plain, 0).contains("(mm)") && row(plain, 0).contains("(mm²)"));
  EXPECT_TRUE(plain.endsWith("\r\n"));
  Inch inch;
  const QString german = measuresAsCsv(list.measures(), &inch, kGerman);
  EXPECT_TRUE(row(german, 0).contains("(inch²)"));
  EXPECT_EQ(row(german, 1), "1;Length;\" =plan; \"\"A\"\", left\";48,60236;48,60236;0,00000;0,0000;");
  EXPECT_EQ(row(german, 2), "2;Area of a circle;;2,47370;0,78740;0,78740;;0,486948");
  EXPECT_EQ(measuresAsText(list.measures(), nullptr, kGerman).split('\n')[2],
            "2\tArea of a circle\t\t62,832\t20,000\t20,000\t\t314,159");
  EXPECT_EQ(measureText(list.measures()[1], nullptr, kGerman),
            "314,16 mm² (diameter 20,00 mm, perimeter 62,83 mm)");
  EXPECT_EQ(lengthText(1234.5, nullptr, kGerman), "1.234,50 mm");

  list.remove({1, 1, 7});
  EXPECT_EQ(list.add(line), 2);
  EXPECT_EQ(list.measures()[2].number, 4);
}

TEST(Measures, TheyAreWrittenWholeOrNotAtAll) {
  const quillbay::test::TempDir dir;
  const std::vector<Measure> measures{measureLine({{0, 0}, {3, 4}})};
  const QString file = QString::fromStdString(dir.file("measures.csv"));
  QString why;
  ASSERT_TRUE(saveMeasures(measures, nullptr, file, &why)) << why.toStdString();
  QFile written(file);
  ASSERT_TRUE(written.open(QIODevice::ReadOnly));
  EXPECT_EQ(written.readAll(), "\xEF\xBB\xBF" + measuresAsCsv(measures, nullptr).toUtf8());
  const QString nowhere = QString::fromStdString(dir.file("none/measures.csv"));
  EXPECT_FALSE(saveMeasures(measures, nullptr, nowhere, &why));
  EXPECT_TRUE(why.contains(nowhere)) << why.toStdString();
  EXPECT_EQ(dir.names(), std::vector<std::string>{"measures.csv"});
}

}  // namespace
}  // namespace desktop
