/// The sheet on the scanner's bed, found on pages of all colour spaces.
#include "host/document_crop.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host_fixture.h"
#include "quillbay/run_list.h"
#include "quillbay/scan_keys.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

constexpr double kTurn = std::numbers::pi / 180;

/// A sheet on a bed; pixels at 100 dpi.
struct Scene {
  const char* name;
  KxColorSpace code;
  int bed, paper;
  double degrees;  ///< the sheet's turn, clockwise
};
constexpr KxSize kPage{1100, 900};
constexpr double kHalfWidth = 330, kHalfHeight = 260, kCentreX = 520, kCentreY = 430;

int toneAt(const Scene& scene, int x, int y) {
  const double c = std::cos(scene.degrees * kTurn), s = std::sin(scene.degrees * kTurn);
  const double dx = x + 0.5 - kCentreX, dy = y + 0.5 - kCentreY;
  const double u = std::abs(dx * c + dy * s), v = std::abs(dy * c - dx * s);
  if (u > kHalfWidth || v > kHalfHeight) return scene.bed;
  const bool isLine = u < kHalfWidth - 80 && v < kHalfHeight - 60 && std::abs(std::remainder(v, 40)) < 2;
  return isLine ? 20 : scene.paper;
}

KxPtr<IRStor> draw(const Scene& scene) {
  auto page = new_IRStor(scene.code, kPage.width, kPage.height, 100);
  if (scene.code == KxColorSpace::Palette) {
    std::vector<KXRGBQUAD> palette(256);
    for (std::size_t i = 0; i < 256; ++i) {
      const auto tone = static_cast<std::uint8_t>(255 - i);  // an index is no tone
      palette[i] = {tone, tone, tone, 0};
    }
    KxPtr<IAccessContext>::adopt(page->GetAccessContext(1, 0)).as<IPalContext>()->SetPalette(palette.data(), 256);
  }
  const auto lines = KxPtr<IAccessContext>::adopt(page->GetAccessContext(1, 0));
  const auto bytes = static_cast<std::size_t>(std::max(1, bitsPerPixel(scene.code) / 8));
  for (int y = 0; y < kPage.height; ++y) {
    std::vector<std::uint8_t> row;
    std::vector<std::uint32_t> runs;
    for (int x = 0; x < kPage.width; ++x) {
      const int tone = toneAt(scene, x, y);
      row.insert(row.end(), bytes,
                 static_cast<std::uint8_t>(scene.code == KxColorSpace::Palette ? 255 - tone : tone));
      if (tone < 128) runs.insert(runs.end(), 2, static_cast<std::uint32_t>(x));
    }
    runs.insert(runs.end(), {RunEnd, 0});
    lines->WriteLine(y, 0, kPage.width, isRunList(scene.code) ? static_cast<const void*>(runs.data()) : row.data());
  }
  return page;
}

void expectBox(const KxRect& found, const Scene& scene, int tolerance) {
  const double c = std::cos(scene.degrees * kTurn), s = std::abs(std::sin(scene.degrees * kTurn));
  const double halfWidth = kHalfWidth * c + kHalfHeight * s, halfHeight = kHalfWidth * s + kHalfHeight * c;
  EXPECT_NEAR(found.left, kCentreX - halfWidth, tolerance);
  EXPECT_NEAR(found.right, kCentreX + halfWidth, tolerance);
  EXPECT_NEAR(found.top, kCentreY - halfHeight, tolerance);
  EXPECT_NEAR(found.bottom, kCentreY + halfHeight, tolerance);
}

TEST(DocumentCrop, ASheetIsFoundOnItsBed) {
  using enum KxColorSpace;
  const Scene scenes[] = {{"dark bed", Grey, 25, 240, 2},      {"colour", Bgr, 25, 240, -3},
                          {"four channels", Rgba, 40, 235, 1}, {"palette", Palette, 25, 240, 2},
                          {"bitonal", Bitonal, 0, 255, -2},    {"light bed", Grey, 195, 240, 3}};
  constexpr int kTolerance = 6;  // 1.5 mm
  for (const Scene& scene : scenes) {
    SCOPED_TRACE(scene.name);
    const auto page = draw(scene);
    KxRect box;
    ASSERT_EQ(findDocumentOn(page.get(), nullptr, &box), DocumentOnPage::Found);
    expectBox(box, scene, kTolerance);
    // A page that was cropped stays as it is.
    Scene straight = scene;
    straight.degrees = 0;
    const auto upright = draw(straight);
    ASSERT_EQ(findDocumentOn(upright.get(), nullptr, &box), DocumentOnPage::Found);
    const DocumentOnPage again = findDocumentOn(
        cropRaster(upright.get(), {box.left + 8, box.top + 8, box.right - 8, box.bottom - 8}, nullptr).get(),
        nullptr, &box);
    EXPECT_TRUE(again == DocumentOnPage::NoBed || again == DocumentOnPage::FillsPage) << static_cast<int>(again);
  }
}

TEST(DocumentCrop, AlsoBehindTheCornersThatStraighteningLeaves) {
  const Scene scene{"", KxColorSpace::Grey, 25, 240, 2.5};
  const auto straight = rotateRaster(draw(scene).get(), -scene.degrees * kTurn, nullptr);
  KxRect box;
  ASSERT_EQ(findDocumentOn(straight.get(), nullptr, &box), DocumentOnPage::Found);

  EXPECT_NEAR(box.right - box.left, 2 * kHalfWidth, 12);
  EXPECT_NEAR(box.bottom - box.top, 2 * kHalfHeight, 12);
}

TEST(DocumentCrop, PaperWithoutABedIsLeftAlone) {
  using enum KxColorSpace;
  for (const Scene& scene : {Scene{"grey", Grey, 240, 240, 0}, {"bitonal", Bitonal, 255, 255, 0}}) {
    KxRect box{1, 2, 3, 4};
    EXPECT_EQ(findDocumentOn(draw(scene).get(), nullptr, &box), DocumentOnPage::NoBed) << scene.name;
    EXPECT_EQ(box, (KxRect{1, 2, 3, 4})) << scene.name;
  }
  KxRect box;
  for (const KxSize size : {KxSize{900, 700}, {1, 1}, {8, 900}, {900, 2}}) {
    const auto blank = new_IRStor(Grey, size.width, size.height, 100);
    EXPECT_EQ(findDocumentOn(blank.get(), nullptr, &box), DocumentOnPage::Nothing)
        << size.width << 'x' << size.height;
  }
}

class DocumentScriptTest : public HostTest {
 protected:
  void SetUp() override { start(ClearPolicy::Keep, EventAnswer::No); }
  /// Runs one command on a page; what it reports is in `notes` and `misses`.
  KxPtr<IRStor> run(const KxPtr<IRStor>& page, const char* text) {
    const auto added = new_MemParam();
    added->SetValue(script_key::Raster, page.as<IKxUnknown>());
    EXPECT_EQ(sink->ExecCommand(script_key::AddRaster, added.get()), 0);
    const auto arguments = new_MemParam();
    arguments->SetValue(script_key::Text, text);
    EXPECT_EQ(sink->ExecCommand(script_key::Process, arguments.get()), 0);
    notes = paramString(arguments.get(), script_key::Notes);
    misses = paramInt(arguments.get(), script_key::Misses);
    return app->GetDocuments().back().pages.back();
  }
  std::string notes;
  int misses = 0;
};

TEST_F(DocumentScriptTest, CommandsReportWhatTheyFound) {
  struct Case {
    const char* command;
    Scene scene;
    const char* note;  // a part of it
    bool changes, misses;
  };
  const Case cases[] = {
      {"/Deskew", {"", KxColorSpace::Grey, 25, 240, 2}, "turned anticlockwise by ", true, false},
      {"/Deskew", {"", KxColorSpace::Bitonal, 0, 255, -1.5}, "turned clockwise by 1", true, false},
      {"/Deskew", {"", KxColorSpace::Grey, 25, 240, 0.02}, "straight", false, false},
      {"/CropToDocument", {"", KxColorSpace::Grey, 25, 240, 2}, "", true, false},
      {"/CropToDocument", {"", KxColorSpace::Grey, 240, 240, 2}, "No scanner bed", false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.command << ' ' << c.scene.degrees);
    const auto page = draw(c.scene);
    const auto result = run(page, c.command);
    EXPECT_EQ(result.get() != page.get(), c.changes);
    EXPECT_NE(notes.find(c.note), std::string::npos) << notes;
    EXPECT_EQ(misses > 0, c.misses);
    EXPECT_EQ(result->GetColorSpace(), c.scene.code);
    EXPECT_EQ(result->GetResolution(), 100U);
  }
  run(new_IRStor(KxColorSpace::Grey, 900, 700, 100), "/Deskew\n/CropToDocument");
  EXPECT_EQ(misses, 2);
  EXPECT_EQ(std::count(notes.begin(), notes.end(), '\n'), 1) << notes;
}

}  // namespace
}  // namespace quillbay
