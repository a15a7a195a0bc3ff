// The tools of the host, as a page uses them.
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>

#include "host/tools/curve_text.h"
#include "host/tools/curve_view.h"
#include "host/tools/gamma_edit.h"
#include "quillbay/bw_points.h"
#include "quillbay/scan_keys.h"
#include "temp_folder.h"

namespace quillbay {
namespace {

/// A page that counts.
struct Site final : IToolSite {
  void ToolChanged() override { ++changes; }
  int GetPicture(ToolPicture* out) override {
    *out = {1, 1, sizeof pixel, reinterpret_cast<const std::uint8_t*>(&pixel), {}};
    return hasPicture;
  }
  int Pick() override { return hasPicture; }
  void EndPick() override { ++ends; }
  std::uint32_t pixel = 0xff102030;
  int changes = 0, ends = 0, hasPicture = 1;
};

struct Tool {
  explicit Tool(const char* name) {
    options = folder.options();
    options.onMessage = [this](const HostMessage& m) {
      messages.push_back(m.text);
      return m.answer;
    };
    app = New_HostApp(options);
    tool = query<IPanelTool>(KxPtr<IKxUnknown>::adopt(query<IToolsFactory>(app.get())->MakeTool(name)).get());
    if (tool) tool->Create(&page, &site);
  }
  [[nodiscard]] KxPtr<IParam> save() const {
    auto set = new_MemParam();
    EXPECT_EQ(tool->Save(set.get()), 1);
    return set;
  }
  [[nodiscard]] GammaTable table() const {
    GammaTable out{};
    const auto set = save();
    const CKxVariant stored = paramValue(set.get(), "SCAN_GAMMA");
    const auto* bytes = stored.get<CKxBlob>();
    if (!bytes || bytes->size() != 1024) {
      ADD_FAILURE() << "no table";
      return out;
    }
    std::memcpy(out.data(), bytes->data(), sizeof out);
    return out;
  }
  [[nodiscard]] QToolButton* button(const char* text) const {
    for (auto* b : page.findChildren<QToolButton*>()) {
      if (b->text() == text) return b;
    }
    return nullptr;
  }
  ::TempFolder folder;
  HostOptions options;
  std::vector<std::string> messages;
  KxPtr<IHostApp> app;
  Site site;
  QWidget page;
  KxPtr<IPanelTool> tool;
};

CurveView& viewOf(QWidget& page) {
  for (auto* w : page.findChildren<QWidget*>()) {
    if (auto* view = dynamic_cast<CurveView*>(w)) return *view;
  }
  throw std::runtime_error("no curve");
}

TEST(HostTools, AreMadeByName) {
  for (const char* name : {"GammaEdit", "gammaeditqb", "BWPointSetup"}) EXPECT_TRUE(Tool(name).tool) << name;
  EXPECT_FALSE(Tool("Eraser").tool);
  EXPECT_TRUE(Tool("GammaEdit").button("Black point"));
  EXPECT_FALSE(Tool("GammaEditQB").button("Black point")) << "the unit sets them";
}

TEST(HostTools, CurvesAreDrawnDraggedAndRemovedByMouseAndKeys) {
  Tool t("GammaEdit");
  CurveView& view = viewOf(t.page);
  view.resize(300, 300);
  const auto place = [&](int x, int y) { return view.placeOf({x, y}).toPoint(); };
  QTest::mousePress(&view, Qt::LeftButton, {}, place(100, 150));
  ASSERT_TRUE(view.chosen());
  EXPECT_NEAR(view.chosen()->x, 100, 1);
  QMouseEvent drag(QEvent::MouseMove, view.placeOf({120, 200}), view.mapToGlobal(view.placeOf({120, 200})),
                   Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&view, &drag);
  QTest::mouseRelease(&view, Qt::LeftButton, {}, place(120, 200));
  const CurvePoint dragged = *view.chosen();
  EXPECT_NEAR(dragged.x, 120, 1);
  EXPECT_EQ(t.table()[static_cast<std::size_t>(dragged.x)].green, dragged.y);
  EXPECT_EQ(t.site.changes, 2);

  QTest::keyClick(&view, Qt::Key_Up);
  QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_EQ(*view.chosen(), (CurvePoint{dragged.x + 10, dragged.y + 1}));
  QTest::keyClick(&view, Qt::Key_Insert);
  EXPECT_EQ(view.curves().curve(CurveChannel::Common).points().size(), 4U);
  QTest::keyClick(&view, Qt::Key_PageUp);
  QTest::keyClick(&view, Qt::Key_Delete);
  EXPECT_EQ(view.curves().curve(CurveChannel::Common).points().size(), 4U) << "the last point stays";
  QTest::keyClick(&view, Qt::Key_PageDown);
  QTest::keyClick(&view, Qt::Key_Delete);
  QTest::mouseClick(&view, Qt::RightButton, {}, place(dragged.x + 10, dragged.y + 1));
  EXPECT_TRUE(view.curves().curve(CurveChannel::Common).isStraight());

  view.setCurves({});
  QFocusEvent tab(QEvent::FocusIn, Qt::TabFocusReason);
  QApplication::sendEvent(&view, &tab);
  EXPECT_EQ(view.chosen(), (CurvePoint{0, 0})) << "the keyboard has a point to move";

  QTest::mousePress(&view, Qt::LeftButton, {}, place(50, 200));
  QTest::keyClick(&view, Qt::Key_Escape);
  EXPECT_TRUE(view.curves().curve(CurveChannel::Common).isStraight()) << "a drag that is given up";
  EXPECT_EQ(t.table(), straightTable());
}

TEST(HostTools, CurvesAreKeptWithTheirTable) {
  Tool t("GammaEdit");
  CurveSet curves;
  curves.setCurve(CurveChannel::Blue, *ToneCurve::through({{0, 20}, {128, 99}, {255, 255}}));
  auto set = new_MemParam();
  set->SetValue("GammaCurves", curveText(curves));
  EXPECT_EQ(t.tool->Load(set.get()), 1);
  EXPECT_EQ(t.table(), curves.table());
  Tool second("GammaEdit");
  second.tool->Load(t.save().get());
  second.tool->Load(new_MemParam().get());
  EXPECT_EQ(second.table(), curves.table()) << "a missing key leaves the curves";
  EXPECT_EQ(second.save()->GetKeys().size(), 2U);

  GammaTable given = straightTable();
  given[9] = {200, 1, 2, 99};
  CKxBlob bytes(sizeof given);
  std::memcpy(bytes.data(), given.data(), bytes.size());
  set->SetValue("SCAN_GAMMA", bytes);
  second.tool->Load(set.get());
  EXPECT_EQ(second.table()[9], (KXRGBQUAD{200, 1, 2, 0})) << "a host's table wins over the points";
  for (const CKxVariant& bad : {CKxVariant("x"), CKxVariant(CKxBlob(1023)), CKxVariant(7)}) {
    auto broken = new_MemParam();
    broken->SetValue("SCAN_GAMMA", bad);
    broken->SetValue("GammaCurves", "nonsense");
    second.tool->Load(broken.get());
    EXPECT_EQ(second.table()[9].red, 200);
  }
  auto reset = new_MemParam();
  reset->SetValue("__reset", 1);
  second.tool->Load(reset.get());
  EXPECT_EQ(second.table(), straightTable());
  EXPECT_EQ(second.site.changes, 0) << "loading is nobody's change";
}

TEST(HostTools, PointsArePickedAndKeptApart) {
  Tool curves("GammaEdit");
  curves.button("Black point")->click();
  EXPECT_TRUE(curves.button("Black point")->isChecked());
  EXPECT_EQ(curves.tool->Picked({10, 20, 30, 0}), 1);
  EXPECT_FALSE(curves.button("Black point")->isChecked());
  EXPECT_EQ(curves.table()[20].green, 0);
  EXPECT_EQ(curves.tool->Picked({0, 0, 0, 0}), 0) << "nothing was asked for";
  curves.button("White point")->click();
  EXPECT_EQ(curves.tool->Picked({250, 15, 250, 0}), 0);
  EXPECT_EQ(curves.messages.size(), 1U);
  curves.site.hasPicture = 0;
  curves.button("White point")->click();
  EXPECT_FALSE(curves.button("White point")->isChecked());
  EXPECT_EQ(curves.messages.size(), 2U);

  Tool points("BWPointSetup");
  points.button("White point")->click();
  EXPECT_EQ(points.tool->Picked({200, 210, 220, 0}), 1);
  points.button("Black point")->click();
  EXPECT_EQ(points.tool->Picked({200, 10, 10, 0}), 0) << "as light as white";
  auto* red = points.page.findChildren<QSpinBox*>().front();
  EXPECT_EQ(red->maximum(), 199);
  red->setValue(40);
  BwPoints read;
  const CKxVariant stored = paramValue(points.save().get(), "HARDBWPOINT");
  ASSERT_TRUE(readBwPoints(*stored.get<CKxBlob>(), &read));
  EXPECT_EQ(read, (BwPoints{{40, 0, 0, 0}, {200, 210, 220, 0}}));
}

TEST(HostTools, AToolWithoutItsPageAnswersZero) {
  Tool t("GammaEdit");
  t.tool->Close();
  EXPECT_EQ(t.page.children().size(), 0);
  const auto set = new_MemParam();
  EXPECT_EQ(t.tool->Load(set.get()) + t.tool->Save(set.get()) + t.tool->Apply() + t.tool->Refresh() +
                t.tool->Picked({}) + t.tool->Place({0, 0, 1, 1}),
            0);
}

TEST(HostTools, FilesOfCurvesThatCannotBeReadChangeNothing) {
  const ::TempFolder folder;
  std::string path = folder.file("none.curves");
  Site site;
  QWidget page;
  const auto tool = KxPtr<GammaEdit>::adopt(new GammaEdit({}, true, [&](QWidget*, bool) { return path; }));
  tool->Create(&page, &site);
  const auto press = [&](const char* text) {
    for (auto* b : page.findChildren<QToolButton*>()) {
      if (b->text() == text) b->click();
    }
  };
  press("Load...");
  EXPECT_EQ(site.changes, 0);
  CurveView& view = viewOf(page);
  view.resize(300, 300);
  QTest::mouseClick(&view, Qt::LeftButton, {}, view.placeOf({60, 100}).toPoint());
  path = folder.file("mine.curves");
  press("Save...");
  const CurveSet drawn = view.curves();
  press("Reset");
  EXPECT_FALSE(view.curves() == drawn);
  press("Load...");
  EXPECT_EQ(view.curves(), drawn);
}

}  // namespace
}  // namespace quillbay
