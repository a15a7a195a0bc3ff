/// The view port in its window.
#include <gtest/gtest.h>

#include <QtWidgets>
#include <functional>
#include <memory>
#include <vector>

#include "quillbay/errors.h"
#include "quillbay/view.h"

namespace quillbay::test {
namespace {

/// Withdraws itself when it goes.
template <class I>
class Sink : public TSinkImpl<I, QWidget> {
 public:
  using Interface = I;
  Sink() : TSinkImpl<I, QWidget>(nullptr) {}
};

class ZoomSink final : public Sink<IKxViewZoomSink> {
 public:
  int TransformChanging(IKxViewPort*, const CRTfm&) override {
    ++asked;
    return allow;
  }
  int TransformChanged(IKxViewPort*, const CRTfm& b, const CRTfm& n) override {
    before = b;
    now = n;
    return 1;
  }
  int Resized(IKxViewPort*, const KxSize& client) override {
    size = client;
    return 1;
  }
  int allow = 1, asked = 0;
  CRTfm before, now;
  KxSize size;
};

class Reactor final : public Sink<IKxViewPaintReactor> {
 public:
  int ActiveChanged(IKxViewPort*, int active) override {
    activity.push_back(active);
    return 1;
  }
  int Paint(IKxViewPort*, IKxViewDC* dc, int) override {
    ++paints;
    if (meanwhile) meanwhile();
    if (error) throw CXMemException("no memory");
    const KxRect c = dc->GetClientClip();
    painted += QRect(c.left, c.top, c.right - c.left, c.bottom - c.top);
    mode = dc->GetStretchMode();
    return 1;
  }
  int Painted(IKxViewPort*) override { return 1; }
  int Closing(IKxViewPort*) override { return ++closed; }
  int GetArea(IKxViewPort*, tagRRECT* out) override {
    *out = area;
    return hasArea;
  }
  std::vector<int> activity;
  QRegion painted;
  int paints = 0, mode = -1, closed = 0, hasArea = 0;
  bool error = false;
  std::function<void()> meanwhile;  // while it paints
  tagRRECT area{};
};

class Keys final : public Sink<IKxViewKeySink> {
 public:
  int KeyDown(int key, std::uint32_t) override {
    last = key;
    ++count;
    return take;
  }
  int KeyUp(int, std::uint32_t) override { return take; }
  int last = 0, take = 0, count = 0;
};

class Mouse final : public Sink<IKxViewMouseReactor> {
 public:
  int note(const char* what, int flags, const tagRPOINT& at) {
    calls.push_back(what);
    lastFlags = flags;
    last = at;
    return 1;
  }
  int MouseLeave() override { return note("leave", 0, last); }
  int MouseMove(int f, const tagRPOINT& at) override { return note("move", f, at); }
  int LeftDown(int f, const tagRPOINT& at) override { return note("left down", f, at); }
  int LeftUp(int f, const tagRPOINT& at) override { return note("left up", f, at); }
  int LeftDoubleClick(int f, const tagRPOINT& at) override { return note("left double", f, at); }
  int RightDown(int f, const tagRPOINT& at) override { return note("right down", f, at); }
  int RightUp(int f, const tagRPOINT& at) override { return note("right up", f, at); }
  int RightDoubleClick(int f, const tagRPOINT& at) override { return note("right double", f, at); }
  int MiddleUp(int f, const tagRPOINT& at) override { return note("middle up", f, at); }
  std::vector<std::string> calls;
  int lastFlags = 0;
  tagRPOINT last{};
};

class ViewPort : public testing::Test {
 protected:
  ViewPort() {
    host.resize(500, 400);
    view = new_ViewPort(nullptr, &host);
    window = view->GetWindow();
    window->resize(500, 400);
    host.show();
    QApplication::processEvents();
  }
  template <class S>
  void add(S* sink) {
    EXPECT_EQ(sink->Subscribe(view.as<IConnectionPoint<typename S::Interface>>().get()), 1);
  }
  void mouse(QEvent::Type type, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons down) {
    QMouseEvent e(type, at, window->mapToGlobal(at), button, down, Qt::NoModifier);
    QApplication::sendEvent(window, &e);
  }
  bool key(int qtKey, Qt::KeyboardModifiers modifiers) {
    QKeyEvent e(QEvent::KeyPress, qtKey, modifiers);
    e.ignore();
    QApplication::sendEvent(window, &e);
    return e.isAccepted();
  }
  void wheel(int delta, const QPointF& at) {
    QWheelEvent e(at, window->mapToGlobal(at), {}, {0, delta}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                  false);
    QApplication::sendEvent(window, &e);
  }

  QWidget host;
  KxPtr<IKxViewPort> view;
  QWidget* window = nullptr;
};

TEST_F(ViewPort, ASinkThatRefusesVetoesEveryZoomAndScroll) {
  ZoomSink first, refusing, never;
  refusing.allow = 0;
  for (ZoomSink* sink : {&first, &refusing, &never}) add(sink);
  const CRTfm start = view->Transform();
  const std::pair<const char*, int> answers[] = {
      {"in", view->ZoomIn()},
      {"out", view->ZoomOut()},
      {"actual", view->ActualSize()},
      {"rectangle", view->ZoomToRectangle({0, 0, 10, 10})},
      {"scroll", view->ScrollByPixels(3, 4)},
      {"can", view->CanZoomIn()},
      {"factor", view.as<ICmdProcess>()->ZoomByFactor(2, {0, 0})},
  };
  for (const auto& [what, answer] : answers) EXPECT_EQ(answer, 0) << what;
  wheel(120, {10, 10});
  EXPECT_EQ(view->Transform(), start);
  EXPECT_EQ(view->HasBack(), 0);
  EXPECT_EQ(first.asked, 8);
  EXPECT_EQ(never.asked, 0) << "the first refusal ends the asking";
}

TEST_F(ViewPort, TestsChangeNothingAndChangesAreTold) {
  ZoomSink sink;
  add(&sink);
  const CRTfm start = view->Transform();
  EXPECT_EQ(view->CanZoomIn(), 1);
  EXPECT_EQ(view->Transform(), start);
  EXPECT_EQ(view->ZoomIn(), 1);
  EXPECT_EQ(sink.before, start);
  EXPECT_EQ(sink.now, view->Transform());
  EXPECT_EQ(view->Transform().scaleX, 2);
  EXPECT_EQ(view->ToDocument(250, 200), (tagRPOINT{250, -200})) << "about the centre";
  while (view->CanZoomIn()) view->ZoomIn();
  const CRTfm finest = view->Transform();
  EXPECT_EQ(view->ZoomIn(), 0);
  EXPECT_EQ(view->Transform(), finest);
}

TEST_F(ViewPort, ARefusedStepForwardStays) {
  view->ZoomIn();
  const CRTfm zoomed = view->Transform();
  EXPECT_EQ(view->Back(), 1);
  ZoomSink refusing;
  refusing.allow = 0;
  add(&refusing);
  EXPECT_EQ(view->Forward(), 0);
  refusing.allow = 1;
  EXPECT_EQ(view->Forward(), 1);
  EXPECT_EQ(view->Transform(), zoomed);
}

TEST_F(ViewPort, AResizeTellsTheSizeAndShowsTheExtents) {
  ZoomSink zoom;
  Reactor one, two, none;
  one.area = {0, 0, 50, 10};
  two.area = {20, -30, 60, 5};
  one.hasArea = two.hasArea = 1;
  add(&zoom);
  EXPECT_EQ(view->ZoomToExtents(), 0) << "nothing is known to show";
  for (Reactor* r : {&one, &two, &none}) add(r);
  window->resize(610, 410);
  EXPECT_EQ(zoom.size, (KxSize{610, 410}));
  EXPECT_EQ(view->Transform().scaleX, 10) << "60 x 40 in 600 x 400";
  EXPECT_EQ(view->ToClient({30, -10}), (tagRPOINT{305, 205}));
  EXPECT_EQ(view->HasBack(), 0);
  EXPECT_EQ(view->IsVisible({-0.5, 10.5}), 1) << "borders included";
  EXPECT_EQ(view->IsVisible({-0.51, 0}), 0);
}

TEST_F(ViewPort, TheWheelZoomsAboutThePointer) {
  const tagRPOINT under = view->ToDocument(100, 50);
  wheel(120, {100, 50});
  EXPECT_NEAR(view->Transform().scaleX, 0.3, 1e-12);
  EXPECT_NEAR(view->ToDocument(100, 50).x, under.x, 1e-9);
  wheel(0, {100, 50});  // across
  EXPECT_NEAR(view->Transform().scaleX, 0.3, 1e-12);
  for (const int delta : {-30, -30, 0, -30, -30}) wheel(delta, {100, 50});  // a finer wheel: one step together
  EXPECT_NEAR(view->Transform().scaleX, 1, 1e-12);
}

TEST_F(ViewPort, KeysGoToSinksFirstAndScrollWithAltOnly) {
  Keys keys;
  add(&keys);
  const auto offset = [&] { return std::pair(view->Transform().offsetX, view->Transform().offsetY); };
  EXPECT_FALSE(key(Qt::Key_Right, Qt::NoModifier));
  EXPECT_EQ(keys.last, kKeyRight);
  EXPECT_EQ(offset(), std::pair(0.0, 0.0));
  EXPECT_TRUE(key(Qt::Key_Right, Qt::AltModifier));
  EXPECT_EQ(offset(), std::pair(5.0, 0.0));
  EXPECT_TRUE(key(Qt::Key_Home, Qt::AltModifier | Qt::KeypadModifier));  // 7 of the pad
  EXPECT_EQ(keys.last, kKeyPad0 + 7);
  EXPECT_EQ(offset(), std::pair(0.0, -4.0));
  EXPECT_FALSE(key(Qt::Key_A, Qt::AltModifier));
  keys.take = 1;
  EXPECT_TRUE(key(Qt::Key_PageDown, Qt::AltModifier));
  EXPECT_EQ(offset(), std::pair(0.0, -4.0));
}

TEST_F(ViewPort, KeysGoToSinksBeforeShortcutsAndOnce) {
  Keys keys;
  add(&keys);
  const std::pair<int, int> cases[] = {{Qt::Key_Escape, kKeyEscape}, {Qt::Key_Delete, kKeyDelete}};
  for (const int take : {0, 1}) {
    for (const auto& [qtKey, code] : cases) {
      keys.take = take;
      keys.last = keys.count = 0;
      QKeyEvent before(QEvent::ShortcutOverride, qtKey, Qt::NoModifier);
      before.ignore();
      QApplication::sendEvent(window, &before);
      EXPECT_EQ(keys.last, code);
      EXPECT_EQ(before.isAccepted(), take != 0) << "a key that is taken is no shortcut";
      EXPECT_EQ(keys.count, 1);
      EXPECT_EQ(key(qtKey, Qt::NoModifier), take != 0);  // asks for shortcuts first as well
      EXPECT_EQ(keys.count, 2) << "one offer of a press: " << code;
    }
  }
}

TEST_F(ViewPort, TheMiddleButtonPansUntilAnythingElseHappens) {
  const auto offset = [&] { return std::pair(view->Transform().offsetX, view->Transform().offsetY); };
  const auto press = [&] { mouse(QEvent::MouseButtonPress, {100, 100}, Qt::MiddleButton, Qt::MiddleButton); };
  const auto move = [&](QPointF at) { mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::MiddleButton); };
  press();
  EXPECT_EQ(view->HasCapture(), 1);
  move({110, 95});
  EXPECT_EQ(offset(), std::pair(10.0, -5.0));
  move({-20, 95});  // outside: the pointer's way does not count, its distance does
  EXPECT_EQ(offset(), std::pair(10.0, -5.0));
  move({5, 95});
  EXPECT_EQ(offset(), std::pair(35.0, -5.0));
  mouse(QEvent::MouseButtonRelease, {5, 95}, Qt::MiddleButton, Qt::NoButton);
  EXPECT_EQ(view->HasCapture(), 0);
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
    press();
    mouse(QEvent::MouseButtonPress, {100, 100}, button, Qt::MiddleButton | button);
    EXPECT_EQ(view->HasCapture(), 0);
  }
  press();
  QKeyEvent shortcut(QEvent::ShortcutOverride, Qt::Key_S, Qt::ControlModifier);
  shortcut.ignore();
  QApplication::sendEvent(window, &shortcut);
  EXPECT_TRUE(shortcut.isAccepted()) << "a key of a menu ends it, too";
  key(Qt::Key_Escape, Qt::NoModifier);
  EXPECT_EQ(view->HasCapture(), 0);
  move({300, 300});
  EXPECT_EQ(offset(), std::pair(35.0, -5.0));
}

TEST_F(ViewPort, OnlyAnActiveViewCallsItsMouseReactors) {
  Reactor reactor;
  Mouse reacting;
  add(&reactor);
  add(&reacting);
  mouse(QEvent::MouseMove, {5, 6}, Qt::NoButton, Qt::NoButton);
  EXPECT_TRUE(reacting.calls.empty());
  mouse(QEvent::MouseButtonPress, {5, 6}, Qt::LeftButton, Qt::LeftButton);  // activates
  EXPECT_EQ(reacting.last, (tagRPOINT{5, -6}));
  EXPECT_EQ(reacting.lastFlags, kMouseLeft);
  view->SetActive(1);
  view->SetActive(0);
  mouse(QEvent::MouseMove, {7, 8}, Qt::NoButton, Qt::NoButton);
  EXPECT_EQ(reacting.calls, (std::vector<std::string>{"left down", "leave"}));
  EXPECT_EQ(reactor.activity, (std::vector<int>{1, 0})) << "told about changes only";
}

TEST_F(ViewPort, AScrollPaintsWhatComesIntoSightOnly) {
  std::vector<std::unique_ptr<Reactor>> many(20);  // more than are called at a time
  for (auto& r : many) add((r = std::make_unique<Reactor>()).get());
  view->Invalidate(nullptr);
  view->Update();
  for (auto& r : many) {
    EXPECT_GT(r->paints, 0);
    r->painted = {};
  }
  ASSERT_EQ(view->ScrollByPixels(7, 0), 1);
  EXPECT_TRUE(many[19]->painted.contains(QPoint(3, 200))) << "painted at once";
  EXPECT_FALSE(many[19]->painted.contains(QPoint(300, 200)));
  EXPECT_EQ(many[0]->mode, 8);
}

TEST_F(ViewPort, APaintThatFailsEndsQuietlyWithItsGroundFilled) {
  Reactor painting, failing, after;
  painting.meanwhile = [&] { EXPECT_EQ(view->ScrollByPixels(1, 0), 1) << "paints no more within"; };
  add(&painting);
  add(&failing);
  add(&after);
  failing.error = true;
  QImage image(500, 400, QImage::Format_RGB32);
  image.fill(Qt::red);
  window->render(&image, {}, QRegion(0, 0, 5, 5) + QRegion(50, 50, 5, 5), {});
  EXPECT_GT(failing.paints, 0);
  EXPECT_EQ(after.paints, 0);
  for (const QPoint at : {QPoint(2, 2), QPoint(52, 52)}) EXPECT_NE(image.pixelColor(at), QColor(Qt::red));
}

TEST_F(ViewPort, AReactorThatGoesDuringAPaintIsNotCalled) {
  Reactor first, late;
  auto going = std::make_unique<Reactor>();
  first.meanwhile = [&] {
    going.reset();
    late.Subscribe(view.as<IConnectionPoint<IKxViewPaintReactor>>().get());
  };
  add(&first);
  add(going.get());
  view->Invalidate(nullptr);
  view->Update();
  EXPECT_FALSE(going);
  first.meanwhile = nullptr;
  view->Invalidate(nullptr);
  view->Update();
  EXPECT_GT(late.paints, 0);
}

TEST_F(ViewPort, WithoutItsWindowItAnswersNothing) {
  Reactor reactor;
  add(&reactor);
  delete window;
  EXPECT_EQ(reactor.closed, 1);
  EXPECT_EQ(view->GetWindow(), nullptr);
  EXPECT_EQ(view->ZoomIn() + view->ScrollByPixels(1, 1) + view->Update() + view->SetActive(1), 0);
}

}  // namespace
}  // namespace quillbay::test
