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
