#include "rasters/draw_tones.h"

#include <algorithm>

namespace quillbay {
namespace {

/// 257 * 255 is the largest sum that 16 bits hold.
constexpr std::uint32_t kWholeLines = 257;
/// The largest weight whose sum of 255s fits 32 bits.
constexpr std::uint32_t kSumWeight = 0xFFFFFFFFU / 255;

void addWhole(std::uint16_t* __restrict sums, const std::uint8_t* __restrict line, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + line[i]);
}

void addWeighted(std::uint32_t* __restrict sums, const std::uint8_t* __restrict line, std::size_t n,
                 std::uint16_t weight) noexcept {
  for (std::size_t i = 0; i < n; ++i) sums[i] += static_cast<std::uint16_t>(line[i] * weight);
}

void moveWhole(std::uint32_t* __restrict sums, std::uint16_t* __restrict whole, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    sums[i] += static_cast<std::uint32_t>(whole[i]) << 8;
    whole[i] = 0;
  }
}

std::uint64_t sumSpan(const std::uint32_t* sums, const AxisSpan& span, int channels) noexcept {
  std::uint64_t total = static_cast<std::uint64_t>(sums[0]) * span.firstWeight;
  if (span.first == span.last) return total;
  std::uint64_t inner = 0;
  const std::uint32_t* p = sums + channels;
  for (std::int32_t i = span.first + 1; i < span.last; ++i, p += channels) inner += *p;
  return total + inner * 256 + static_cast<std::uint64_t>(*p) * span.lastWeight;
}

std::uint64_t spanWeight(const AxisSpan& span) noexcept {
  if (span.first == span.last) return span.firstWeight;
  return span.firstWeight + span.lastWeight + 256 * static_cast<std::uint64_t>(span.last - span.first - 1);
}

std::uint32_t pixel(std::uint32_t r, std::uint32_t g, std::uint32_t b) noexcept {
  return 0xFF000000U | r << 16 | g << 8 | b;
}

}  // namespace

ToneReducer::ToneReducer(KxColorSpace colorSpace, const Palette& palette, const DrawAxis& columns)
    : m_colorSpace(colorSpace), m_palette(palette), m_columns(columns), m_order{0, 1, 2} {
  std::int32_t high = 0;
  m_low = columns.spans.front().first;
  for (const AxisSpan& s : columns.spans) {
    m_low = std::min(m_low, s.first);
    high = std::max(high, s.last);
    m_plain = m_plain && s.first == s.last;
  }
  const auto pixels = static_cast<std::size_t>(high - m_low) + 1;
  const bool expanded = colorSpace == KxColorSpace::Four || colorSpace == KxColorSpace::Palette;
  m_channels = expanded ? 3 : bitsPerPixel(colorSpace) / 8;
  if (m_channels == 1) m_order = {0, 0, 0};
  if (colorSpace == KxColorSpace::Bgr || colorSpace == KxColorSpace::Bgra) m_order = {2, 1, 0};
  m_bytes = pixels * static_cast<std::size_t>(m_channels);
  if (expanded) m_expanded.resize(m_bytes);
  m_whole.resize(m_bytes);
  m_sums.resize(m_bytes);
  m_across.resize(columns.spans.size() * 3);
}

const std::uint8_t* ToneReducer::channelsOf(const std::uint8_t* line) {
  const auto low = static_cast<std::size_t>(m_low);
  if (m_expanded.empty()) return line + low * static_cast<std::size_t>(m_channels);
  const std::size_t pixels = m_bytes / 3;
  std::uint8_t* out = m_expanded.data();
  for (std::size_t i = 0; i < pixels; ++i, out += 3) {
    std::size_t index = 0;
    if (m_colorSpace == KxColorSpace::Four) {
      const std::uint8_t two = line[(low + i) / 2];
      index = (low + i) % 2 == 0 ? two >> 4 : two & 15;
    } else {
      index = line[low + i];
    }
    const KXRGBQUAD& c = m_palette[index];
    out[0] = c.red;
    out[1] = c.green;
    out[2] = c.blue;
  }
  return m_expanded.data();
}

void ToneReducer::addLine(const std::uint8_t* line, std::uint32_t weight) {
  const std::uint8_t* bytes = channelsOf(line);
  if (weight == 256) {
    addWhole(m_whole.data(), bytes, m_bytes);
    if (++m_wholeLines == kWholeLines) flushWhole();
    return;
  }
  if (m_sumWeight + 256 > kSumWeight) reduceAcross();
  addWeighted(m_sums.data(), bytes, m_bytes, static_cast<std::uint16_t>(weight));
  m_sumWeight += weight;
}

void ToneReducer::flushWhole() noexcept {
  if (m_wholeLines == 0) return;
  if (m_sumWeight + 256 * kWholeLines > kSumWeight) reduceAcross();
  moveWhole(m_sums.data(), m_whole.data(), m_bytes);
  m_sumWeight += 256 * m_wholeLines;
  m_wholeLines = 0;
}

void ToneReducer::reduceAcross() noexcept {
  std::uint64_t* out = m_across.data();
  for (const AxisSpan& span : m_columns.spans) {
    const std::uint32_t* sums = m_sums.data() + (span.first - m_low) * m_channels;
    for (std::size_t c = 0; c < 3; ++c) *out++ += sumSpan(sums + m_order[c], span, m_channels);
  }
  std::fill(m_sums.begin(), m_sums.end(), 0U);
  m_totalWeight += m_sumWeight;
  m_sumWeight = 0;
}

void ToneReducer::finishRow(std::uint32_t* out) {
  flushWhole();
  reduceAcross();
  const std::uint64_t* sums = m_across.data();
  for (const AxisSpan& span : m_columns.spans) {
    const std::uint64_t total = std::max<std::uint64_t>(1, spanWeight(span) * m_totalWeight);
    const std::uint64_t half = total / 2;
    const double part = 1.0 / static_cast<double>(total);
    const auto tone = [&](std::uint64_t sum) {
      return static_cast<std::uint32_t>(static_cast<double>(sum + half) * part);
    };
    *out++ = pixel(tone(sums[0]), tone(sums[1]), tone(sums[2]));
    sums += 3;
  }
  std::fill(m_across.begin(), m_across.end(), 0U);
  m_totalWeight = 0;
}

void ToneReducer::copyRow(const std::uint8_t* line, std::uint32_t* out) {
  const std::uint8_t* bytes = channelsOf(line);
  for (const AxisSpan& span : m_columns.spans) {
    const std::uint8_t* p =
        bytes + static_cast<std::size_t>(span.first - m_low) * static_cast<std::size_t>(m_channels);
    *out++ = pixel(p[m_order[0]], p[m_order[1]], p[m_order[2]]);
  }
}

}  // namespace quillbay
