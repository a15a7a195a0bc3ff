#include "rasters/straighten/tone_rotator.h"

#include <cstring>

#include "rasters/ops/op_support.h"

namespace quillbay {
namespace {

/// Bytes copied at once: more than a span has at most angles.
constexpr std::size_t kPiece = 32;

[[nodiscard]] bool hasIndices(KxColorSpace colorSpace) noexcept {
  return colorSpace == KxColorSpace::Four || colorSpace == KxColorSpace::Palette;
}

/// Pixels that a line's bytes hold: code 4 lacks the last one of an odd width.
[[nodiscard]] std::int32_t storedPixels(KxColorSpace colorSpace, std::int32_t width) noexcept {
  return colorSpace == KxColorSpace::Four ? width / 2 * 2 : width;
}

/// Besides what a line crosses: the line below its lowest place, and one that is not complete at either end.
constexpr std::int32_t kMoreRows = 4;

}  // namespace

ToneRotator::ToneRotator(KxColorSpace colorSpace, const StraightenFrame& frame, std::uint8_t white,
                         IRasterFiller* output)
    : m_frame(frame),
      m_output(KxPtr<IRasterFiller>::share(output)),
      m_four(colorSpace == KxColorSpace::Four),
      m_indexed(hasIndices(colorSpace)),
      m_bytes(pixelBytes(colorSpace)),
      m_white(white),
      m_band(static_cast<std::size_t>(storedPixels(colorSpace, frame.width)) * m_bytes, frame.crossed() + kMoreRows,
             white),
      m_way(m_frame, m_indexed ? 0.5 : 0, static_cast<std::int32_t>(BlendLoops::kMostPixels)),
      m_loops(m_bytes, m_way.lag(), m_way.drop()),
      m_line((static_cast<std::size_t>(frame.lineWidth) + 1) * m_bytes + BlendLoops::kSlack),
      m_packed(m_four ? static_cast<std::size_t>(frame.lineWidth) / 2 + 1 : 0) {
  m_way.go(0);
}

int ToneRotator::AddRow(const std::uint8_t* row, int flush) {
  if (row) take(row);
  while (isReady()) {
    if (!giveLine()) return 0;
  }
  if (!flush) return 1;
  for (const std::int64_t lines = m_frame.lines(m_band.end()); m_next < lines;) {
    if (!giveLine()) return 0;
  }
  return 1;
}

void ToneRotator::take(const std::uint8_t* row) noexcept {
  std::uint8_t* to = m_band.add();
  const auto pixels = static_cast<std::size_t>(m_frame.width);
  if (!m_four) {
    std::memcpy(to, row, pixels * m_bytes);
    return;
  }
  for (std::size_t i = 0; i < pixels / 2; ++i) {
    to[2 * i] = row[i] >> 4;
    to[2 * i + 1] = row[i] & 15;
  }
}

/// All that the next line needs has come.
bool ToneRotator::isReady() const noexcept {
  if (m_next >= m_frame.lines(m_band.end())) return false;
  return m_way.first() >= m_way.end() || m_way.lowestRow() + (m_indexed ? 0 : 1) < m_band.end();
}

bool ToneRotator::giveLine() {
  std::uint8_t* const line = m_line.data();
  if (m_indexed) {
    copyNearest(line);
  } else {
    blendLine(line);
  }
  const auto first = static_cast<std::size_t>(m_way.first()), end = static_cast<std::size_t>(m_way.end());
  std::memset(line, m_white, first * m_bytes);
  std::memset(line + end * m_bytes, m_white, (static_cast<std::size_t>(m_frame.lineWidth) + 1 - end) * m_bytes);
  if (m_four) packFour(line, m_frame.lineWidth / 2 * 2 + 2, m_packed.data());
  const auto number = static_cast<std::int32_t>(m_next);
  ++m_next;
  m_way.go(m_next);
  return m_output->AddLine(number, m_four ? m_packed.data() : line) != 0;
}

void ToneRotator::blendLine(std::uint8_t* out) const {
  const bool rising = m_way.isRising();
  const auto pixelBytes = static_cast<std::ptrdiff_t>(m_bytes);
  m_way.eachSpan([&](const SpanLine::Span& span) {
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(span.column) * pixelBytes;
    const std::uint8_t* const upper = m_band.row(span.row) + at;
    const std::uint8_t* const lower = m_band.row(span.row + 1) + at;
    // Fractions fall: on a way down they are those of the line above.
    const std::uint32_t down = span.down >> 16;
    const BlendSpan blend{{rising ? upper : lower, rising ? lower : upper},
                          span.across >> 16,
                          rising ? down : 65535 - down,
                          static_cast<std::uint32_t>(span.count)};
    m_loops.blend(blend, out + span.first * pixelBytes);
  });
}

void ToneRotator::copyNearest(std::uint8_t* out) const {
  m_way.eachSpan([&](const SpanLine::Span& span) {
    const std::uint8_t* from = m_band.row(span.row) + span.column;
    std::uint8_t* to = out + span.first;
    for (std::int32_t left = span.count; left > 0; left -= static_cast<std::int32_t>(kPiece)) {
      std::memcpy(to, from, kPiece);
      from += kPiece;
      to += kPiece;
    }
  });
}

}  // namespace quillbay
