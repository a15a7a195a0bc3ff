#include <gtest/gtest.h>

#include "quillbay/errors.h"
#include "raster_tools.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

constexpr KxColorSpace kStripCodes[] = {Four, Palette, Grey, Rgba, Bgra, Rgb, Bgr};

TEST(RasterLines, StripesComeBackAsTheyWere) {
  for (const KxColorSpace code : kStripCodes) {
    for (const std::int32_t width : {1, 2, 7, 1001}) {
      for (const Shape shape : {Shape::LineByLine, Shape::Packed, Shape::Padded}) {
        SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(code) << " width " << width << " shape "
                                        << static_cast<int>(shape));
        const std::size_t bytes = fixedLineBytes(code, width);
        KxPtr<IRStor> raster;
        std::int32_t line = 0;
        for (const std::int32_t lines : {1, 5, 64, 33}) {
          const auto stripe = newStripe(code, width, shape);
          for (std::int32_t i = 0; i < lines; ++i) stripe->add(patternLine(bytes, line + i));
          const int done = raster ? stripe->AddToRaster(line, raster.get()) : stripe->CreateRaster(raster.put());
          ASSERT_EQ(done, 1);
          line += lines;
        }
        ASSERT_EQ(raster->GetSize(), (KxSize{width, line}));
        EXPECT_EQ(raster->GetColorSpace(), code);
        EXPECT_EQ(raster->GetResolution(), 300U);
        EXPECT_EQ(raster->GetByteCount(), static_cast<std::int64_t>(bytes) * line);
        for (std::int32_t i = 0; i < line; ++i) ASSERT_EQ(readLine(*raster, i), patternLine(bytes, i)) << i;
      }
    }
  }
}

TEST(RasterLines, PartsOfLinesAreReadAndWritten) {
  struct Case {
    KxColorSpace code;
    std::int32_t width;
    Bytes line;
    std::int32_t x, count;
    Bytes read;     // what is read there
    Bytes written;  // what is written there
    Bytes after;    // the line then
  };
  const Case cases[] = {
      {Grey, 5, {1, 2, 3, 4, 5}, 1, 3, {2, 3, 4}, {9, 8, 7}, {1, 9, 8, 7, 5}},
      {Bgr, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 2, 1, {7, 8, 9}, {0, 0, 0}, {1, 2, 3, 4, 5, 6, 0, 0, 0}},
      {Rgba, 2, {1, 2, 3, 4, 5, 6, 7, 8}, 1, 1, {5, 6, 7, 8}, {0, 0, 0, 1}, {1, 2, 3, 4, 0, 0, 0, 1}},
      {Four, 7, {0x12, 0x34, 0x56}, 2, 4, {0x34, 0x56}, {0xAB, 0xCD}, {0x12, 0xAB, 0xCD}},
      {Four, 7, {0x12, 0x34, 0x56}, 1, 4, {0x23, 0x45}, {0xAB, 0xCD}, {0x1A, 0xBC, 0xD6}},
      {Four, 7, {0x12, 0x34, 0x56}, 3, 3, {0x45}, {0xAB}, {0x12, 0x3A, 0xB6}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(c.code) << " x " << c.x << " count " << c.count);
    const auto raster = new_IRStor(c.code, c.width, 2, 300);
    const auto context = contextOf(*raster, 1);
    ASSERT_EQ(context->WriteLine(1, 0, c.width, c.line.data()), 1);
    Bytes part(c.read.size());
    ASSERT_EQ(context->ReadLine(1, c.x, c.count, part.data()), 1);
    EXPECT_EQ(part, c.read);
    ASSERT_EQ(context->WriteLine(1, c.x, c.count, c.written.data()), 1);
    EXPECT_EQ(readLine(*raster, 1), c.after);
    EXPECT_EQ(readLine(*raster, 0), Bytes(c.line.size(), c.code == Palette ? 0 : 255));
  }
}

TEST(RasterLines, PlacesOutsideAreRefused) {
  for (const KxColorSpace code : {Grey, Bitonal}) {
    const auto raster = new_IRStor(code, 10, 3, 300);
    const auto writer = contextOf(*raster, 1);
    const auto reader = contextOf(*raster, 0);
    Runs buffer(8, RunEnd);
    for (const std::int32_t line : {-1, 3, 1000000}) {
      EXPECT_EQ(writer->WriteLine(line, 0, 10, buffer.data()), 0) << line;
      EXPECT_EQ(writer->ReadLine(line, 0, 10, buffer.data()), 0) << line;
    }
    EXPECT_EQ(reader->WriteLine(0, 0, 10, buffer.data()), 0) << "a reading context writes";
    EXPECT_EQ(raster->IsModified(), 0);
    if (code == Bitonal) continue;
    EXPECT_EQ(writer->WriteLine(0, 1, 10, buffer.data()), 0);
    EXPECT_EQ(writer->ReadLine(0, -1, 2, buffer.data()), 0);
    EXPECT_EQ(writer->ReadLine(0, 2, -1, buffer.data()), 0);
  }
  EXPECT_THROW(new_IRStor(Grey, -1, 0, 300), CXIFaceException);
  EXPECT_THROW(new_IRStor(Rgb, 1, -1, 300), CXIFaceException);
  EXPECT_THROW(new_IRStor(static_cast<KxColorSpace>(7), 1, 1, 300), CXIFaceException);
}

TEST(RasterLines, LinesAreAddedBlankAnywhere) {
  for (const KxColorSpace code : {Grey, Rgb, Four}) {
    const auto raster = new_IRStor(code, 6, 0, 300);
    const auto growing = raster.as<IRStorAddStripe>();
    const std::size_t bytes = fixedLineBytes(code, 6);
    const Bytes white(bytes, 255);
    ASSERT_EQ(growing->AddLines(0, 0, 3), 1);
    for (std::int32_t i = 0; i < 3; ++i) {
      EXPECT_EQ(readLine(*raster, i), white);
      contextOf(*raster, 1)->WriteLine(i, 0, 6, patternLine(bytes, i).data());
    }
    ASSERT_EQ(growing->AddLines(0, 1, 2), 1);
    const Bytes expected[] = {patternLine(bytes, 0), white, white, patternLine(bytes, 1), patternLine(bytes, 2)};
    ASSERT_EQ(raster->GetHeight(), 5);
    for (std::int32_t i = 0; i < 5; ++i) EXPECT_EQ(readLine(*raster, i), expected[i]) << i;
    EXPECT_EQ(growing->AddLines(0, 6, 1), 0);
    EXPECT_EQ(growing->AddLines(1, 5, 1), 0);
    EXPECT_EQ(growing->AddLines(0, 5, -1), 0);
    EXPECT_EQ(growing->AddLines(0, 5, INT32_MAX - 4), 0);
    EXPECT_EQ(raster->GetHeight(), 5);
  }
}

TEST(RasterLines, BlankLinesOfAPaletteAreItsNearestToWhite) {
  std::vector<KXRGBQUAD> palette(256);
  palette[3] = {250, 250, 240, 0};
  palette[9] = {255, 200, 200, 0};
  const auto raster = new_IRStor(Palette, 4, 2, 300);  // has lines before it has a palette
  ASSERT_EQ(raster.as<IPalContext>()->SetPalette(palette.data(), 256), 1);
  EXPECT_EQ(readLine(*raster, 1), Bytes(4, 3));
  const Bytes dark{0, 0, 0, 0};
  contextOf(*raster, 1)->WriteLine(0, 0, 4, dark.data());
  palette[9] = {255, 255, 255, 0};
  ASSERT_EQ(raster.as<IPalContext>()->SetPalette(palette.data(), 256), 1);
  ASSERT_EQ(raster.as<IRStorAddStripe>()->AddLines(0, 2, 1), 1);
  EXPECT_EQ(readLine(*raster, 0), dark);
  EXPECT_EQ(readLine(*raster, 2), Bytes(4, 9));
}

TEST(RasterLines, AStripeBringsItsPaletteOnlyInCode8) {
  for (const KxColorSpace code : {Palette, Grey}) {
    const auto stripe = newStripe(code, 2);
    stripe->palette()[1] = {1, 2, 3, 0};
    stripe->add(Bytes{1, 1});
    KxPtr<IRStor> raster;
    ASSERT_EQ(stripe->CreateRaster(raster.put()), 1);
    KXRGBQUAD got[256];
    ASSERT_EQ(contextOf(*raster)->GetPalette(got), 256);
    EXPECT_EQ(got[1], (code == Palette ? KXRGBQUAD{1, 2, 3, 0} : KXRGBQUAD{1, 1, 1, 0}));
  }
}

TEST(RasterLines, StripesThatDoNotFit) {
  const auto grey = newStripe(Grey, 3);
  grey->add(Bytes{1, 2, 3});
  grey->add(Bytes{4, 5, 6});
  const auto colour = new_IRStor(Rgb, 3, 1, 300);
  EXPECT_EQ(ScanBuffer_AddToRaster(grey.get(), 1, colour.get()), 0);
  EXPECT_EQ(colour->GetHeight(), 1);

  const auto wide = new_IRStor(Grey, 5, 1, 300);
  EXPECT_EQ(ScanBuffer_AddToRaster(grey.get(), 2, wide.get()), 0) << "beyond the end";
  EXPECT_EQ(ScanBuffer_AddToRaster(grey.get(), 1, wide.get()), 1);
  EXPECT_EQ(readLine(*wide, 1), (Bytes{1, 2, 3, 255, 255}));
  EXPECT_EQ(ScanBuffer_AddToRaster(grey.get(), 0, wide.get()), 1) << "over lines that are there; it still grows";
  EXPECT_EQ(wide->GetHeight(), 5);
  EXPECT_EQ(readLine(*wide, 1), (Bytes{4, 5, 6, 255, 255}));
}

constexpr std::uint32_t E = RunEnd;
constexpr auto neg(std::int32_t v) { return static_cast<std::uint32_t>(v); }

TEST(RunStor, RewrittenLinesLeaveTheOthersAlone) {
  constexpr std::int32_t kWidth = 1000;
  const auto raster = new_IRStor(KxColorSpace::Bitonal, kWidth, 0, 300);
  ASSERT_EQ(raster.as<IRStorAddStripe>()->AddLines(0, 0, 9), 1);
  const auto context = contextOf(*raster, 1);
  const Runs one{4, 5, E};
  for (std::int32_t i = 0; i < 9; ++i) context->WriteLine(i, 0, kWidth, one.data());
  const Runs longer = patternRuns(kWidth, 3);
  const Runs shorter{7, 7, 9, 9, E, 0};
  const Runs invalid{neg(-9), neg(-1), 3, 4, 998, 1000, 1001, 1002, E};
  context->WriteLine(4, 0, kWidth, invalid.data());
  EXPECT_EQ(readRuns(*raster, 4), (Runs{3, 4, 998, 999, E, 0})) << "stored repaired";
  for (const Runs& next : {longer, shorter, longer, Runs{E, 0}, shorter}) {
    context->WriteLine(4, 0, kWidth, next.data());
    EXPECT_EQ(readRuns(*raster, 4), next);
    EXPECT_EQ(readRuns(*raster, 3), (Runs{4, 5, E, 0}));
    EXPECT_EQ(readRuns(*raster, 5), (Runs{4, 5, E, 0}));
  }
  EXPECT_EQ(context.as<IARSContext>()->GetLineSize(4), 24U);
  EXPECT_EQ(context.as<IARSContext>()->GetLineSize(9), 0U);
  EXPECT_EQ(context.as<IARSContext>()->GetLinePointer(-1), nullptr);

  ASSERT_EQ(raster.as<IRStorAddStripe>()->AddLines(0, 4, 1), 1);
  EXPECT_EQ(readRuns(*raster, 4), (Runs{E, 0}));
  EXPECT_EQ(readRuns(*raster, 5), shorter);
  context->WriteLine(4, 0, kWidth, one.data());
  EXPECT_EQ(readRuns(*raster, 5), shorter);
}

}  // namespace
}  // namespace quillbay::test
