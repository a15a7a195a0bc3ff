#include "stores/scan_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "quillbay/errors.h"
#include "quillbay/raster.h"
#include "quillbay/run_list.h"

namespace quillbay {

namespace {

constexpr std::size_t kFirstRecords = 1024, kMoreRecords = 512;
constexpr std::size_t kLeastChunk = std::size_t{64} << 10, kLargestChunk = std::size_t{16} << 20;

// Room for the expected lines, within bounds: a run list is taken as short.
std::size_t chunkBytes(KxSize size, KxColorSpace colorSpace) noexcept {
  const std::size_t line = isRunList(colorSpace) ? runListBytes(16) : fixedLineBytes(colorSpace, size.width);
  const auto lines = static_cast<std::size_t>(std::max(size.height, 1));
  return std::clamp(line * lines, kLeastChunk, kLargestChunk);
}

}  // namespace

CIScanBuffer::CIScanBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace, const KXRGBQUAD* palette)
    : m_dpi(dpi),
      m_width(std::max(size.width, 0)),
      m_colorSpace(colorSpace),
      m_colorCount(paletteSize(colorSpace)),
      m_chunkBytes(chunkBytes(size, colorSpace)) {
  if (palette && m_colorCount == 256) std::copy_n(palette, 256, m_palette.begin());
  m_lines.reserve(kFirstRecords);
}

KxSize* CIScanBuffer::GetSize(KxSize* out) {
  *out = {m_width, static_cast<std::int32_t>(m_lines.size())};
  return out;
}

const std::uint8_t* CIScanBuffer::GetLine(std::int32_t i) { return m_lines[static_cast<std::size_t>(i)].bytes; }

int CIScanBuffer::AddToRaster(std::int32_t first, IRStor* raster) {
  return ScanBuffer_AddToRaster(this, first, raster);
}

int CIScanBuffer::CreateRaster(IRStor** out) { return ScanBuffer_CreateRaster(this, out); }

int CIScanBuffer::AppendBuffer(IScanBuffer* other) {
  auto* source = dynamic_cast<CIScanBuffer*>(other);
  if (!source || source->m_width != m_width || source->m_colorSpace != m_colorSpace) return 0;
  const std::size_t count = source->m_lines.size();  // the source may be this buffer
  for (std::size_t i = 0; i < count; ++i) append(source->m_lines[i].bytes, source->m_lines[i].length);
  return 1;
}

int CIScanBuffer::AddLine(std::int32_t /*line*/, const std::uint8_t* bytes) {
  if (!bytes) return 0;
  if (!isRunList(m_colorSpace)) {
    append(bytes, fixedLineBytes(m_colorSpace, m_width));
    return 1;
  }
  const auto* runs = reinterpret_cast<const std::uint32_t*>(bytes);
  const std::size_t most = runListBytes(runCount(runs));
  std::uint8_t* to = room(most);
  auto* list = reinterpret_cast<std::uint32_t*>(to);
  const std::size_t count = repairRuns(runs, m_width, list);
  list[2 * count + 1] = 0;
  const std::size_t length = runListBytes(count);
  m_lines.push_back({to, static_cast<std::uint32_t>(length)});
  m_free += length;
  m_freeBytes -= length;
  return 1;
}

void CIScanBuffer::clear() noexcept {
  m_lines.clear();
  m_chunks.clear();
  m_free = nullptr;
  m_freeBytes = 0;
}

// Makes sure of a record and of `bytes` bytes behind `m_free`, and returns where they begin.
std::uint8_t* CIScanBuffer::room(std::size_t bytes) {
  try {
    if (m_lines.size() == m_lines.capacity()) m_lines.reserve(m_lines.capacity() + kMoreRecords);
    if (bytes > m_freeBytes || m_chunks.empty()) {
      const std::size_t size = std::max(bytes, m_chunkBytes);
      m_chunks.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(size));
      m_free = m_chunks.back().get();
      m_freeBytes = size;
    }
  } catch (const std::bad_alloc&) {
    throw CXMemException("There is no memory for " + std::to_string(bytes) +
                         " bytes of scanned lines: close other programs, or scan at a lower resolution.");
  }
  return m_free;
}

void CIScanBuffer::append(const std::uint8_t* bytes, std::size_t length) {
  std::uint8_t* to = room(length);
  std::memcpy(to, bytes, length);
  m_lines.push_back({to, static_cast<std::uint32_t>(length)});
  m_free += length;
  m_freeBytes -= length;
}

int CIScanBuffer::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted == typeid(IContiguousLines) && (isRunList(m_colorSpace) || m_chunks.size() != 1)) return 0;
  return detail::answerQuery<IScanBuffer, IRasterFiller, IContiguousLines>(this, wanted, out);
}

KxPtr<IScanBuffer> newScanBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace,
                                 const KXRGBQUAD* palette) {
  return KxPtr<IScanBuffer>::adopt(new CIScanBuffer(dpi, size, colorSpace, palette));
}

}  // namespace quillbay
