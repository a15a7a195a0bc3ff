#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

namespace quillbay::test {

using Bytes = std::vector<std::uint8_t>;
using Runs = std::vector<std::uint32_t>;

/// How a stripe shows its lines.
enum class Shape { LineByLine, Packed, Padded };

/// A stripe with any content, in memory of its own that is spoilt at the end: who reads freed stripes is found out.
class TestStripe : public CKxUnknownImpl<IScanBuffer, IContiguousLines, IPackedLines> {
 public:
  TestStripe(KxColorSpace colorSpace, std::int32_t width, Shape shape, std::uint32_t dpi = 300)
      : m_colorSpace(colorSpace), m_width(width), m_shape(shape), m_dpi(dpi), m_palette(256) {}
  ~TestStripe() override {
    for (Bytes& line : m_lines) std::fill(line.begin(), line.end(), std::uint8_t{0xdd});
    for (Bytes* block : {&m_block, &m_bits}) std::fill(block->begin(), block->end(), std::uint8_t{0xdd});
  }
  /// `bits`: of a run list, for a stripe that offers them packed.
  void add(const Bytes& line, const Bytes& bits = {}) {
    m_lines.push_back(line);
    m_bits.insert(m_bits.end(), bits.begin(), bits.end());
    m_block.insert(m_block.end(), line.begin(), line.end());
    if (m_shape == Shape::Padded) m_block.insert(m_block.end(), kPadding, 0xEE);
  }
  void add(const Runs& runs) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(runs.data());
    m_lines.emplace_back(bytes, bytes + runs.size() * 4);
  }
  std::vector<KXRGBQUAD>& palette() { return m_palette; }

  int QueryInterface(const std::type_info& wanted, void** out) override {
    const bool loose = m_shape == Shape::LineByLine || isRunList(m_colorSpace);
    if ((loose && wanted == typeid(IContiguousLines)) || (m_bits.empty() && wanted == typeid(IPackedLines)))
      return 0;
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
  std::uint32_t GetResolution() override { return m_dpi; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }
  const std::uint8_t* GetBytes() override { return m_block.data(); }
  const std::uint8_t* GetBits() override { return m_bits.data(); }
  std::size_t GetStride() override {
    if (isRunList(m_colorSpace)) return (static_cast<std::size_t>(m_width) + 7) / 8;
    return fixedLineBytes(m_colorSpace, m_width) + (m_shape == Shape::Padded ? kPadding : 0);
  }

 private:
  static constexpr std::size_t kPadding = 5;
  KxColorSpace m_colorSpace;
  std::int32_t m_width;
  Shape m_shape;
  std::uint32_t m_dpi;
  std::vector<KXRGBQUAD> m_palette;
  std::vector<Bytes> m_lines;
  Bytes m_block, m_bits;
};

inline KxPtr<TestStripe> newStripe(KxColorSpace colorSpace, std::int32_t width, Shape shape = Shape::Packed,
                                   std::uint32_t dpi = 300) {
  return KxPtr<TestStripe>::adopt(new TestStripe(colorSpace, width, shape, dpi));
}

}  // namespace quillbay::test
