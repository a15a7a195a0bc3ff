#include "preview/view_sync.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <cstdlib>
#include <vector>

#include "preview/first_frame.h"
#include "preview/info_text.h"
#include "preview/view_places.h"
#include "stores/preview_stor.h"
#include "stores/scan_buffer.h"
#include "stores/simple_stor.h"
#include "stores/view_stor.h"
#include "view/view_transform.h"

namespace quillbay::test {
namespace {

TEST(ViewPlaces, TheFirstFrameHasTheViewsAspect) {
  const struct {
    tagRRECT area, shown, frame;
  } cases[] = {
      {{0, 0, 300, 400}, {0, 0, 400, 100}, {75, 0, 225, 55}},   // 37.5 is below the least height
      {{10, 20, 110, 60}, {0, 0, 100, 100}, {5, 20, 115, 75}},  // wider than the area
      {{0, 0, 600, 400}, {-5, -5, 95, 95}, {150, 0, 450, 300}},
      {{0, 0, 600, 400}, {0, 0, 0, 0}, {150, 0, 450, 75}},  // a view of no size
  };
  for (const auto& c : cases) {
    EXPECT_EQ(firstFrame(c.area, places::aspectOf(c.shown), 110, 55), c.frame) << c.frame.left;
  }
  EXPECT_EQ(places::onBed({-5, -1, 105, 54}, 914), (tagRRECT{0, 0, 110, 55}));
  EXPECT_EQ(places::onBed({900, 10, 1010, 65}, 914), (tagRRECT{804, 10, 914, 65}));
  EXPECT_EQ(places::onBed({0, 0, 110, 55}, 80), (tagRRECT{0, 0, 80, 55}));
}

TEST(ViewPlaces, ARasterHangsFromTheUpperEdgeOfItsPlace) {
  const CRTfm t = places::across({0, 0, 1000, 300}, {100, 50, 300, 150});
  EXPECT_EQ(t, (CRTfm{0.2, -0.2, 0, 100, 150}));
  EXPECT_EQ(view::toClient(t, tagRPOINT{1000, 500}), (tagRPOINT{300, 50}));
  EXPECT_EQ(view::toClient(places::across({10, 20, 110, 80}, {0, 0, 50, 10}), tagRPOINT{10, 20}),
            (tagRPOINT{0, 10}));
}

TEST(ViewPlaces, OnlyWhatIsSeenIsDrawn) {
  const CRTfm up{2, -2, 0, 0, 0};  // two pixels a millimetre; the raster: ten a millimetre
  const CRTfm raster = places::across({0, 0, 1000, 3000}, {0, 0, 100, 0});
  const struct {
    double ratio;
    tagRRECT clip;
    KxRect pixels;
    CRDirectTfm tfm;
  } cases[] = {
      {1, {0, 0, 400, 300}, {0, 0, 200, 300}, {0.2, 0.2, 0, 0}},
      {2, {0, 0, 400, 300}, {0, 0, 400, 600}, {0.4, 0.4, 0, 0}},
      {1, {50, 40, 60, 45}, {50, 40, 60, 45}, {0.2, 0.2, -50, -40}},
      {1, {250, 0, 300, 10}, {0, 0, 0, 0}, {0.2, 0.2, 0, 0}},
      {1, {0, 590, 10, 700}, {0, 590, 10, 600}, {0.2, 0.2, 0, -590}},
  };
  for (const auto& c : cases) {
    const auto part = places::devicePart(raster, up, {0, 0, 1000, 3000}, c.clip, c.ratio);
    EXPECT_EQ(part.pixels, c.pixels) << c.clip.left;
    EXPECT_EQ(part.tfm, c.tfm) << c.clip.left;
  }
  EXPECT_EQ(places::outline({1.5, -1.5, 0, 0, 100}, {10, 20, 30, 40}), (KxRect{15, 40, 46, 71}));
  EXPECT_EQ(places::outline({1e6, -1e6, 0, 0, 0}, {-1e6, -1e6, 1e6, 1e6}).right, (1 << 22) + 1) << "no overflow";
}

TEST(ViewPlaces, ThePictureTakesHalfTheWidthAtMost) {
  EXPECT_EQ(places::picturePlace({5, 5, 405, 305}, {400, 300}), (tagRRECT{7, 5, 207, 155}));
  EXPECT_EQ(places::picturePlace({5, 5, 405, 65}, {100, 100}), (tagRRECT{7, 5, 57, 55})) << "a low view";
  EXPECT_EQ(places::picturePlace({5, 5, 10, 12}, {100, 100}), tagRRECT{}) << "no room";
  EXPECT_EQ(places::picturePlace({5, 5, 405, 305}, {0, 10}), tagRRECT{});
}

TEST(InfoText, LinesHaveNamesAndValues) {
  const std::vector<SummaryLine> expected{
      {"/srv/maps", {}}, {"Mode:", "RGB"}, {"Detected:A4  Portrait", {}}, {"or", "A3  Landscape"}, {"DPI:", "200"}};
  EXPECT_EQ(summaryLines("/srv/maps\rMode: \tRGB\rDetected:A4  Portrait\n\ror   \tA3  Landscape\n\rDPI: \t200\r\r"),
            expected);
  EXPECT_TRUE(summaryLines("\r\n\r").empty());
}

/// A grey stripe of one tone.
KxPtr<IScanBuffer> stripe(std::int32_t width, std::int32_t lines, std::uint8_t tone) {
  const auto buffer =
      KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(254, {width, lines}, KxColorSpace::Grey, nullptr));
  const std::vector<std::uint8_t> line(static_cast<std::size_t>(width), tone);
  for (std::int32_t i = 0; i < lines; ++i) buffer->AddLine(0, line.data());
  return KxPtr<IScanBuffer>::share(buffer.get());
}

/// What a document of the host's takes of a view.
class Document final : public TSinkImpl<IKxViewPaintReactor, tagRRECT> {
 public:
  using TSinkImpl::TSinkImpl;
  int ActiveChanged(IKxViewPort*, int) override { return 1; }
  int Paint(IKxViewPort*, IKxViewDC*, int) override { return 1; }
  int Painted(IKxViewPort*) override { return 1; }
  int Closing(IKxViewPort*) override { return 1; }
  int GetArea(IKxViewPort*, tagRRECT* out) override { return *out = *owner(), 1; }
};

/// A view that is no port: who paints learns of the port by being called.
class PlainView final : public CKxUnknownImpl<IKxView> {
 public:
  explicit PlainView(KxPtr<IKxViewPort> port) : m_port(std::move(port)) {}
  int QueryInterface(const std::type_info& wanted, void** out) override {
    const bool isPoint = wanted == typeid(IConnectionPoint<IKxViewPaintReactor>) ||
                         wanted == typeid(IConnectionPoint<IKxViewZoomSink>);
    return isPoint ? m_port->QueryInterface(wanted, out) : CKxUnknownImpl::QueryInterface(wanted, out);
  }
  int Invalidate() override { return m_port->Invalidate(nullptr); }
  QWidget* GetWindow() override { return m_port->GetWindow(); }

 private:
  KxPtr<IKxViewPort> m_port;
};

class ViewSync : public testing::Test {
 protected:
  ViewSync() {
    host.resize(400, 200);
    port = new_ViewPort(nullptr, &host);
    port->GetWindow()->resize(400, 200);
    host.show();
    params->quiet().currMode = kModeGrey;
  }
  [[nodiscard]] KxPtr<CViewSync> newSync() {
    return KxPtr<CViewSync>::adopt(new CViewSync(params.get(), [this] { return scanning; }));
  }
  void attach() {
    sync->Attach(0, port.as<IKxView>().get());
    sync->SetArea({0, 0, 400, 600}, 0);
  }
  [[nodiscard]] QImage shown() { return port->GetWindow()->grab().toImage(); }
  /// Of a client pixel.
  [[nodiscard]] static QColor colorAt(const QImage& image, double x, double y) {
    const double ratio = image.devicePixelRatio();
    return image.pixelColor(static_cast<int>(x * ratio), static_cast<int>(y * ratio));
  }
  /// Neither a picture nor the view's ground.
  [[nodiscard]] bool showsPanel() {
    const QImage image = shown();
    return image.pixelColor(1, 1).blue() < 80 && image.pixelColor(image.width() - 1, 1).blue() > 160;
  }
  [[nodiscard]] int toneAt(const tagRPOINT& mm) {
    const tagRPOINT p = port->ToClient(mm);
    return colorAt(shown(), p.x, p.y).red();
  }
  const KxPtr<CSharedScanParams> params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  QWidget host;
  KxPtr<IKxViewPort> port;
  bool scanning = false;
  KxPtr<CViewSync> sync = newSync();
};

TEST_F(ViewSync, ThePreviewOfAPartLiesInTheFrameThatTheViewShows) {
  attach();
  EXPECT_EQ(params->values().rcPreview, (tagRRECT{100, 0, 300, 100})) << "the view is twice as wide as high";
  ASSERT_TRUE(showsPanel());
  params->viewStore->AddStripe(stripe(2000, 500, 90).get());
  EXPECT_EQ(toneAt({200, 75}), 90) << "half of it has come: the upper one";
  EXPECT_NE(toneAt({200, 25}), 90);
  params->viewStore->AddStripe(stripe(2000, 500, 160).get());
  EXPECT_EQ(toneAt({200, 25}), 160);
  EXPECT_NEAR(sync->transform().scaleX, 0.1, 1e-12);
  EXPECT_NEAR(sync->transform().scaleY, -0.1, 1e-12);
  EXPECT_NEAR(sync->transform().offsetY, 100, 1e-9);
  // The edge of the frame is inverted.
  const KxRect edge = places::outline(port->Transform(), params->values().rcPreview);
  const QImage image = shown();
  const double middle = (edge.left + edge.right) / 2.0;
  EXPECT_NE(colorAt(image, middle, edge.top), colorAt(image, middle, edge.top + 2));
  // Another frame: the view goes there, without a step back.
  params->quiet().rcPreview = {0, 300, 400, 500};
  sync->frameChanged();
  EXPECT_NEAR(port->GetVisibleArea().width(), 410, 15);
  EXPECT_EQ(toneAt({200, 450}), 90);
  EXPECT_EQ(port->HasBack(), 0);
}

TEST_F(ViewSync, APageThatIsScannedFillsTheViewsWidthAtAnyZoom) {
  attach();
  scanning = true;
  params->viewStore = KxPtr<ISStripStor>::adopt(
      new CViewStor(CViewStor::Raster::None, KxPtr<CPreviewStor>::adopt(new CPreviewStor(800))));
  params->viewStore->AddStripe(stripe(2000, 400, 77).get());
  for (const double zoom : {1.0, 0.4, 9.0}) {
    port.as<ICmdProcess>()->ZoomByFactor(zoom, {50, 50});
    const QImage image = shown();
    EXPECT_EQ(colorAt(image, 1, 1).red(), 77) << zoom;
    EXPECT_EQ(colorAt(image, 398, 75).red(), 77) << zoom;
    EXPECT_NE(colorAt(image, 200, 90).red(), 77) << "below the last line: " << zoom;
  }
  tagRRECT area;
  EXPECT_EQ(sync->GetArea(&area), 1);
  EXPECT_EQ(area, port->GetVisibleArea());
  params->viewStore->Reset();
  scanning = false;
  EXPECT_TRUE(showsPanel());
}

TEST_F(ViewSync, AViewWithADocumentIsLeftAlone) {
  attach();
  params->viewStore->AddStripe(stripe(2000, 1000, 90).get());
  tagRRECT page{0, -50, 70, 0}, extents;
  Document document(&page);
  document.Subscribe(port.as<IConnectionPoint<IKxViewPaintReactor>>().get());
  port->ZoomToExtents();
  ASSERT_EQ(port->GetExtents(&extents), 1);
  EXPECT_EQ(extents, page) << "the frame does not count";
  const CRTfm before = port->Transform();
  params->quiet().rcPreview = {0, 300, 400, 500};
  sync->frameChanged();
  sync->SetArea({0, 0, 300, 300}, 0);
  EXPECT_EQ(port->Transform(), before);
  EXPECT_FALSE(sync->isSeen());
  EXPECT_FALSE(showsPanel());
  EXPECT_EQ(shown().pixelColor(200, 100), host.palette().color(QPalette::Window));
  document.Unsubscribe();
  EXPECT_TRUE(sync->isSeen());
}

TEST_F(ViewSync, HostsSwitchItAndCloseTheirViews) {
  EXPECT_EQ(sync->Enable(1), CViewSync::kNoView);
  const tagRRECT before = params->values().rcPreview;
  sync->SetArea({0, 0, 300, 300}, 0);
  EXPECT_EQ(params->values().rcPreview, before);
  EXPECT_FALSE(sync->visibleArea());
  attach();
  EXPECT_TRUE(sync->visibleArea());
  EXPECT_EQ(sync->Enable(0), 1);
  EXPECT_FALSE(showsPanel());
  EXPECT_EQ(sync->Enable(1), 1);
  EXPECT_TRUE(showsPanel());
  delete port->GetWindow();
  EXPECT_FALSE(sync->hasView());
  EXPECT_EQ(sync->Enable(1), CViewSync::kNoView);
  sync->SetArea({0, 0, 300, 300}, 0);
  sync->Detach();
}

TEST_F(ViewSync, AViewThatIsNoPortTellsItWhenItPaints) {
  const auto plain = KxPtr<PlainView>::adopt(new PlainView(port));
  sync->Attach(0, plain.get());
  sync->SetArea({0, 0, 600, 600}, 0);
  EXPECT_EQ(params->values().rcPreview, (tagRRECT{150, 0, 450, 75})) << "the usual aspect";
  EXPECT_TRUE(showsPanel());
  sync->SetArea({0, 0, 600, 600}, 0);
  EXPECT_EQ(params->values().rcPreview, (tagRRECT{150, 0, 450, 150})) << "the view's";
}

TEST_F(ViewSync, OfTwoPanelsOnePaintsAndTheOtherOneFollowsIt) {
  attach();
  const auto second = newSync();
  second->Attach(0, port.as<IKxView>().get());
  second->SetArea({0, 0, 400, 600}, 0);
  params->viewStore->AddStripe(stripe(2000, 1000, 90).get());
  const QImage both = shown();
  EXPECT_FALSE(second->isSeen());
  sync->Detach();
  EXPECT_EQ(shown(), both) << "the inverted edge is drawn once";
  EXPECT_TRUE(second->isSeen());
  second->Detach();
  EXPECT_FALSE(showsPanel());
}

TEST_F(ViewSync, EveryDestinationHasItsPanelInAViewOfAnySize) {
  params->quiet().summary =
      "The files go to the folder /srv/archive/surveys of the eighteenth century\rPreset: \tLarge maps\rMode: \tBW "
      "Threshold\rPaper: \tSomething of eine sehr lange Papierbezeichnung\rDPI: \t400\r";
  const auto picture = std::make_shared<Picture>();
  *picture = {300, 3000, 1200, std::vector<std::uint8_t>(1200 * 3000, 0xC0)};
  attach();
  std::vector<QImage> titles;
  for (int mode = 0; mode < 4; ++mode) {
    params->quiet().mode = mode;
    for (const int kind : {kModeBwThreshold, kModeGrey, kModePalette, kModeRgb}) {
      params->quiet().currMode = kind;
      for (const QSize size : {QSize(1, 1), QSize(40, 20), QSize(160, 160), QSize(700, 90), QSize(900, 600)}) {
        port->GetWindow()->resize(size);
        const QImage image = shown();
        ASSERT_EQ(image.size(), size * image.devicePixelRatio());
        for (int x = 0; size == QSize(160, 160) && x < 160; ++x)
          ASSERT_LT(colorAt(image, x, 153).red(), 128) << "a line of the summary is cut";
        if (const char* folder = std::getenv("QUILLBAY_PICTURES"))
          image.save(QString("%1/panel-%2-%3-%4.png").arg(folder).arg(mode).arg(kind).arg(size.width()));
        if (kind == kModeRgb && size.width() == 900) titles.push_back(image);
      }
    }
  }
  for (std::size_t i = 1; i < titles.size(); ++i) EXPECT_NE(titles[i], titles[i - 1]);
  params->pictures[kClassColor] = picture;  // what a scan left
  EXPECT_NE(shown(), titles.back());
  params->pictures[kClassColor] = nullptr;
}

}  // namespace
}  // namespace quillbay::test
