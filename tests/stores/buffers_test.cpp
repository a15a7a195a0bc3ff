#include <gtest/gtest.h>

#include <cstring>

#include "stores/empty_buffer.h"
#include "stores/scan_buffer.h"
#include "stripes.h"

namespace quillbay {
namespace {

using test::pageLine;
using test::pageStripe;

KxPtr<CIScanBuffer> newBuffer(KxColorSpace colorSpace, KxSize size) {
  return KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(300, size, colorSpace, nullptr));
}

KxSize sizeOf(IScanBuffer* buffer) {
  KxSize size;
  EXPECT_EQ(buffer->GetSize(&size), &size);
  return size;
}

TEST(ScanBuffer, KeepsManyLinesInPlace) {
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Grey, KxColorSpace::Bgr, KxColorSpace::Rgba}) {
    SCOPED_TRACE(static_cast<int>(cs));
    const auto buffer = newBuffer(cs, {257, 2});
    std::vector<const std::uint8_t*> places;
    for (int i = 0; i < 2100; ++i) {
      ASSERT_EQ(buffer->AddLine(77, pageLine(cs, 257, i).data()), 1);
      places.push_back(buffer->GetLine(i));
    }
    EXPECT_EQ(sizeOf(buffer.get()), (KxSize{257, 2100}));
    for (int i = 0; i < 2100; ++i) {
      const auto want = pageLine(cs, 257, i);
      ASSERT_EQ(buffer->GetLine(i), places[static_cast<std::size_t>(i)]);
      ASSERT_EQ(std::memcmp(buffer->GetLine(i), want.data(), want.size()), 0) << i;
    }
    buffer->clear();
    EXPECT_EQ(sizeOf(buffer.get()).height, 0);
  }
}

TEST(ScanBuffer, AppendsCopiesOfItsOwnKind) {
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Palette}) {
    const auto buffer = newBuffer(cs, {40, 4});
    {
      const auto other = pageStripe(cs, 40, 0, 3);
      EXPECT_EQ(buffer->AppendBuffer(other.get()), 1);
    }
    EXPECT_EQ(buffer->AppendBuffer(buffer.get()), 1) << "of itself";
    ASSERT_EQ(sizeOf(buffer.get()).height, 6);
    for (int i = 0; i < 6; ++i) {
      const auto want = pageLine(cs, 40, i % 3);
      EXPECT_EQ(std::memcmp(buffer->GetLine(i), want.data(), want.size()), 0);
    }
    EXPECT_EQ(buffer->AppendBuffer(pageStripe(cs, 41, 0, 3).get()), 0) << "another width";
    EXPECT_EQ(buffer->AppendBuffer(pageStripe(KxColorSpace::Rgb, 40, 0, 3).get()), 0) << "other colours";
    EXPECT_EQ(buffer->AppendBuffer(nullptr), 0);
    EXPECT_EQ(sizeOf(buffer.get()).height, 6);
  }
}

TEST(ScanBuffer, OffersOnePieceOnlyWhenItIsOne) {
  const auto grey = newScanBuffer(300, {100, 8}, KxColorSpace::Grey, nullptr);
  const auto filler = grey.as<IRasterFiller>();
  for (int i = 0; i < 8; ++i) filler->AddLine(i, pageLine(KxColorSpace::Grey, 100, i).data());
  const auto piece = grey.as<IContiguousLines>();
  ASSERT_TRUE(piece);
  EXPECT_EQ(piece->GetBytes() + 7 * piece->GetStride(), grey->GetLine(7));
  for (int i = 8; i < 5000; ++i) filler->AddLine(i, pageLine(KxColorSpace::Grey, 100, i).data());
  EXPECT_FALSE(grey.as<IContiguousLines>());
  EXPECT_FALSE(pageStripe(KxColorSpace::Bitonal, 40, 0, 3).as<IContiguousLines>());
}

TEST(EmptyBuffer, IsBlankInEveryColourSpace) {
  KXRGBQUAD palette[256] = {};
  palette[7] = {250, 250, 250, 0};
  palette[200] = {250, 250, 251, 0};
  struct Case {
    const char* why;
    KxColorSpace colorSpace;
    const KXRGBQUAD* palette;
    std::size_t bytes;
    int fill, colors;
  };
  const Case cases[] = {
      {"grey", KxColorSpace::Grey, palette, 9, 255, 256},
      {"palette: the entry nearest to white", KxColorSpace::Palette, palette, 9, 200, 256},
      {"no palette", KxColorSpace::Palette, nullptr, 9, 255, 0},
      {"4 bits, rounded down", KxColorSpace::Four, palette, 4, 255, 0},
      {"RGB", KxColorSpace::Rgb, palette, 27, 255, 0},
      {"32 bits", KxColorSpace::Bgra, nullptr, 36, 255, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const auto blank = KxPtr<CIEmptyBuffer>::adopt(new CIEmptyBuffer(300, {9, 5}, c.colorSpace, c.palette));
    blank->setLineCount(100000);
    EXPECT_EQ(sizeOf(blank.get()), (KxSize{9, 100000}));
    EXPECT_EQ(blank->GetColorCount(), c.colors);
    const std::vector<std::uint8_t> want(c.bytes, static_cast<std::uint8_t>(c.fill));
    EXPECT_EQ(std::memcmp(blank->GetLine(99999), want.data(), want.size()), 0);
  }
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::BitonalRle}) {
    const auto blank = KxPtr<CIEmptyBuffer>::adopt(new CIEmptyBuffer(300, {9, 5}, cs, nullptr));
    const std::uint32_t want[] = {RunEnd, 0};
    EXPECT_EQ(std::memcmp(blank->GetLine(3), want, sizeof want), 0);
  }
}

TEST(EmptyBuffer, AddsBlankLinesToARaster) {
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Rgb}) {
    KxPtr<IRStor> raster;
    ASSERT_EQ(pageStripe(cs, 33, 0, 4)->CreateRaster(raster.put()), 1);
    const auto blank = KxPtr<CIEmptyBuffer>::adopt(new CIEmptyBuffer(200, {33, 3}, cs, nullptr));
    ASSERT_EQ(blank->AddToRaster(4, raster.get()), 1);
    ASSERT_EQ(raster->GetHeight(), 7);
    std::vector<std::uint8_t> line(800);
    const auto context = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
    ASSERT_EQ(context->ReadLine(6, 0, 33, line.data()), 1);
    EXPECT_EQ(std::memcmp(line.data(), blank->GetLine(0), isRunList(cs) ? 8 : 99), 0);
  }
}

}  // namespace
}  // namespace quillbay
