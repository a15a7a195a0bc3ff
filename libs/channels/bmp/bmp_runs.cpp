#include "channels/bmp/bmp_runs.h"

#include <algorithm>

namespace quillbay {
namespace {

constexpr std::int64_t kPiece = std::int64_t{64} << 10;
constexpr unsigned kLineEnd = 0, kPictureEnd = 1, kMove = 2;  // else that many pixels one by one

}  // namespace

void BmpRuns::Cursor::fill() {
  const std::int64_t left = m_file.size() - m_at;
  if (left <= 0) throw ModuleError(QB_E_TRUNCATED, "");
  m_bytes.resize(static_cast<std::size_t>(std::min(left, kPiece)));
  m_begin = m_at;
  m_file.read(m_at, m_bytes.data(), m_bytes.size());
}

/// Walks all codes once, without pixels.
BmpRuns::BmpRuns(const EdgeFile& file, const BmpHead& head)
    : m_cursor(file), m_width(head.width), m_height(head.height), m_isHalf(head.coding == BmpHead::Coding::Runs4) {
  m_cursor.seek(head.pixelsAt);
  std::int64_t y = 0, x = 0;
  m_starts.push_back({0, head.pixelsAt, 0});
  while (y < m_height) {
    const unsigned count = m_cursor.next(), code = m_cursor.next();
    if (count > 0) {
      x += count;
    } else if (code == kPictureEnd) {
      break;
    } else if (code == kLineEnd) {
      x = 0;
      m_starts.push_back({++y, m_cursor.at(), 0});
    } else if (code == kMove) {
      x += m_cursor.next();
      const unsigned lines = m_cursor.next();
      if (lines > 0) m_starts.push_back({y += lines, m_cursor.at(), x});
    } else {
      const unsigned bytes = m_isHalf ? (code + 1) / 2 : code;
      m_cursor.seek(m_cursor.at() + bytes + bytes % 2);
      x += code;
    }
    x = std::min(x, m_width);
  }
}

/// Pixels that are not runs; what lies beyond the line counts for nothing.
void BmpRuns::plainPixels(unsigned count, std::int64_t x, std::uint8_t* out) {
  std::uint8_t byte = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (!m_isHalf || i % 2 == 0) byte = m_cursor.next();
    const std::uint8_t pixel = !m_isHalf ? byte : static_cast<std::uint8_t>(i % 2 ? byte & 15U : byte >> 4U);
    if (x + i < m_width) out[x + i] = pixel;
  }
  const unsigned bytes = m_isHalf ? (count + 1) / 2 : count;
  if (bytes % 2) m_cursor.seek(m_cursor.at() + 1);
}

void BmpRuns::decode(const Start& from, std::uint8_t* out) {
  m_cursor.seek(from.offset);
  for (std::int64_t x = from.x;;) {
    const unsigned count = m_cursor.next(), code = m_cursor.next();
    if (count > 0) {
      for (unsigned i = 0; i < count && x + i < m_width; ++i)
        out[x + i] = static_cast<std::uint8_t>(!m_isHalf ? code : i % 2 ? code & 15U : code >> 4U);
      x += count;
    } else if (code == kMove) {
      x += m_cursor.next();
      if (m_cursor.next() > 0) return;
    } else if (code == kLineEnd || code == kPictureEnd) {
      return;
    } else {
      plainPixels(code, x, out);
      x += code;
    }
    x = std::min(x, m_width);
  }
}

void BmpRuns::line(std::int64_t stored, std::uint8_t* out) {
  std::fill_n(out, m_width, std::uint8_t{0});
  const auto found = std::lower_bound(m_starts.begin(), m_starts.end(), stored,
                                      [](const Start& start, std::int64_t line) { return start.line < line; });
  if (found != m_starts.end() && found->line == stored && stored < m_height) decode(*found, out);
}

}  // namespace quillbay
