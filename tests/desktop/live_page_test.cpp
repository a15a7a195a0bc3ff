#include "view/live_page.h"

#include <algorithm>

#include "desktop_fixture.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"
#include "view/document_view_layout.h"

namespace desktop {
namespace {

class LivePageTest : public DesktopTest {
 protected:
  /// A page that comes slowly enough to be looked at.
  void openSlow(const std::string& more = {}) {
    open("sim:drawing=map,size=254x127,speed=400" + more);
    smallPages();
    QObject::connect(&window->livePage(), &LivePage::grew, window.get(), [this] {
      arrived.push_back(window->livePage().arrivedMm());
      const QImage shown = view().grab().toImage();
      if (arrived.size() == 2) early = shown;
      if (arrived.size() == 2) earlyTransform = transform();
      if (std::exchange(zoomNow, false)) view().zoomBy(3);
    });
    QObject::connect(&window->livePage(), &LivePage::vanished, window.get(), [this] { ++vanished; });
  }
  void toFiles() {
    ASSERT_TRUE(window->setMode(quillbay::ScanToFile));
    smallPages();
    set("m_Dir", dir.path());
    set("m_Mask", "page<COUNTER>");
  }
  [[nodiscard]] DocumentView& view() { return window->view(); }
  [[nodiscard]] quillbay::CRTfm transform() {
    return quillbay::query<quillbay::IKxViewPort>(view().kxView())->Transform();
  }
  std::vector<double> arrived;
  QImage early;
  quillbay::CRTfm earlyTransform{};
  bool zoomNow = false;
  int vanished = 0;
};

TEST_F(LivePageTest, GrowsInTheViewAndBecomesThePage) {
  openSlow();
  ASSERT_TRUE(scan());
  ASSERT_GT(arrived.size(), 3U);
  EXPECT_TRUE(std::is_sorted(arrived.begin(), arrived.end()));
  EXPECT_LT(arrived[1], 120);
  EXPECT_EQ(vanished, 0);
  ASSERT_EQ(pages().size(), 1U);
  const QImage late = view().grab().toImage();
  // The lower part came later, at the very same place.
  const QRect low(late.width() / 4, late.height() * 6 / 10, late.width() / 2, late.height() / 10);
  EXPECT_NE(late.copy(low), early.copy(low));
  EXPECT_EQ(transform(), earlyTransform);
  ASSERT_TRUE(waitFor([&] { return !pages()[0].overview.isNull(); }));
  EXPECT_EQ(transform(), earlyTransform);
  EXPECT_EQ(view().grab().toImage(), late) << "the page's own raster took over";
}

TEST_F(LivePageTest, KeepsThePlaceThatThePersonLooksAt) {
  openSlow();
  quillbay::CRTfm zoomed{};
  QObject::connect(&view(), &DocumentView::zoomChanged, window.get(), [&] { zoomed = transform(); });
  zoomNow = true;
  ASSERT_TRUE(scan());
  const auto after = transform();
  EXPECT_EQ(after, zoomed);
  ASSERT_TRUE(scan());  // a new run is followed again
  EXPECT_NE(transform(), after);

  // Pages that come and go, and another size of the window, leave a place where it is.
  view().zoomBy(2);
  const double scale = transform().scaleX;
  const auto* surface = view().surface();
  const auto port = quillbay::query<quillbay::IKxViewPort>(view().kxView());
  const auto middle = [&] { return port->ToDocument(surface->width() / 2.0, surface->height() / 2.0); };
  const auto before = middle();
  window->document().add(quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 500, 400, 100), "another");
  window->resize(1100, 700);
  QCoreApplication::processEvents();
  EXPECT_EQ(transform().scaleX, scale);
  EXPECT_NEAR(middle().x, before.x, 1e-6);
  EXPECT_NEAR(middle().y, before.y, 1e-6);
  view().fitAll();
  window->resize(1366, 728);
  QCoreApplication::processEvents();
  const auto visible = port->GetVisibleArea();
  quillbay::tagRRECT all;
  ASSERT_EQ(port->GetExtents(&all), 1);
  EXPECT_LE(visible.left, all.left);
  EXPECT_GE(visible.right, all.right);
}

TEST_F(LivePageTest, VanishesWhenItIsCancelledOrFails) {
  openSlow(",jam-after=100");
  view().fitAll();
  ASSERT_TRUE(scan());
  EXPECT_EQ(vanished, 1);
  EXPECT_TRUE(pages().empty());
  EXPECT_FALSE(window->livePage().isRunning());
  arrived.clear();
  const auto link = QObject::connect(&window->livePage(), &LivePage::grew, window.get(), [this] {
    if (arrived.size() == 2) control()->Stop(quillbay::StopKind::Now);
  });
  ASSERT_TRUE(scan());
  QObject::disconnect(link);
  EXPECT_EQ(vanished, 2);
  EXPECT_TRUE(pages().empty());
}

TEST_F(LivePageTest, FilesThatWereScannedJoinTheDocumentAndTheLastOnesStay) {
  open();
  window->settings().setNumber("KeepScannedPages", 2);
  const int opened =
      window->document().add(quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 300, 200, 100), "unsaved");
  toFiles();
  std::vector<int> ids;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(scan());
    const Page& page = pages().back();
    ids.push_back(page.id);
    EXPECT_TRUE(page.isSaved());
    ASSERT_TRUE(QFile::exists(page.file())) << page.file().toStdString();
    const auto file = quillbay::LoadRasterFile(page.file().toStdString(), 0, nullptr);
    EXPECT_EQ(pixels(page.raster.get()), pixels(file.get())) << "the picture is the file's";
  }
  ASSERT_EQ(pages().size(), 3U);
  EXPECT_EQ(window->document().page(ids[0]), nullptr);
  EXPECT_NE(window->document().page(opened), nullptr) << "what is in no file is never let go";
  EXPECT_EQ(window->document().unsaved(), std::vector<int>{opened});

  window->settings().setNumber("KeepScannedMiB", 0);  // the last one stays in any case
  ASSERT_TRUE(scan());
  EXPECT_EQ(pages().size(), 2U);
  window->settings().setNumber("KeepScannedPages", 0);
  ASSERT_TRUE(scan());
  EXPECT_EQ(pages().size(), 2U);
  EXPECT_EQ(QDir(QString::fromStdString(dir.path())).entryList({"page*.tif"}).size(), 5);
}

TEST_F(LivePageTest, NothingIsSavedOverAFileThatIsBeingScanned) {
  open();
  const QString file = QString::fromStdString(dir.file("sheet.tif"));
  quillbay::SaveRasterFile(nullptr, {quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 300, 200, 100)},
                           file.toStdString(), false, nullptr);
  window->openFiles({file});
  ASSERT_EQ(pages().size(), 1U);
  toFiles();
  set(quillbay::key::Mask, "sheet");
  set(quillbay::key::FileFate, int{quillbay::kFateOverwrite});
  set(quillbay::key::UseAutoCounter, 0);
  window->settings().setNumber("KeepScannedPages", 0);
  bool refused = false;
  QObject::connect(&window->panelDock(), &PanelDock::started, window.get(), [&] {
    saveName = file;
    refused = !window->saveCurrentAs();
  });
  ASSERT_TRUE(scan());
  EXPECT_TRUE(refused && messages.join(' ').contains("is being scanned")) << messages.join(' ').toStdString();
  ASSERT_FALSE(pages().empty());
  EXPECT_EQ(window->document().unsaved(), std::vector<int>{pages()[0].id}) << "the file holds another page now";
}

TEST(PageRows, FillAWindowWithoutOverlaps) {
  std::vector<QSizeF> mixed;
  for (int i = 0; i < 60; ++i) mixed.emplace_back(i % 7 == 0 ? QSizeF(1189, 841) : QSizeF(420, 297));
  const std::vector<std::vector<QSizeF>> cases{
      std::vector<QSizeF>(60, {841, 594}), mixed, {{900, 50000}, {297, 420}, {297, 420}, {210, 297}}};
  for (const auto& pages : cases) {
    for (const double aspect : {0.5, 1.6, 3.0}) {
      const auto places = layInRows(pages, bestRowWidth(pages, aspect));
      for (std::size_t i = 0; i < places.size(); ++i) {
        EXPECT_EQ(places[i].size(), pages[i]);
        for (std::size_t k = 0; k < i; ++k) EXPECT_FALSE(places[i].intersects(places[k])) << i << " " << k;
      }
      const QRectF all = boundsOf(places);
      const double side = std::max(all.width(), all.height() * aspect);  // of the window that holds them
      // No other row width shows them much larger.
      for (double width = pages[0].width(); width < 40000; width *= 1.07) {
        const QRectF other = boundsOf(layInRows(pages, width));
        EXPECT_LT(side, 1.25 * std::max(other.width(), other.height() * aspect)) << pages.size() << " " << width;
      }
    }
  }
  const std::vector<QSizeF> few(3, {400, 300});
  EXPECT_EQ(boundsOf(layInRows(few, bestRowWidth(few, 0.3))).height(), 300) << "a few pages lie beside each other";
}

}  // namespace
}  // namespace desktop
