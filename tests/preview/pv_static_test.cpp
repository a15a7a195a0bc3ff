/// The preview control with real mouse and key events.
#include "preview/pv_static.h"

#include <gtest/gtest.h>

#include <QProxyStyle>
#include <QtTest>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "host/linear_unit.h"
#include "quillbay/scan_keys.h"
#include "stores/event.h"
#include "stores/preview_stor.h"
#include "stores/scan_buffer.h"
#include "stores/simple_stor.h"
#include "support/panel_world.h"

namespace quillbay::test {
namespace {

constexpr tagRRECT kArea{100, 50, 600, 450};
constexpr tagRRECT kFrame{200, 100, 400, 200};

/// The style of a desktop without animation.
class StillStyle final : public QProxyStyle {
 public:
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* data) const override {
    return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
  }
};

/// Without rulers: one pixel is one millimetre, and the area's corner is at (7, 7).
class PVStatic : public testing::Test {
 protected:
  PVStatic() {
    params->units().takeUnits(new_HostStyles().get());
    params->set(scan_key::Units, kMillimetres);  // the rulers take them
    picture.resize(514, 414);
    picture.setRulersShown(false);
    picture.onFrame = [this](const tagRRECT* frame) { told.push_back(frame ? frame->width() : -1); };
  }
  void preview() {
    params->previewStore = KxPtr<ISStripStor>::adopt(new CPreviewStor(500));
    for (const int tone : {60, 200}) addStripe(tone);
    params->quiet().rcScan = kArea;
    params->quiet().rcPreview = params->quiet().rcCustomScan = kFrame;
    params->quiet().rectValid = 1;
    picture.rasterPlaced(kArea);
    picture.fit();
  }
  void addStripe(int tone) {
    const auto stripe = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(100, {1000, 400}, KxColorSpace::Grey, nullptr));
    const std::vector<std::uint8_t> line(1000, static_cast<std::uint8_t>(tone));
    for (int i = 0; i < 400; ++i) stripe->AddLine(0, line.data());
    params->previewStore->AddStripe(stripe.get());
  }
  static QPoint at(double x, double y) { return {int(x - kArea.left) + 7, int(y - kArea.top) + 7}; }
  void drag(const QPoint& from, const QPoint& to, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mousePress(&picture, button, {}, from);
    QTest::mouseMove(&picture, (from + to) / 2);
    QTest::mouseMove(&picture, to);
    QTest::mouseRelease(&picture, button, {}, to);
  }
  void hover(const QPoint& to) {
    QMouseEvent move(QEvent::MouseMove, to, picture.mapToGlobal(to), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&picture, &move);
  }
  [[nodiscard]] const ScanValues& v() const { return params->values(); }
  void save(const char* name) {
    if (const char* folder = std::getenv("QUILLBAY_PICTURES"))
      picture.grab().save(QString("%1/%2.png").arg(folder, name));
  }

  NotingController controller;
  const KxPtr<CSharedScanParams> params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  CPVStatic picture{params, controller, nullptr};
  std::vector<double> told;
};

TEST_F(PVStatic, BeforeAPreviewMouseAndKeysDoNothing) {
  const ScanValues before = v();
  drag(at(200, 100), at(300, 300));
  drag(at(200, 100), at(300, 300), Qt::RightButton);
  for (const int key : {Qt::Key_Left, Qt::Key_Return, Qt::Key_Escape}) QTest::keyClick(&picture, Qt::Key(key));
  EXPECT_EQ(v().rcPreview, before.rcPreview);
  EXPECT_EQ(controller.previewRestarts, 0);
  EXPECT_FALSE(picture.drawsArea());
  EXPECT_EQ(picture.cursor().shape(), Qt::ArrowCursor);
  for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(14, 900), QSize(900, 15), QSize(300, 300)}) {
    picture.setMinimumSize(0, 0);
    picture.resize(size);
    picture.setRulersShown(size.width() != 300);
    EXPECT_EQ(picture.grab().isNull(), size.isEmpty());
  }
  picture.setRulersShown(true);
  save("empty");
  preview();
  for (const tagRRECT area : {tagRRECT{0, 0, 0.01, 900}, tagRRECT{0, 0, 0, 0}, tagRRECT{0, 0, 900, 0.01}}) {
    params->set(scan_key::RcScan, area);
    EXPECT_FALSE(picture.grab().isNull());
  }
  const auto flat = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(100, {64, 64}, KxColorSpace::Four, nullptr));
  params->previewStore->Reset();
  params->previewStore->AddStripe(flat.get());
  picture.rasterPlaced(kArea);
  EXPECT_FALSE(picture.grab().isNull()) << "a colour space without a picture";
}

TEST_F(PVStatic, FramesAreMovedResizedAndDrawn) {
  preview();
  constexpr Qt::CursorShape kShapes[] = {Qt::SizeFDiagCursor, Qt::SizeVerCursor,   Qt::SizeBDiagCursor,
                                         Qt::SizeHorCursor,   Qt::SizeFDiagCursor, Qt::SizeVerCursor,
                                         Qt::SizeBDiagCursor, Qt::SizeHorCursor,   Qt::SizeAllCursor};
  const QPoint places[] = {at(199, 99),  at(300, 99),  at(401, 99),  at(402, 150), at(402, 202),
                           at(300, 202), at(199, 202), at(199, 150), at(300, 150)};
  for (int zone = kTopLeft; zone <= kWhole; ++zone) {
    hover(places[zone]);
    EXPECT_EQ(picture.cursor().shape(), kShapes[zone]) << zone;
  }
  hover(at(500, 400));
  EXPECT_EQ(picture.cursor().shape(), Qt::ArrowCursor);
  QTest::mouseClick(&picture, Qt::LeftButton, {}, at(500, 400));
  EXPECT_EQ(v().rcPreview, (tagRRECT{400, 350, 600, 450})) << "centred, then inside the area";
  EXPECT_EQ(controller.previewRestarts, 1);
  drag(at(500, 400), at(-300, 0));
  EXPECT_EQ(v().rcPreview, (tagRRECT{100, 50, 300, 150})) << "flush with the edges";
  drag(at(302, 152), at(350, 180));
  EXPECT_EQ(v().rcPreview, (tagRRECT{100, 50, 350, 180}));
  EXPECT_EQ(told.back(), -1) << "no numbers when the drag is over";
  params->quiet().disablePreview = 1;
  const int restarts = controller.previewRestarts;
  drag(at(500, 400), at(300, 200), Qt::RightButton);
  EXPECT_EQ(v().rcPreview, (tagRRECT{300, 200, 500, 400})) << "drawn from the bottom right";
  EXPECT_EQ(controller.previewRestarts, restarts);
  EXPECT_FALSE(picture.drawsArea());
  QTest::mousePress(&picture, Qt::LeftButton, {}, at(400, 300));
  QTest::mousePress(&picture, Qt::RightButton, {}, at(400, 300));
  QTest::mouseMove(&picture, at(150, 90));
  EXPECT_EQ(told.back(), 200);
  QTest::mouseRelease(&picture, Qt::RightButton, {}, at(150, 90));
  QTest::keyClick(&picture, Qt::Key_Escape);
  QTest::mouseRelease(&picture, Qt::LeftButton, {}, at(150, 90));
  EXPECT_EQ(v().rcPreview, (tagRRECT{300, 200, 500, 400})) << "given up";
  QTest::mousePress(&picture, Qt::LeftButton, {}, at(400, 300));
  picture.setEnabled(false);
  picture.setEnabled(true);
  QTest::mouseMove(&picture, at(150, 90));
  QTest::mouseRelease(&picture, Qt::LeftButton, {}, at(150, 90));
  EXPECT_EQ(v().rcPreview, (tagRRECT{300, 200, 500, 400})) << "a scan began";
}

TEST_F(PVStatic, FragmentsAreDrawnShownAndHidden) {
  preview();
  picture.toggleNewArea();
  picture.toggleNewFragment();
  EXPECT_TRUE(picture.drawsFragment() && !picture.drawsArea());
  hover(at(300, 150));
  EXPECT_EQ(picture.cursor().shape(), Qt::CrossCursor);
  drag(at(250, 150), at(550, 400));
  EXPECT_EQ(v().rcCustomScan, (tagRRECT{250, 150, 550, 400}));
  EXPECT_TRUE(picture.showsFragment() && !picture.drawsFragment());
  EXPECT_EQ(controller.previewRestarts, 0);
  save("frames");
  drag(at(300, 180), at(310, 180));
  EXPECT_EQ(v().rcPreview, (tagRRECT{210, 100, 410, 200})) << "the preview frame wins";
  drag(at(500, 300), at(500, 310));
  EXPECT_EQ(v().rcCustomScan, (tagRRECT{250, 160, 550, 410}));
  picture.toggleNewFragment();
  EXPECT_FALSE(picture.showsFragment() || picture.drawsFragment());
  picture.toggleNewFragment();
  QTest::mouseClick(&picture, Qt::LeftButton, {}, at(300, 300));
  EXPECT_EQ(v().rcCustomScan, v().rcPreview) << "a click without movement";
  params->set(scan_key::Mask, "x");
  params->set(scan_key::RcPreview, kFrame);
  EXPECT_TRUE(picture.showsFragment());
  params->set(scan_key::UpdateRect, 1);
  EXPECT_FALSE(picture.showsFragment());
  params->set(scan_key::CustomScanValid, 1);
  EXPECT_TRUE(picture.showsFragment());
  picture.toggleNewArea();
  params->set(scan_key::CustomScanValid, 0);
  EXPECT_FALSE(picture.showsFragment() || picture.drawsArea());
}

TEST_F(PVStatic, KeysDoWhatTheMouseDoes) {
  preview();
  QTest::keyClick(&picture, Qt::Key_Right);
  QTest::keyClick(&picture, Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(v().rcPreview, (tagRRECT{201, 110, 401, 210}));
  EXPECT_EQ(told.back(), 200);
  QTest::keyClick(&picture, Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(v().rcPreview, (tagRRECT{201, 110, 391, 210}));
  EXPECT_EQ(controller.previewRestarts, 3);
  picture.toggleNewFragment();
  QTest::keyClick(&picture, Qt::Key_Return);
  EXPECT_TRUE(picture.showsFragment());
  QTest::keyClick(&picture, Qt::Key_Up);
  EXPECT_EQ(v().rcCustomScan, (tagRRECT{201, 109, 391, 209}));
  EXPECT_EQ(v().rcPreview, (tagRRECT{201, 110, 391, 210}));
  picture.toggleNewArea();
  QTest::keyClick(&picture, Qt::Key_Escape);
  EXPECT_FALSE(picture.drawsArea());

  QWidget window;
  QVBoxLayout column(&window);
  QPushButton before, after;
  column.addWidget(&before);
  column.addWidget(&picture);
  column.addWidget(&after);
  window.show();
  QApplication::setActiveWindow(&window);
  before.setFocus();
  const auto moved = [&] {
    const ScanValues was = v();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    return v().rcPreview != was.rcPreview ? 'P' : v().rcCustomScan != was.rcCustomScan ? 'F' : '-';
  };
  std::string order;
  for (const int key : {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Backtab, Qt::Key_Backtab}) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
    order += QApplication::focusWidget() == &picture ? moved() : '-';
  }
  EXPECT_EQ(order, "PF-FP-");
  int shortcuts = 0;
  for (const char* keys : {"Ctrl+Down", "Esc"}) {
    auto* action = new QAction(&window);
    action->setShortcut(QKeySequence(keys));
    QObject::connect(action, &QAction::triggered, &window, [&] { ++shortcuts; });
    window.addAction(action);
  }
  picture.setFocus();
  const double height = v().rcPreview.height();
  QTest::keyClick(&picture, Qt::Key_Down, Qt::ControlModifier);
  EXPECT_EQ(v().rcPreview.height(), height + 1);
  picture.toggleNewArea();
  QTest::keyClick(&picture, Qt::Key_Escape);
  EXPECT_FALSE(picture.drawsArea());
  EXPECT_EQ(shortcuts, 0) << "keys that mean something here";
  QTest::keyClick(&picture, Qt::Key_Escape);
  EXPECT_EQ(shortcuts, 1);
  picture.setParent(nullptr);
}

TEST_F(PVStatic, AFoundDocumentIsCorrectedByMouseAndKeys) {
  preview();
  constexpr double kDegree = std::numbers::pi / 180;
  params->papers = {{"A4", {210, 297}}};
  for (const double degrees : {-3.0, 3.0}) {
    SCOPED_TRACE(degrees);
    const Sheet sheet{{350, 250}, 297, 210, degrees * kDegree};
    ScanValues& values = params->quiet();
    values.scanType = kAreaAuto;
    values.rcScan = boxAround(sheet);
    values.found = {DetectedBy::Prescan, values.rcScan, sheet.angle, {297, 210}, "A4"};
    params->NotifyParam(scan_key::RcScan.name);
    params->set(scan_key::RcPreview, {300, 160, 420, 220});
    const auto shown = [&] { return placesOf(scannedSheet(v()), picture.transform()); };
    const auto pixel = [](const tagRPOINT& p) { return QPoint(qRound(p.x), qRound(p.y)); };
    for (const tagRPOINT& corner : shown().corners) {
      EXPECT_TRUE(picture.rect().contains(pixel(corner))) << "all of it is seen";
    }
    save(degrees < 0 ? "found-right" : "found-left");
    const double scale = picture.transform().scaleX;
    hover(pixel(shown().knob));
    EXPECT_EQ(picture.cursor().shape(), Qt::OpenHandCursor);
    // The right edge 40 pixels outwards: the angle stays.
    const QPoint right = pixel(shown().handles[kRight]);
    drag(right, right + QPoint(40, 0));
    EXPECT_EQ(v().found.by, DetectedBy::User);
    EXPECT_NEAR(v().found.angle, sheet.angle, 1e-9);
    EXPECT_NEAR(v().found.sheet.cx, 297 + 40 / scale, 1.5);
    EXPECT_NEAR(v().found.sheet.cy, 210, 0.5);
    EXPECT_EQ(v().found.paper, "");
    EXPECT_EQ(v().rcScan, v().found.box);
    EXPECT_EQ(v().skew, v().found.angle);
    EXPECT_EQ(v().boundDetectDirty, 0) << "the next page is this one, not searched for";
    // The knob: to the right is a smaller turn to straighten.
    const QPoint knob = pixel(shown().knob);
    QTest::mousePress(&picture, Qt::LeftButton, {}, knob);
    QTest::mouseMove(&picture, knob + QPoint(3, 0));
    QTest::mouseMove(&picture, knob + QPoint(5, 0));
    save(degrees < 0 ? "turning-right" : "turning-left");
    QTest::mouseRelease(&picture, Qt::LeftButton, {}, knob + QPoint(5, 0));
    EXPECT_LT(v().found.angle, sheet.angle - 0.005);
    const double turned = v().found.angle;
    QTest::keyClick(&picture, Qt::Key_L);
    EXPECT_NEAR(v().found.angle, turned + kTurnStep, 1e-9);
    QTest::keyClick(&picture, Qt::Key_R, Qt::ShiftModifier);
    EXPECT_NEAR(v().found.angle, turned + kTurnStep - kLargeTurnStep, 1e-9);
    const tagRRECT before = v().rcScan;
    QTest::keyClick(&picture, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_NEAR(v().rcScan.top, before.top + 10, 0.01);
    EXPECT_NEAR(v().rcScan.left, before.left, 0.01);
    // Given up, and while something runs.
    const tagRRECT kept = v().rcScan;
    QTest::mousePress(&picture, Qt::LeftButton, {}, pixel(shown().handles[kTop]));
    QTest::mouseMove(&picture, QPoint(100, 10));
    QTest::keyClick(&picture, Qt::Key_Escape);
    QTest::mouseRelease(&picture, Qt::LeftButton, {}, QPoint(100, 10));
    picture.setEnabled(false);
    drag(pixel(shown().knob), QPoint(30, 30));
    picture.setEnabled(true);
    EXPECT_EQ(v().rcScan, kept);
  }
  // Another area is none that was found.
  params->set(scan_key::RcScan, kArea);
  picture.setFocus();
  QTest::keyClick(&picture, Qt::Key_L);
  EXPECT_EQ(v().rcScan, kArea);
}

TEST_F(PVStatic, LongAreasScroll) {
  preview();
  params->set(scan_key::RcScan, {100, 50, 600, 1050});
  auto* bar = picture.findChild<QScrollBar*>("previewDown");
  ASSERT_FALSE(bar->isHidden());
  EXPECT_TRUE(picture.findChild<QScrollBar*>("previewAcross")->isHidden());
  const double scale = picture.transform().scaleX;
  EXPECT_NEAR(scale, (500.0 - bar->sizeHint().width()) / 500, 1e-9);
  const double top = picture.transform().offsetY;
  EXPECT_EQ(bar->pageStep(), 400);
  const auto by = [&] { return qRound(picture.transform().offsetY - top); };
  bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(by(), -5);
  bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
  EXPECT_EQ(by(), -405);
  bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
  EXPECT_EQ(by(), -400);
  bar->setValue(100000);
  EXPECT_EQ(by(), -(qRound(1000 * scale) - 400)) << "the last line stands at the inset";
  params->set(scan_key::RcPreview, {200, 60, 400, 160});
  EXPECT_EQ(preview::toPixels(picture.transform(), v().rcPreview).top, 0);
  params->set(scan_key::RcPreview, {200, 900, 400, 1000});
  EXPECT_EQ(preview::toPixels(picture.transform(), v().rcPreview).bottom, picture.height());
  const CRTfm scrolled = picture.transform();
  picture.fit();
  EXPECT_EQ(picture.transform(), scrolled) << "what is looked at stays";
  save("scrolled");
  picture.resize(614, 414);
  QResizeEvent resized(picture.size(), {});
  QApplication::sendEvent(&picture, &resized);
  EXPECT_NEAR(picture.transform().offsetY, 7 - 50 * picture.transform().scaleY, 1e-9) << "fitted anew";
}

TEST_F(PVStatic, ShowsThePictureWhereItWasScanned) {
  preview();
  params->quiet().rcPreview = {100, 50, 210, 105};
  const QImage image = picture.grab().toImage();
  const auto tone = [&](double x, double y) { return image.pixelColor(at(x, y) * image.devicePixelRatio()).red(); };
  EXPECT_EQ(tone(400, 240), 60);
  EXPECT_EQ(tone(400, 260), 200);
  EXPECT_EQ(tone(590, 440), 200);
  EXPECT_EQ(image.pixelColor(2, 2), picture.palette().color(QPalette::Base));
  params->quiet().rectValid = 0;
  params->set(scan_key::ScanType, kAreaAuto);
  EXPECT_EQ(picture.grab().toImage().pixelColor(image.width() / 4, image.height() / 2).red(), 192)
      << "the bed alone";
}

TEST_F(PVStatic, DashesRunOnlyWhileTheyAreSeen) {
  EXPECT_FALSE(picture.isAnimated());
  picture.show();
  EXPECT_FALSE(picture.isAnimated()) << "no frame";
  preview();
  EXPECT_TRUE(picture.isAnimated());
  StillStyle still;
  picture.setStyle(&still);
  EXPECT_FALSE(picture.isAnimated());
  picture.setStyle(nullptr);
  EXPECT_TRUE(picture.isAnimated());
  picture.hide();
  EXPECT_FALSE(picture.isAnimated());

  Event ticked(Event::Kind::Auto);
  std::vector<int> phases;
  DashClock clock([&](int phase) {
    phases.push_back(phase);
    if (phases.size() == 3) ticked.set();
  });
  clock.Start(0, 1);
  clock.Resume();
  ticked.wait();
  clock.Stop();
  phases.resize(3);
  EXPECT_EQ(phases, (std::vector{1, 2, 3}));
}

TEST_F(PVStatic, FramesAreSeenOnEveryGround) {
  const std::vector<PaintedFrame> frames{{{10, 10, 190, 190}, false, false}, {{10, 10, 190, 190}, true, false}};
  for (const QColor ground : {QColor(0, 0, 0), QColor(127, 127, 127), QColor(128, 128, 128), QColor(255, 255, 255),
                              QColor(0, 0, 255), QColor(255, 0, 0), QColor(255, 255, 0), QColor(255, 0, 255)}) {
    for (const std::size_t which : {0U, 1U}) {
      for (int phase = 1; phase <= 51; phase += 5) {
        QImage image(200, 200, QImage::Format_RGB32);
        image.fill(ground);
        QPainter painter(&image);
        paintFrames(painter, std::span(frames).subspan(which, 1), phase);
        painter.end();
        int seen = 0, longest = 0, gap = 0;
        for (int x = 14; x < 186; ++x) {
          const QColor now = image.pixelColor(x, 10);
          const int far = std::abs(now.red() - ground.red()) + std::abs(now.green() - ground.green()) +
                          std::abs(now.blue() - ground.blue());
          gap = far > 60 ? 0 : gap + 1;
          seen += far > 60;
          longest = std::max(longest, gap);
        }
        EXPECT_LE(longest, 20) << ground.name().toStdString() << ", frame " << which << ", phase " << phase;
        EXPECT_GE(seen, 20);
        EXPECT_EQ(image.pixelColor(100, 100), ground);
        EXPECT_NE(image.pixelColor(8, 8), ground) << "a handle";
      }
    }
  }
  QImage image(200, 200, QImage::Format_RGB32);
  image.fill(Qt::gray);
  QPainter painter(&image);
  paintFrames(painter, frames, 1);
  painter.end();
  EXPECT_NE(image.pixelColor(8, 8), QColor(Qt::gray)) << "handles on one another";
}

TEST_F(PVStatic, RulersStandBesideThePicture) {
  preview();
  picture.setRulersShown(true);
  auto* top = picture.findChild<QWidget*>("rulerTop");
  auto* left = picture.findChild<QWidget*>("rulerLeft");
  ASSERT_FALSE(top->isHidden() || left->isHidden());
  EXPECT_EQ(top->x(), left->width());
  EXPECT_EQ(preview::toPixels(picture.transform(), kArea).left, left->width() + 7);
  const QImage millimetres = top->grab().toImage();
  save("rulers-mm-centred");
  params->set(scan_key::Center, 0);
  EXPECT_NE(top->grab().toImage(), millimetres);
  save("rulers-mm");
  const QImage plain = top->grab().toImage();
  params->set(scan_key::Units, kInches);
  EXPECT_NE(top->grab().toImage(), plain);
  save("rulers-inch");
  params->set(scan_key::Units, kMillimetres);
  EXPECT_EQ(top->grab().toImage(), plain);
  hover({150, 120});
  EXPECT_NE(top->grab().toImage(), plain) << "marks the pointer";
  QTest::mousePress(top, Qt::LeftButton, {}, {50, 3});
  QTest::mouseRelease(top, Qt::LeftButton, {}, {50, 3});
  EXPECT_EQ(v().rcPreview, kFrame) << "a click on a ruler";
  picture.setRulersShown(false);
  EXPECT_TRUE(top->isHidden() && left->isHidden());
  EXPECT_EQ(preview::toPixels(picture.transform(), kArea).left, 7);
}

class NotedCursor final : public CKxUnknownImplStatic<ICursorReactor> {
 public:
  int SetCursor(int on) override { return states.push_back(on), 1; }
  std::vector<int> states;
};

TEST_F(PVStatic, CursorReactorsAreToldAndEnumerated) {
  NotedCursor cursor;
  ISetReactor* all = picture.cursorReactors();
  EXPECT_EQ(all->AddReactor(nullptr), 0);
  EXPECT_EQ(all->AddReactor(controller.Unit()), 0) << "no cursor reactor";
  EXPECT_EQ(all->AddReactor(&cursor), 1);
  EXPECT_EQ(all->AddReactor(&cursor), 0);
  picture.setRulersShown(true);
  picture.setRulersShown(false);
  QTest::mouseClick(&picture, Qt::LeftButton, {}, {50, 50});
  EXPECT_EQ(cursor.states, (std::vector{1, 0, 1}));
  const auto list = static_cast<CPVStatic::CSetCursorRector*>(all)->Enumerate();
  EXPECT_EQ(all->RemoveReactor(&cursor), 1);
  EXPECT_EQ(all->RemoveReactor(&cursor), 0);
  EXPECT_TRUE(list->Next()) << "the rulers'";
  const auto copy = list->Clone();
  EXPECT_EQ(list->Next().get(), &cursor);
  EXPECT_EQ(copy->Next().get(), &cursor);
  EXPECT_FALSE(list->Next());
  list->Reset();
  EXPECT_TRUE(list->Next());
}

}  // namespace
}  // namespace quillbay::test
