#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/raster.h"
#include "rasters/raster_memory.h"
#include "support/test_stripe.h"

namespace quillbay::test {

/// Bytes that differ from line to line and place to place.
inline Bytes patternLine(std::size_t bytes, std::int64_t line) {
  Bytes b(bytes);
  auto state = static_cast<std::uint32_t>(line) * 2654435761U + 12345U;
  for (auto& v : b) {
    state = state * 1664525U + 1013904223U;
    v = static_cast<std::uint8_t>(state >> 24);
  }
  return b;
}

/// A valid run list that differs from line to line.
inline Runs patternRuns(std::int32_t width, std::int64_t line) {
  Runs runs;
  const auto end = static_cast<std::uint32_t>(width);
  for (auto at = static_cast<std::uint32_t>(line % 7); at + 3 < end;
       at += 5 + static_cast<std::uint32_t>(line % 3)) {
    runs.push_back(at);
    runs.push_back(at + 1 + static_cast<std::uint32_t>(line % 2));
  }
  runs.push_back(RunEnd);
  runs.push_back(0);
  return runs;
}

inline KxPtr<IAccessContext> contextOf(IRStor& raster, int mode = 0) {
  return KxPtr<IAccessContext>::adopt(raster.GetAccessContext(mode, 0));
}

/// A line's bytes; empty when it cannot be read.
inline Bytes readLine(IRStor& raster, std::int32_t line) {
  Bytes b(fixedLineBytes(raster.GetColorSpace(), raster.GetWidth()) + 1, 0xCC);
  if (!contextOf(raster)->ReadLine(line, 0, raster.GetWidth(), b.data())) return {};
  EXPECT_EQ(b.back(), 0xCC) << "wrote past the line's end";
  b.pop_back();
  return b;
}

/// A line's run list with its end and the zero behind it.
inline Runs readRuns(IRStor& raster, std::int32_t line) {
  const auto context = contextOf(raster).as<IARSContext>();
  Runs r(context->GetLineSize(line) / 4, 0xCCCCCCCC);
  if (!context->ReadLine(line, 0, 0, r.data())) return {};
  return r;
}

using Pixels = std::vector<std::uint32_t>;
constexpr std::uint32_t kUntouched = 0x12345678;

/// What is drawn on; untouched pixels stay `kUntouched`.
class Surface final : public CKxUnknownImpl<IRasterDC> {
 public:
  Surface(std::int32_t width, std::int32_t height)
      : size{width, height},
        clip{0, 0, width, height},
        pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), kUntouched) {}
  KxSize GetDeviceSize() override { return size; }
  KxRect GetClip() override { return clip; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return pixels.data() + static_cast<std::ptrdiff_t>(y) * size.width;
  }
  Pixels row(std::int32_t y) { return {GetRow(y), GetRow(y) + size.width}; }

  KxSize size;
  KxRect clip;
  Pixels pixels;
};

inline KxPtr<Surface> newSurface(std::int32_t width, std::int32_t height) {
  return KxPtr<Surface>::adopt(new Surface(width, height));
}

inline constexpr KxColorSpace kCodes[] = {KxColorSpace::Bitonal, KxColorSpace::BitonalRle, KxColorSpace::Four,
                                          KxColorSpace::Palette, KxColorSpace::Grey,       KxColorSpace::Rgba,
                                          KxColorSpace::Bgra,    KxColorSpace::Rgb,        KxColorSpace::Bgr};

/// Differs from line to line and place to place; with a palette, and a background.
inline KxPtr<IRStor> patternRaster(KxColorSpace code, std::int32_t width, std::int32_t height) {
  const auto raster = new_IRStor(code, width, height, 300);
  if (const auto context = raster.as<IPalContext>()) {
    std::vector<KXRGBQUAD> palette(code == KxColorSpace::Four ? 16 : 256);
    for (std::size_t i = 0; i < palette.size(); ++i) {
      const auto v = static_cast<std::uint8_t>(i);
      palette[i] = {v, static_cast<std::uint8_t>(v * 3), static_cast<std::uint8_t>(255 - v), 0};
    }
    context->SetPalette(palette.data(), static_cast<int>(palette.size()));
  }
  if (const auto colors = raster.as<IRStorColors>()) colors->SetBackground(0x8090A0);
  const auto writer = contextOf(*raster, 1);
  for (std::int32_t y = 0; y < height; ++y) {
    if (isRunList(code)) {
      writer->WriteLine(y, 0, width, patternRuns(width, y).data());
    } else {
      writer->WriteLine(y, 0, width, patternLine(fixedLineBytes(code, width), y).data());
    }
  }
  return raster;
}

inline std::vector<KXRGBQUAD> paletteOf(IRStor& raster) {
  std::vector<KXRGBQUAD> palette(256);
  const auto context = contextOf(raster);
  palette.resize(static_cast<std::size_t>(context->GetPalette(palette.data())));
  return palette;
}

/// All pixels, row by row, one word each.
inline std::vector<std::uint32_t> pixelsOf(IRStor& raster) {
  const KxColorSpace code = raster.GetColorSpace();
  const auto width = static_cast<std::size_t>(raster.GetWidth());
  std::vector<std::uint32_t> out;
  for (std::int32_t y = 0; y < raster.GetHeight(); ++y) {
    if (isRunList(code)) {
      std::vector<std::uint32_t> row(width, 0);
      const Runs runs = readRuns(raster, y);
      for (std::size_t i = 0; i < runCount(runs.data()); ++i) {
        for (std::uint32_t x = runs[2 * i]; x <= runs[2 * i + 1]; ++x) row.at(x) = 1;
      }
      out.insert(out.end(), row.begin(), row.end());
      continue;
    }
    const Bytes line = readLine(raster, y);
    const std::size_t bits = static_cast<std::size_t>(bitsPerPixel(code));
    for (std::size_t x = 0; x < width; ++x) {
      std::uint32_t pixel = 0;
      for (std::size_t b = 0; bits >= 8 && b < bits / 8; ++b) pixel = pixel << 8 | line[x * bits / 8 + b];
      if (bits == 4) pixel = x / 2 < line.size() ? line[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15U : 0;
      out.push_back(pixel);
    }
  }
  return out;
}

/// Sets the budget for one test, and the default again at its end.
class ScopedBudget {
 public:
  explicit ScopedBudget(std::int64_t bytes, std::string folder = {}, bool allowMemoryBacked = true) {
    SetRasterBudget({bytes, folder, allowMemoryBacked});
  }
  ~ScopedBudget() { SetRasterBudget({0, {}, true}); }
  ScopedBudget(const ScopedBudget&) = delete;
  ScopedBudget& operator=(const ScopedBudget&) = delete;
};

}  // namespace quillbay::test
