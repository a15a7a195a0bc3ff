#include <gtest/gtest.h>

#include <QAction>
#include <QLineEdit>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <memory>
#include <thread>

#include "widgets/button_text.h"
#include "widgets/check_image_list.h"
#include "widgets/combo_edit.h"
#include "widgets/dialog.h"
#include "widgets/dlg_toolbar.h"
#include "widgets/poly_btn.h"
#include "widgets/prog_stat.h"
#include "widgets/spin_scroll_edit.h"
#include "widgets/user_interface_thread.h"
#include "widgets/x_button.h"

namespace quillbay {
namespace {

TEST(ButtonText, SplitsAtTheFirstLineBreak) {
  struct Case {
    std::string text, prompt, tip;
  };
  const Case cases[] = {
      {"Scans a page\nScan", "Scans a page", "Scan"},
      {"Scans a page", "Scans a page", ""},
      {"a\nb\nc", "a", "b\nc"},
      {"\ntip", "", "tip"},
      {"a\r\nb", "a", "b"},
      {"", "", ""},
      {"p\n" + std::string(300, 'x'), "p", std::string(259, 'x')},
      {"p\n" + std::string(258, 'x') + "\xC3\xA4z", "p", std::string(258, 'x')},  // no half character
  };
  for (const Case& c : cases) {
    const ButtonText texts = splitButtonText(c.text);
    EXPECT_EQ(texts.prompt, c.prompt) << c.text;
    EXPECT_EQ(texts.tip, c.tip) << c.text;
  }
}

TEST(DlgToolbar, TipsOfTextsWithALineBreakOnly) {
  CDlgToolbar bar;
  bar.addTool(1, ToolIcon::Scan, "&Scan", "Scans a page\nScan it");
  QAction* plain = bar.addTool(2, ToolIcon::Stop, "S&top", "Stops");
  EXPECT_EQ(bar.tipOf(1), "Scan it");
  EXPECT_EQ(bar.tipOf(2), "");
  plain->setEnabled(false);
  EXPECT_EQ(bar.tipOf(2), "") << "still, after the button changed";
  EXPECT_EQ(bar.tool(1)->statusTip(), "Scans a page");
  EXPECT_EQ(bar.widgetForAction(plain)->accessibleName(), "Stop");
  EXPECT_EQ(bar.tool(3), nullptr);
}

PolyEdges diamond() {
  PolyEdges edges;
  const QPoint points[] = {{20, 0}, {40, 20}, {20, 40}, {0, 20}};
  for (int i = 0; i < 4; ++i) edges.push_back({points[i], points[(i + 1) % 4], 1, 2, 3, 4, 5});
  return edges;
}

TEST(PolyOutline, RegionIsThePolygonWidenedByOnePixel) {
  const QRegion region = regionOf(diamond());
  EXPECT_TRUE(region.contains(QPoint(20, 20)));
  const QRegion inner(QPolygon({{20, 0}, {40, 20}, {20, 40}, {0, 20}}), Qt::OddEvenFill);
  EXPECT_EQ(region.boundingRect(), inner.boundingRect().adjusted(-1, -1, 1, 1));
  EXPECT_TRUE(region.contains(QPoint(9, 10)) && !inner.contains(QPoint(9, 10))) << "widened along its edges";
  EXPECT_FALSE(region.contains(QPoint(3, 3))) << "outside the polygon, inside its box";
  EXPECT_TRUE(regionOf({}).isEmpty());
  PolyEdges twice = diamond();
  for (const PolyEdge& edge : diamond()) twice.push_back(edge);
  EXPECT_FALSE(regionOf(twice).contains(QPoint(20, 20))) << "filled alternately";
}

TEST(PolyOutline, ColoursByState) {
  const PolyEdge edge = diamond()[0];
  struct Case {
    PolyState state;
    QRgb want;
  };
  const Case cases[] = {
      {{}, 1},
      {{true, false, false, false}, 2},
      {{true, true, false, true}, 2},
      {{false, true, false, false}, 4},
      {{false, true, false, true}, 4},
      {{false, true, true, false}, 1},  // disabled with the focus
      {{false, true, true, true}, 5},
      {{false, false, true, true}, 5},
  };
  for (const Case& c : cases) EXPECT_EQ(colourOf(edge, c.state), c.want);
}

TEST(PolyBtn, OnlyThePolygonTakesTheMouse) {
  CPolyBtn button;
  button.setEdges(diamond());
  button.resize(41, 41);
  int clicks = 0;
  QObject::connect(&button, &CPolyBtn::clicked, &button, [&] { ++clicks; });
  QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(2, 2));
  EXPECT_EQ(clicks, 0);
  QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(20, 20));
  QTest::keyClick(&button, Qt::Key_Space);
  EXPECT_EQ(clicks, 2);
}

TEST(PolyBtn, ItsDisabledPictureHidesTheIcon) {
  QPixmap red(4, 4);
  red.fill(Qt::red);
  for (const bool isPolygon : {true, false}) {
    CPolyBtn button;
    if (isPolygon) button.setEdges(diamond());
    button.resize(41, 41);
    button.setText("M");
    button.setDisabledPicture(red);
    EXPECT_NE(button.grab().toImage().pixelColor(20, 33), QColor(Qt::red));
    button.setEnabled(false);
    const QImage image = button.grab().toImage();
    for (int y = 12; y < 30; ++y) EXPECT_EQ(image.pixelColor(20, y), QColor(Qt::red)) << isPolygon << y;
  }
}

TEST(XButton, CaptionAtItsPlaceOrInTheMiddle) {
  const QSize button(100, 40), caption(30, 10);
  EXPECT_EQ(captionRect(button, caption, {}, false).topLeft(), QPoint(35, 15));
  EXPECT_EQ(captionRect(button, caption, {}, true).topLeft(), QPoint(36, 16));
  EXPECT_EQ(captionRect(button, caption, {4, {}}, false).topLeft(), QPoint(4, 15));
  EXPECT_EQ(captionRect(button, caption, {{}, 2}, true).topLeft(), QPoint(36, 3));
}

TEST(SpinScrollEdit, SliderIsTruncatedTowardZero) {
  struct Case {
    double value, least, most;
    int position, minimum, maximum;
  };
  const Case cases[] = {
      {2.9, 0.5, 10.9, 2, 0, 10},
      {-2.9, -10.9, -0.5, -2, -10, 0},
      {0.99, -0.99, 0.99, 0, 0, 0},
      {5, 10.5, -10.5, 5, -10, 10},  // the wrong way round
  };
  for (const Case& c : cases) {
    CSpinScrollEdit edit;
    edit.SetUp(nullptr, 1, c.value, c.least, c.most);
    EXPECT_EQ(edit.slider()->minimum(), c.minimum);
    EXPECT_EQ(edit.slider()->maximum(), c.maximum);
    EXPECT_EQ(edit.slider()->value(), c.position);
    EXPECT_DOUBLE_EQ(edit.value(), c.value) << "the field keeps the fraction";
  }
}

TEST(ComboEdit, SettlesOnceAndEscPutsBack) {
  CComboEdit combo;
  combo.addItems({"100", "300", "600"});
  combo.setText("300");
  std::vector<std::string> settled;
  QObject::connect(&combo, &CComboEdit::finished, &combo,
                   [&](const QString& text) { settled.push_back(text.toStdString()); });
  QLineEdit* field = combo.lineEdit();
  field->selectAll();
  QTest::keyClicks(field, "3");
  EXPECT_EQ(combo.text(), "3") << "nothing is completed";
  QTest::keyClick(field, Qt::Key_Escape);
  EXPECT_EQ(combo.text(), "300");
  field->selectAll();
  QTest::keyClicks(field, "450");
  EXPECT_TRUE(settled.empty());
  QTest::keyClick(field, Qt::Key_Return);
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(settled, (std::vector<std::string>{"450"}));
  EXPECT_EQ(combo.count(), 3) << "typing adds no entry";
}

TEST(CheckImageList, SpaceGivesAllSelectedOneState) {
  CCheckImageList list;
  for (const bool checked : {true, false, false}) list.addEntry({}, "entry", checked);
  list.item(0)->setSelected(true);
  list.item(1)->setSelected(true);
  QTest::keyClick(&list, Qt::Key_Space);
  EXPECT_EQ(list.checkedRows(), (std::vector<int>{0, 1}));
  QTest::keyClick(&list, Qt::Key_Space);
  EXPECT_TRUE(list.checkedRows().empty());
}

TEST(CheckImageList, ADoubleClickIsTwoClicks) {
  CCheckImageList list;
  list.addEntry({}, "entry", false);
  list.show();
  const QRect row = list.visualItemRect(list.item(0));
  const QPointF at(row.left() + 10, row.center().y());
  const auto send = [&](QEvent::Type type, Qt::MouseButtons held) {
    QMouseEvent event(type, at, list.viewport()->mapToGlobal(at), Qt::LeftButton, held, {});
    QCoreApplication::sendEvent(list.viewport(), &event);
  };
  send(QEvent::MouseButtonPress, Qt::LeftButton);
  send(QEvent::MouseButtonRelease, {});
  ASSERT_EQ(list.checkedRows().size(), 1U) << "the box was hit";
  send(QEvent::MouseButtonDblClick, Qt::LeftButton);
  send(QEvent::MouseButtonRelease, {});
  EXPECT_TRUE(list.checkedRows().empty());
}

TEST(ProgStat, ShowsWhatIsKnown) {
  std::int64_t now = 0;
  CProgStat bar(nullptr, [&] { return now; });
  bar.SetText("Searching");
  bar.Step();
  EXPECT_EQ(bar.SetPosition(70), 1);
  bar.SetText("Other");
  EXPECT_EQ(bar.SetPosition(0), 0) << "a text starts the mark again";
  EXPECT_EQ(bar.text(), "Other");
  bar.cancel();
  EXPECT_EQ(bar.IsCancelled(), 1);
  EXPECT_EQ(bar.IsCancelled(), 0) << "told once";
  for (; now <= 10000; now += 100) bar.setLines(1 + now, 60001);
  EXPECT_EQ(bar.text(), "16 %, 50 s left");
  bar.setLines(-1, 0);
  EXPECT_EQ(bar.text(), "Other");
}

#ifndef NDEBUG
std::string* g_fault = nullptr;

TEST(UserInterfaceThread, ACallFromAnotherThreadIsNoticed) {
  CDialog dialog;
  CProgStat bar;
  std::string fault;
  g_fault = &fault;
  const ThreadFault before = setThreadFaultHandler([](const char* caller) { *g_fault = caller; });
  const std::pair<const char*, std::function<void()>> calls[] = {
      {"GetDlgItem", [&] { static_cast<void>(dialog.GetDlgItem(1)); }},
      {"event", [&] { QCoreApplication::sendEvent(&dialog, std::make_unique<QEvent>(QEvent::User).get()); }},
      {"SetPosition", [&] { bar.SetPosition(0); }},
  };
  for (const auto& [name, call] : calls) {
    fault.clear();
    call();
    EXPECT_EQ(fault, "") << name << " on the user-interface thread";
    std::thread(call).join();
    EXPECT_NE(fault.find(name), std::string::npos) << fault;
  }
  setThreadFaultHandler(before);
}
#endif

}  // namespace
}  // namespace quillbay
