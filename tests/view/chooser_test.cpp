/// Choosers on a real view port: what a person does with mouse and keys, and what the caller is told.
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "quillbay/choosers.h"
#include "view/caller_sinks.h"

namespace quillbay::test {
namespace {

using Choose = std::function<IChoose*(IToolCtxEx&, IKxUnknown*)>;

/// A view of one pixel per millimetre: the document's y is the negative one of the window.
class Choosers : public testing::Test {
 protected:
  Choosers() {
    host.resize(500, 400);
    view = new_ViewPort(nullptr, &host);
    window = view->GetWindow();
    window->resize(500, 400);
    host.show();
    QApplication::processEvents();
    tools = KxPtr<IToolCtx>::adopt(view.as<IToolCtxSource>()->CreateToolCtx()).as<IToolCtxEx>();
  }
  void begin(const Choose& choose) { chooser = KxPtr<IChoose>::adopt(choose(*tools, sinks.base())); }

  /// Steps parted by blanks: "m10,20" moves the pointer, "c" clicks there, "p" presses, "u" lets go, "h" moves with
  /// the button held, "d" clicks twice, "r" clicks the right button; all of them with "S" before hold Shift.
  /// "esc" and "back" are keys; the others are the chooser's operations.
  void act(const std::string& steps) {
    const std::map<std::string, std::function<int()>> operations{
        {"stop", [&] { return chooser->Command(kChooseStop); }},
        {"restart", [&] { return chooser->Command(kChooseRestart); }},
        {"cancel", [&] { return chooser->Command(kChooseCancel); }},
        {"close", [&] { return chooser->Close(); }},
        {"finish", [&] { return chooser->Finish(); }},
        {"takeback", [&] { return chooser->TakeBack(); }}};
    std::istringstream in(steps);
    for (std::string step; in >> step;) {
      const bool shift = step.front() == 'S';
      if (shift) step.erase(0, 1);
      if (step == "esc" || step == "back") {
        QTest::keyClick(window, step == "esc" ? Qt::Key_Escape : Qt::Key_Backspace);
      } else if (const auto found = operations.find(step); found != operations.end()) {
        answers.push_back(found->second());
      } else {
        point(step[0], QPoint(std::stoi(step.substr(1)), std::stoi(step.substr(step.find(',') + 1))), shift);
      }
    }
  }
  void point(char what, const QPoint& at, bool shift) {
    const Qt::KeyboardModifiers keys = shift ? Qt::ShiftModifier : Qt::NoModifier;
    const auto send = [&](QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons down) {
      QMouseEvent e(type, at, window->mapToGlobal(QPointF(at)), button, down, keys);
      QApplication::sendEvent(window, &e);
    };
    const Qt::MouseButton button = what == 'r' ? Qt::RightButton : Qt::LeftButton;
    if (what == 'm' || what == 'h') send(QEvent::MouseMove, Qt::NoButton, what == 'h' ? button : Qt::NoButton);
    if (std::strchr("cpdr", what)) send(QEvent::MouseButtonPress, button, button);
    if (std::strchr("cudr", what)) send(QEvent::MouseButtonRelease, button, Qt::NoButton);
    if (what == 'd') {
      send(QEvent::MouseButtonDblClick, button, button);
      send(QEvent::MouseButtonRelease, button, Qt::NoButton);
    }
  }
  template <class Shape>
  Shape shape() {
    Shape s;
    const auto source = chooser.as<IChooseShape<Shape>>();
    EXPECT_TRUE(source);
    if (source) {
      EXPECT_EQ(source->GetShape(&s), 1);
    }
    return s;
  }

  QWidget host;
  KxPtr<IKxViewPort> view;
  QWidget* window = nullptr;
  KxPtr<IToolCtxEx> tools;
  CallerSinks sinks;
  KxPtr<IChoose> chooser;
  std::vector<int> answers;
};

const Choose kPoint = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChoosePoint(0, 7, s); };
const Choose kPointFrom = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChoosePointFrom(0, {1, -1}, 7, s); };
const Choose kLine = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseLine(5, 7, s); };
const Choose kFrame = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseFrame(0, -3, s); };
const Choose kFence = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseFence(0, 7, s); };
const Choose kPolygon = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChoosePolygon(0, 7, s); };
const Choose kFreehand = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseFreehand(0, 7, s); };
const Choose kPolyhand = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChoosePolyhand(0, 7, s); };
const Choose kFrameEx = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseFrameEx(0, 7, s); };
const Choose kRadius = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseCircleByRadius(0, 7, s); };
const Choose kDiameter = [](IToolCtxEx& t, IKxUnknown* s) { return t.ChooseCircleByDiameter(0, 7, s); };

TEST_F(Choosers, TellTheirCallerWhatHappens) {
  struct Case {
    const char* what;
    Choose choose;
    const char* steps;
    const char* log;
    RubberState state;
    std::vector<int> answers;
  };
  const Case cases[] = {
      {"moving before any click", kLine, "m5,6", "moved 0 5,-6", RubberState::Running, {}},
      {"two points, then it closes itself",
       kLine,
       "c1,2 m9,9 c40,50 m7,7 c8,8 close",
       "fixed 0 1,-2; moved 1 9,-9; fixed 1 40,-50; finished",
       RubberState::Finished,
       {0}},
      {"one point", kPoint, "c3,4 c5,6", "fixed 0 3,-4; finished", RubberState::Finished, {}},
      {"from a start",
       kPointFrom,
       "m3,4 c30,40",
       "moved 1 3,-4; fixed 1 30,-40; finished",
       RubberState::Finished,
       {}},
      {"Backspace before the first click", kPolygon, "back", "", RubberState::Running, {}},
      {"Backspace after three",
       kPolygon,
       "c1,1 c50,1 c50,50 back m2,2",
       "fixed 0 1,-1; fixed 1 50,-1; fixed 2 50,-50; back 2; moved 2 2,-2",
       RubberState::Running,
       {}},
      {"taken back by the caller",
       kPolygon,
       "takeback c1,1 takeback",
       "fixed 0 1,-1; back 0",
       RubberState::Running,
       {0, 1}},
      {"Esc", kFrame, "c1,1 esc m5,5 c6,6", "fixed 0 1,-1; cancelled", RubberState::Cancelled, {}},
      {"stopped: nothing is told, nothing moves",
       kLine,
       "c1,1 stop m5,5 c6,6 esc stop",
       "fixed 0 1,-1",
       RubberState::Commanded,
       {1, 0}},
      {"restarted with its points",
       kLine,
       "restart c1,1 stop restart c60,60",
       "fixed 0 1,-1; fixed 1 60,-60; finished",
       RubberState::Finished,
       {0, 1, 1}},
      {"a stopped one is cancelled", kLine, "stop cancel restart", "cancelled", RubberState::Cancelled, {1, 1, 0}},
      {"closed once, while it runs",
       kLine,
       "c1,1 close close m3,3",
       "fixed 0 1,-1; cancelled",
       RubberState::Cancelled,
       {1, 0}},
      {"closed when it was stopped", kLine, "stop close", "cancelled", RubberState::Cancelled, {1, 1}},
      {"a line drawn with the button held",
       kLine,
       "p1,1 h30,1 u90,1",
       "fixed 0 1,-1; moved 1 30,-1; fixed 1 90,-1; finished",
       RubberState::Finished,
       {}},
      {"a hand that shakes draws no line", kLine, "p1,1 u5,1", "fixed 0 1,-1", RubberState::Running, {}},
      {"a double click is no line", kLine, "d1,1", "fixed 0 1,-1", RubberState::Running, {}},
      {"held directions",
       kLine,
       "c100,100 Sm200,110 Sc190,205",
       "fixed 0 100,-100; moved 1 200,-100; fixed 1 197.5,-197.5; finished",
       RubberState::Finished,
       {}},
      {"too few points to finish",
       kPolygon,
       "c1,1 c50,1 r50,1 finish",
       "fixed 0 1,-1; fixed 1 50,-1",
       RubberState::Running,
       {0}},
      {"a line of one segment",
       kFence,
       "c1,1 d50,1",
       "fixed 0 1,-1; fixed 1 50,-1; finished",
       RubberState::Finished,
       {}},
      {"a right click ends",
       kFence,
       "c1,1 c50,1 r9,9",
       "fixed 0 1,-1; fixed 1 50,-1; finished",
       RubberState::Finished,
       {}},
      {"a click on the first corner",
       kPolygon,
       "c1,1 c50,1 c50,50 c3,2",
       "fixed 0 1,-1; fixed 1 50,-1; fixed 2 50,-50; finished",
       RubberState::Finished,
       {}},
      {"no such closing of a fence",
       kFence,
       "c1,1 c50,1 c50,50 c3,2",
       "fixed 0 1,-1; fixed 1 50,-1; fixed 2 50,-50; fixed 3 3,-2",
       RubberState::Running,
       {}},
      {"by hand, until the button goes up",
       kFreehand,
       "m9,9 p1,1 h9,1 h9,1 h9,9 u9,9",
       "moved 0 9,-9; fixed 0 1,-1; fixed 1 9,-1; moved 2 9,-1; fixed 2 9,-9; finished",
       RubberState::Finished,
       {}},
      {"a click by hand draws nothing", kFreehand, "c1,1", "fixed 0 1,-1; back 0", RubberState::Running, {}},
      {"by hand and by corners",
       kPolyhand,
       "p1,1 h3,1 h9,1 h10,1 u10,1 m50,5 d50,50",
       "fixed 0 1,-1; moved 1 3,-1; fixed 1 9,-1; fixed 2 10,-1; moved 3 50,-5; fixed 3 50,-50; finished",
       RubberState::Finished,
       {}},
  };
  for (const Case& c : cases) {
    sinks.log.clear();
    answers.clear();
    begin(c.choose);
    ASSERT_TRUE(chooser) << c.what;
    act(c.steps);
    EXPECT_EQ(sinks.log, c.log) << c.what;
    EXPECT_EQ(chooser->GetState(), c.state) << c.what;
    EXPECT_EQ(answers, c.answers) << c.what;
    chooser->Close();
    CRPoint origin;
    EXPECT_EQ(view.as<IPolarPoint>()->GetOrigin(&origin), 0) << c.what;
  }
}

TEST_F(Choosers, HandOutPointsAndShapes) {
  begin(kFrame);
  EXPECT_STREQ(chooser->GetName(), "ChooseFrame-ID:-3");
  EXPECT_EQ(chooser->GetId(), -3);
  act("c90,80 m20,30");
  CRPoint p;
  CRLine l;
  CRRect r;
  CRCircle circle;
  EXPECT_EQ(chooser->GetPoint(0, &p) + chooser->GetPoint(1, &p), 2);
  EXPECT_EQ(p, (CRPoint{20, -30}));
  EXPECT_EQ(chooser->GetPoint(2, &p) + chooser->GetPoint(-1, &p) + chooser->GetRect(1, &r) +
                chooser->GetLine(1, &l) + chooser->GetCircle(0, &circle),
            0);
  EXPECT_EQ(chooser->GetLine(0, &l), 1);
  EXPECT_EQ(l, (CRLine{{90, -80}, {20, -30}}));
  act("c20,30");
  EXPECT_EQ(chooser->GetRect(0, &r), 1);
  EXPECT_EQ(r, (CRRect{20, -80, 90, -30}));
  EXPECT_EQ(shape<CRRect>(), r);
  begin(kPolygon);
  act("c10,10 c20,10 m20,30");
  EXPECT_EQ(chooser->GetPointCount(), 2);
  EXPECT_EQ(chooser->GetCircle(0, &circle), 1);
  EXPECT_NEAR(circle.radius, std::hypot(5, 10), 1e-12);
  EXPECT_EQ(shape<CRPolygon>(), (CRPolygon{{{10, -10}, {20, -10}, {20, -30}}, true})) << "with the pointer";
  act("c20,30 finish");
  EXPECT_EQ(shape<CRPolygon>().points.size(), 3U);
  begin(kPointFrom);
  EXPECT_STREQ(chooser->GetName(), "");
  act("c10,20");
  EXPECT_EQ(shape<CRPoint>(), (CRPoint{10, -20}));
  begin(kPoint);
  act("c11,20");
  EXPECT_EQ(shape<CRPoint>(), (CRPoint{11, -20}));
  begin(kFrameEx);
  act("c10,100 c60,100 c5,70");
  EXPECT_EQ(shape<CRFrame>(), (CRFrame{{10, -100}, 50, 30, 0}));
  begin(kRadius);
  act("c10,10 c13,14");
  EXPECT_EQ(shape<CRCircle>(), (CRCircle{{10, -10}, 5}));
  begin(kDiameter);
  act("c10,10 c30,10");
  EXPECT_EQ(shape<CRCircle>(), (CRCircle{{20, -10}, 10}));
  begin(kLine);
  EXPECT_EQ(chooser->GetValue(), 5);
  act("c10,10 c40,10");
  EXPECT_EQ(shape<CRLine>(), (CRLine{{10, -10}, {40, -10}}));
}

TEST_F(Choosers, WorkWithoutSinksAndWithoutTheirCaller) {
  sinks.offers = false;
  begin(kLine);
  act("m3,3 c1,1 back c1,1 esc");
  EXPECT_EQ(chooser->GetState(), RubberState::Cancelled);
  chooser = KxPtr<IChoose>::adopt(tools->ChoosePolygon(0, 1, nullptr));
  act("c1,1 c50,1 c50,50 finish");
  EXPECT_EQ(chooser->GetState(), RubberState::Finished);
  // Let go of while it tells something, and while it runs.
  sinks.offers = true;
  for (const char* at : {"moved 1 9,-9", "fixed 1 60,-60", "back 0", "cancelled", "finished"}) {
    sinks.meanwhile = [&](const std::string& what) {
      if (what == at) chooser = nullptr;
    };
    sinks.log.clear();
    begin(kLine);
    act("c1,1 m9,9 back c1,1");
    if (chooser) act(std::string(at) == "cancelled" ? "esc" : "c60,60");
    EXPECT_FALSE(chooser) << at;
  }
  sinks.meanwhile = nullptr;
  begin(kLine);
  act("c1,1");
  chooser = nullptr;
  act("m5,5 c6,6");
  EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
  CRPoint origin;
  EXPECT_EQ(view.as<IPolarPoint>()->GetOrigin(&origin), 0);
}

TEST_F(Choosers, HandOnKeysThatAreNotTheirs) {
  begin(kLine);
  const auto isTaken = [&](int key) {
    QKeyEvent e(QEvent::KeyPress, key, Qt::NoModifier);
    e.ignore();
    QApplication::sendEvent(window, &e);
    return e.isAccepted();
  };
  EXPECT_FALSE(isTaken(Qt::Key_A));
  EXPECT_FALSE(isTaken(Qt::Key_Return));
  EXPECT_TRUE(isTaken(Qt::Key_Backspace)) << "also without a point";
  EXPECT_TRUE(isTaken(Qt::Key_Escape));
  EXPECT_FALSE(isTaken(Qt::Key_Escape)) << "it has ended";
}

TEST_F(Choosers, ShowTheirCursorAndTexts) {
  begin(kLine);
  EXPECT_EQ(window->cursor().shape(), Qt::CrossCursor);
  sinks.cursor = Qt::PointingHandCursor;
  act("m1,1");
  EXPECT_EQ(window->cursor().shape(), Qt::PointingHandCursor);
  std::string text;
  EXPECT_EQ(chooser->GetStatusText(1, &text), 1);
  EXPECT_EQ(text, "") << "nothing is measured yet";
  act("c10,10 m40,50");
  chooser->GetStatusText(1, &text);
  for (const double number : {50.0, 30.0, -40.0, -53.13})
    EXPECT_NE(text.find(QLocale().toString(number, 'f', 2).toStdString()), std::string::npos) << text;
  sinks.first = "Mark the edge";
  for (int i = 0; i < 300; ++i) sinks.second += "ä";
  chooser->GetStatusText(0, &text);
  EXPECT_EQ(text, "Mark the edge");
  chooser->GetStatusText(1, &text);
  EXPECT_EQ(text.rfind("ä"), 2U * 255) << "256 characters are taken";
  EXPECT_EQ(chooser->GetStatusText(2, &text), 0);
  act("esc");
  EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(Choosers, EndWithTheirView) {
  begin(kLine);
  delete window;
  EXPECT_EQ(sinks.log, "cancelled");
  EXPECT_EQ(tools->ChooseLine(0, 1, sinks.base()), nullptr);
}

}  // namespace
}  // namespace quillbay::test
