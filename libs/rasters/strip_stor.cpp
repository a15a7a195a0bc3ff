#include "rasters/strip_stor.h"

#include <algorithm>
#include <cstring>

namespace quillbay {
namespace {

constexpr std::size_t kSegmentBytes = std::size_t{4} << 20;

/// Of lines in the scratch file: a frame of a large screen just before the first level takes over.
constexpr std::size_t kViewedBytes = std::size_t{288} << 20;

std::int32_t linesPerSegment(std::size_t lineBytes) noexcept {
  return static_cast<std::int32_t>(std::max<std::size_t>(1, kSegmentBytes / std::max<std::size_t>(1, lineBytes)));
}

/// Copies `count / 2` pairs of 4-bit pixels from pixel `x` of `line` on.
void readFour(const std::uint8_t* line, std::int32_t x, std::int32_t count, std::uint8_t* out) noexcept {
  const std::uint8_t* p = line + x / 2;
  const auto bytes = static_cast<std::size_t>(count / 2);
  if (x % 2 == 0) {
    if (bytes > 0) std::memcpy(out, p, bytes);
    return;
  }
  for (std::size_t i = 0; i < bytes; ++i) out[i] = static_cast<std::uint8_t>(p[i] << 4 | p[i + 1] >> 4);
}

void writeFour(std::uint8_t* line, std::int32_t x, std::int32_t count, const std::uint8_t* in) noexcept {
  std::uint8_t* p = line + x / 2;
  const auto bytes = static_cast<std::size_t>(count / 2);
  if (x % 2 == 0) {
    if (bytes > 0) std::memcpy(p, in, bytes);
    return;
  }
  for (std::size_t i = 0; i < bytes; ++i) {
    p[i] = static_cast<std::uint8_t>((p[i] & 0xF0) | in[i] >> 4);
    p[i + 1] = static_cast<std::uint8_t>((p[i + 1] & 0x0F) | in[i] << 4);
  }
}

}  // namespace

CStripStor::CStripStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi)
    : RasterBase(colorSpace, width, dpi),
      m_lineBytes(fixedLineBytes(colorSpace, width)),
      m_segmentLines(linesPerSegment(m_lineBytes)),
      m_lines(std::make_shared<Lines>(std::max<std::size_t>(1, m_lineBytes) *
                                      static_cast<std::size_t>(m_segmentLines))),
      m_store(m_lines->store) {
  if (height <= 0) return;
  CStripStor::reserveLines(height);
  CStripStor::blankLines(0, height);
  publishHeight(height);
}

std::int64_t CStripStor::GetByteCount() {
  const auto borrowed = static_cast<std::int64_t>(m_store.borrowed()) * m_segmentLines;
  return static_cast<std::int64_t>(m_lineBytes) * (GetHeight() - borrowed) +
         static_cast<std::int64_t>(m_store.inheritedBytes());
}

CStripStor::Piece CStripStor::pieceAt(std::int32_t line, std::int32_t most) const noexcept {
  const std::int32_t within = line % m_segmentLines;
  const std::int32_t lines = std::min(most, m_segmentLines - within);
  return {static_cast<std::uint64_t>(line / m_segmentLines), static_cast<std::size_t>(within) * m_lineBytes, lines};
}

std::uint8_t* CStripStor::lineAt(std::int32_t line) const {
  const Piece piece = pieceAt(line, 1);
  return m_store.at(piece.segment) + piece.offset;
}

void CStripStor::reserveLines(std::int32_t lines) {
  const auto perSegment = static_cast<std::uint64_t>(m_segmentLines);
  m_store.grow((static_cast<std::uint64_t>(lines) + perSegment - 1) / perSegment);
}

void CStripStor::blankLines(std::int32_t first, std::int32_t count) {
  const int white = m_colorSpace == KxColorSpace::Palette ? whiteIndex() : 255;
  while (count > 0) {
    const Piece piece = pieceAt(first, count);
    std::memset(m_store.at(piece.segment) + piece.offset, white,
                m_lineBytes * static_cast<std::size_t>(piece.lines));
    first += piece.lines;
    count -= piece.lines;
  }
}

void CStripStor::moveLine(std::int32_t from, std::int32_t to) {
  std::memcpy(lineAt(to), lineAt(from), m_lineBytes);
}

int CStripStor::readLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) {
  if (!isInside(line, x, count) || !buffer) return 0;
  const std::uint8_t* from = lineAt(line);
  if (m_colorSpace == KxColorSpace::Four) {
    readFour(from, x, count, static_cast<std::uint8_t*>(buffer));
  } else {
    const std::size_t pixelBytes = static_cast<std::size_t>(bitsPerPixel(m_colorSpace)) / 8;
    std::memcpy(buffer, from + static_cast<std::size_t>(x) * pixelBytes,
                static_cast<std::size_t>(count) * pixelBytes);
  }
  return 1;
}

int CStripStor::writeLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) {
  if (!isInside(line, x, count) || !buffer || IsReadOnly()) return 0;
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  if (m_colorSpace == KxColorSpace::Four) {
    writeFour(lineAt(line), x, count, bytes);
  } else {
    const Piece piece = pieceAt(line, 1);
    const std::size_t pixelBytes = static_cast<std::size_t>(bitsPerPixel(m_colorSpace)) / 8;
    m_store.write(piece.segment, piece.offset + static_cast<std::size_t>(x) * pixelBytes, bytes,
                  static_cast<std::size_t>(count) * pixelBytes);
  }
  countWrite();
  linesChanged(line);
  return 1;
}

std::int32_t CStripStor::shareLines(RasterBase& source, std::int32_t end) {
  const std::int32_t height = GetHeight();
  auto* const from = dynamic_cast<CStripStor*>(&source);
  if (!from || from->m_lineBytes != m_lineBytes || height % m_segmentLines != 0) return 0;
  const std::int32_t segments = (std::min(end, from->GetHeight()) - height) / m_segmentLines;
  if (segments <= 0) return 0;
  const std::shared_ptr<SegmentStore> lender(from->m_lines, &from->m_store);
  const auto first = static_cast<std::uint64_t>(height / m_segmentLines);
  for (std::int32_t i = 0; i < segments; ++i) m_store.borrow(lender, first + static_cast<std::uint64_t>(i));
  countWrite();
  publishHeight(height + segments * m_segmentLines);
  linesAppended(height);
  return segments * m_segmentLines;
}

void CStripStor::appendStripe(IScanBuffer& stripe, std::int32_t lines) {
  const std::int32_t height = GetHeight();
  reserveLines(height + lines);
  if (const auto whole = query<IContiguousLines>(&stripe)) {
    appendBytes(whole->GetBytes(), whole->GetStride(), lines);
  } else {
    for (std::int32_t i = 0; i < lines; ++i) {
      const Piece piece = pieceAt(height + i, 1);
      m_store.write(piece.segment, piece.offset, stripe.GetLine(i), m_lineBytes);
    }
  }
  countWrite();
  publishHeight(height + lines);
  linesAppended(height);
}

void CStripStor::appendBytes(const std::uint8_t* bytes, std::size_t stride, std::int32_t lines) {
  std::int32_t line = GetHeight();
  while (lines > 0) {
    const Piece piece = pieceAt(line, lines);
    const auto count = static_cast<std::size_t>(piece.lines);
    if (stride == m_lineBytes) {
      m_store.write(piece.segment, piece.offset, bytes, count * m_lineBytes);
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        m_store.write(piece.segment, piece.offset + i * m_lineBytes, bytes + i * stride, m_lineBytes);
      }
    }
    bytes += count * stride;
    line += piece.lines;
    lines -= piece.lines;
  }
}

void CStripStor::keepForViewing() { m_store.keepResident(kViewedBytes / m_store.segmentBytes()); }

class CStripStor::Rows final : public RowSource {
 public:
  Rows(const CStripStor& stor, const Palette& palette, const DrawAxis& columns)
      : m_stor(stor), m_reducer(stor.m_colorSpace, palette, columns) {}
  void paint(const AxisSpan& span, std::uint32_t* out) override {
    m_reducer.paintRow(
        span, [this](std::int32_t line) { return m_stor.lineAt(line); }, out);
  }

 private:
  const CStripStor& m_stor;
  ToneReducer m_reducer;
};

std::unique_ptr<RowSource> CStripStor::newRowSource(const DrawAxis& columns, const DrawAxis&) {
  return std::make_unique<Rows>(*this, drawingPalette(), columns);
}

}  // namespace quillbay
