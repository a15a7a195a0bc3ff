#include "stores/empty_buffer.h"

#include <algorithm>
#include <cstring>

#include "quillbay/palette.h"
#include "quillbay/raster.h"

namespace quillbay {

namespace {

constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr std::size_t kBlankRunListBytes = 64;  // eight pairs

}  // namespace

CIEmptyBuffer::CIEmptyBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace, const KXRGBQUAD* palette)
    : m_dpi(dpi), m_size(size), m_colorSpace(colorSpace) {
  if (isRunList(colorSpace)) {
    m_line = std::make_unique<std::uint8_t[]>(kBlankRunListBytes);
    std::memcpy(m_line.get(), &RunEnd, sizeof RunEnd);
    return;
  }
  std::uint8_t fill = 255;
  if (palette && bitsPerPixel(colorSpace) == 8) {
    std::copy_n(palette, 256, m_palette.begin());
    m_colorCount = 256;
    if (colorSpace != KxColorSpace::Grey) fill = static_cast<std::uint8_t>(nearestWhite(m_palette));
  }
  const std::size_t bytes = fixedLineBytes(colorSpace, size.width);
  m_line = std::make_unique_for_overwrite<std::uint8_t[]>(std::max<std::size_t>(bytes, 1));
  std::memset(m_line.get(), fill, bytes);
}

KxSize* CIEmptyBuffer::GetSize(KxSize* out) {
  *out = m_size;
  return out;
}

const std::uint8_t* CIEmptyBuffer::GetLine(std::int32_t /*i*/) { return m_line.get(); }

int CIEmptyBuffer::AddToRaster(std::int32_t first, IRStor* raster) {
  if (const auto colors = query<IRStorColors>(raster)) {
    colors->SetBackground(kWhite);
    colors->SetBlankColor(kWhite);
  }
  return ScanBuffer_AddToRaster(this, first, raster);
}

int CIEmptyBuffer::CreateRaster(IRStor** out) { return ScanBuffer_CreateRaster(this, out); }

int CIEmptyBuffer::AppendBuffer(IScanBuffer* /*other*/) { return 0; }

}  // namespace quillbay
