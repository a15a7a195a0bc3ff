#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/raster.h"
#include "rasters/raster_memory.h"

namespace quillbay::test {

using Bytes = std::vector<std::uint8_t>;
using Runs = std::vector<std::uint32_t>;

/// How a stripe shows its lines.
enum class Shape { LineByLine, Packed, Padded };

/// A stripe with any content.
class TestStripe final : public CKxUnknownImpl<IScanBuffer, IContiguousLines> {
 public:
  TestStripe(KxColorSpace colorSpace, std::int32_t width, Shape shape)
      : m_colorSpace(colorSpace), m_width(width), m_shape(shape), m_palette(256) {}

  void add(const Bytes& line) {
    m_lines.push_back(line);
    m_block.insert(m_block.end(), line.begin(), line.end());
    if (m_shape == Shape::Padded) m_block.insert(m_block.end(), kPadding, 0xEE);
  }
  void add(const Runs& runs) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(runs.data());
    m_lines.emplace_back(bytes, bytes + runs.size() * 4);
  }
  std::vector<KXRGBQUAD>& palette() { return m_palette; }

  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (m_shape == Shape::LineByLine && wanted == typeid(IContiguousLines)) return 0;
    return CKxUnknownImpl::QueryInterface(wanted, out);
  }
  KxSize* GetSize(KxSize* out) override {
    *out = {m_width, static_cast<std::int32_t>(m_lines.size())};
    return out;
  }
  const std::uint8_t* GetLine(std::int32_t i) override { return m_lines[static_cast<std::size_t>(i)].data(); }
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return paletteSize(m_colorSpace); }
  const KXRGBQUAD* GetPalette() override { return m_palette.data(); }
  std::uint32_t GetResolution() override { return 300; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }
  const std::uint8_t* GetBytes() override { return m_block.data(); }
  std::size_t GetStride() override {
    return fixedLineBytes(m_colorSpace, m_width) + (m_shape == Shape::Padded ? kPadding : 0);
  }

 private:
  static constexpr std::size_t kPadding = 5;
  KxColorSpace m_colorSpace;
  std::int32_t m_width;
  Shape m_shape;
  std::vector<KXRGBQUAD> m_palette;
  std::vector<Bytes> m_lines;
  Bytes m_block;
};

inline KxPtr<TestStripe> newStripe(KxColorSpace colorSpace, std::int32_t width, Shape shape = Shape::Packed) {
  return KxPtr<TestStripe>::adopt(new TestStripe(colorSpace, width, shape));
}

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
