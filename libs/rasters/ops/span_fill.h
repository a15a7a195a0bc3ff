#pragma once
#include <cstdint>
#include <cstring>
#include <vector>

#include "rasters/ops/line_bands.h"
#include "rasters/ops/shape_spans.h"

/// The inner loops of filling: spans of a line get a colour, by blocks of memory and by runs.
namespace quillbay {

/// Fills spans of lines of equal length. No branch for a pixel.
class SpanFiller {
 public:
  /// `pixel` holds the bytes of one pixel (code 4: its index).
  SpanFiller(KxColorSpace colorSpace, std::int32_t width, const std::uint8_t* pixel)
      : m_bytes(pixelBytes(colorSpace)), m_isFour(colorSpace == KxColorSpace::Four), m_byte(pixel[0]) {
    for (std::size_t i = 1; i < m_bytes; ++i) m_isUniform = m_isUniform && pixel[i] == m_byte;
    if (m_isFour) m_byte = static_cast<std::uint8_t>(m_byte << 4 | (m_byte & 15));
    if (m_isUniform) return;
    m_pattern.resize(m_bytes * static_cast<std::size_t>(width));
    for (std::size_t i = 0; i < m_pattern.size(); ++i) m_pattern[i] = pixel[i % m_bytes];
  }

  void fill(std::uint8_t* line, const PixelSpan& span) const noexcept {
    const auto count = static_cast<std::size_t>(span.end - span.first) * m_bytes;
    const auto at = static_cast<std::size_t>(span.first) * m_bytes;
    if (m_isFour) {
      fillPairs(line, span);
    } else if (m_isUniform) {
      std::memset(line + at, m_byte, count);
    } else {
      std::memcpy(line + at, m_pattern.data(), count);
    }
  }

 private:
  /// Two pixels a byte, the left one in the upper half.
  void fillPairs(std::uint8_t* line, const PixelSpan& span) const noexcept {
    std::uint8_t* first = line + span.first / 2;
    std::uint8_t* const end = line + span.end / 2;
    if (span.first % 2 != 0) {
      *first = static_cast<std::uint8_t>((*first & 0xF0) | (m_byte & 0x0F));
      ++first;
    }
    if (first < end) std::memset(first, m_byte, static_cast<std::size_t>(end - first));
    if (span.end % 2 != 0) *end = static_cast<std::uint8_t>((m_byte & 0xF0) | (*end & 0x0F));
  }

  const std::size_t m_bytes;
  const bool m_isFour;
  std::uint8_t m_byte;
  bool m_isUniform = true;
  std::vector<std::uint8_t> m_pattern;  // a line of the colour
};

/// Adds the runs of a line without what lies in the spans.
inline void clearSpans(const RunView& list, const PixelSpans& spans, RunBand& band) {
  std::size_t next = 0;  // span that does not end before the run
  for (std::size_t i = 0; i < list.count; ++i) {
    auto first = static_cast<std::int32_t>(list.runs[2 * i]);
    const auto last = static_cast<std::int32_t>(list.runs[2 * i + 1]);
    while (next < spans.size() && spans[next].end <= first) ++next;
    for (std::size_t s = next; s < spans.size() && spans[s].first <= last; ++s) {
      if (spans[s].first > first)
        band.addRun(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(spans[s].first - 1));
      first = spans[s].end;
    }
    if (first <= last) band.addRun(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last));
  }
}

/// Adds the runs of a line and the spans, as runs that do not touch where a span does.
inline void darkenSpans(const RunView& list, const PixelSpans& spans, RunBand& band) {
  std::size_t run = 0;
  const auto firstOf = [&](std::size_t i) { return static_cast<std::int32_t>(list.runs[2 * i]); };
  const auto endOf = [&](std::size_t i) { return static_cast<std::int32_t>(list.runs[2 * i + 1]) + 1; };
  const auto add = [&band](const PixelSpan& s) {
    band.addRun(static_cast<std::uint32_t>(s.first), static_cast<std::uint32_t>(s.end - 1));
  };
  for (std::size_t i = 0; i < spans.size();) {
    PixelSpan dark = spans[i++];
    for (; run < list.count && endOf(run) < dark.first; ++run) add({firstOf(run), endOf(run)});
    // It grows by all that it reaches.
    for (bool grows = true; grows;) {
      grows = false;
      for (; run < list.count && firstOf(run) <= dark.end; ++run, grows = true) {
        dark = {std::min(dark.first, firstOf(run)), std::max(dark.end, endOf(run))};
      }
      for (; i < spans.size() && spans[i].first <= dark.end; ++i, grows = true) {
        dark.end = std::max(dark.end, spans[i].end);
      }
    }
    add(dark);
  }
  for (; run < list.count; ++run) add({firstOf(run), endOf(run)});
}

}  // namespace quillbay
