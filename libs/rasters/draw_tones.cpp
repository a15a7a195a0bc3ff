#include "rasters/draw_tones.h"

#include <algorithm>
#include <cstring>

namespace quillbay {
namespace {

/// 257 * 255 is the largest sum that 16 bits hold.
constexpr std::uint32_t kWholeLines = 257;
/// The largest weight of a pixel whose sum fits 31 bits.
constexpr std::uint64_t kSmallWeight = 1U << 23;
/// The same for floats, whose products of 24 bits are less exact.
constexpr float kFloatHalf = 0.5F + 1e-4F;
/// A half, and a little more: what is exactly between two tones is rounded up, whatever the product was rounded to.
constexpr double kHalf = 0.5 + 1e-7;
/// The largest weight whose sum of 255s fits 32 bits.
constexpr std::uint32_t kSumWeight = 0xFFFFFFFFU / 255;

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

/// Of a number below 2^31, which is faster converted as a signed one.
float toFloat(std::uint32_t v) noexcept { return static_cast<float>(static_cast<std::int32_t>(v)); }

std::uint32_t pixel(std::uint32_t r, std::uint32_t g, std::uint32_t b) noexcept {
  return 0xFF000000U | r << 16 | g << 8 | b;
}

}  // namespace

InkColors inkColors(std::uint32_t background) noexcept {
  InkColors colors;
  for (std::uint32_t dark = 0; dark < 256; ++dark) {
    const auto blend = [&](std::uint32_t paper) { return (paper * (255 - dark) + 127) / 255; };
    colors[dark] = pixel(blend(background & 255), blend(background >> 8 & 255), blend(background >> 16 & 255));
  }
  return colors;
}

PixelBytes pixelBytes(const Palette& palette) noexcept {
  PixelBytes out{};
  for (std::size_t i = 0; i < out.size(); ++i) {
    const std::uint8_t bytes[4] = {palette[i].red, palette[i].green, palette[i].blue, 0};
    std::memcpy(&out[i], bytes, sizeof(bytes));
  }
  return out;
}

void expandIndices(KxColorSpace colorSpace, const PixelBytes& colors, const std::uint8_t* line, std::size_t low,
                   std::size_t pixels, std::uint8_t* out) noexcept {
  const bool four = colorSpace == KxColorSpace::Four;
  for (std::size_t i = low; i < low + pixels; ++i, out += 4) {
    const std::size_t index = !four ? line[i] : i % 2 == 0 ? line[i / 2] >> 4 : line[i / 2] & 15;
    std::memcpy(out, &colors[index], 4);
  }
}

ToneReducer::ToneReducer(KxColorSpace colorSpace, const Palette& palette, const DrawAxis& columns)
    : m_colorSpace(colorSpace), m_columns(columns), m_order{0, 1, 2} {
  std::int32_t high = 0;
  m_low = columns.spans.front().first;
  for (const AxisSpan& s : columns.spans) {
    m_low = std::min(m_low, s.first);
    high = std::max(high, s.last);
    m_plain = m_plain && s.first == s.last;
  }
  const auto pixels = static_cast<std::size_t>(std::int64_t{high} - m_low) + 1;
  const bool expanded = colorSpace == KxColorSpace::Four || colorSpace == KxColorSpace::Palette;
  m_channels = expanded ? 4 : bitsPerPixel(colorSpace) / 8;
  if (m_channels == 1) m_order = {0, 0, 0};
  if (colorSpace == KxColorSpace::Bgr || colorSpace == KxColorSpace::Bgra) m_order = {2, 1, 0};
  m_bytes = pixels * static_cast<std::size_t>(m_channels);
  if (expanded) takePalette(palette);
  m_whole.resize(m_bytes);
  m_sums.resize(m_bytes + 4);  // the last pixel is read with what follows it
  m_across.resize(columns.spans.size() * 3);
  m_inverse.reserve(columns.spans.size());
  m_spans.reserve(columns.spans.size());
  for (const AxisSpan& span : columns.spans) {
    const std::uint64_t weight = std::max<std::uint64_t>(1, spanWeight(span));
    m_mostWeight = std::max(m_mostWeight, weight);
    const double inverse = 1.0 / static_cast<double>(weight);
    m_inverse.push_back(inverse);
    m_spans.push_back({static_cast<std::uint32_t>(span.first - m_low),
                       span.first == span.last ? ColumnSpan::kSingle : span.last - span.first - 1,
                       static_cast<float>(span.firstWeight * inverse), static_cast<float>(256 * inverse),
                       static_cast<float>(span.lastWeight * inverse)});
  }
}

void ToneReducer::takePalette(const Palette& palette) {
  m_colors = pixelBytes(palette);
  m_expanded.resize(m_bytes);
  if (m_colorSpace == KxColorSpace::Four) return;
  m_tones.resize(palette.size());
  for (std::size_t i = 0; i < palette.size(); ++i) {
    const std::uint16_t tones[4] = {palette[i].red, palette[i].green, palette[i].blue, 0};
    std::memcpy(&m_tones[i], tones, sizeof(tones));
  }
}

void ToneReducer::setInk(double gain, const InkColors& colors) {
  m_gain = gain;
  m_ink = &colors;
}

const std::uint8_t* ToneReducer::channelsOf(const std::uint8_t* line) {
  const auto low = static_cast<std::size_t>(m_low);
  if (m_expanded.empty()) return line + low * static_cast<std::size_t>(m_channels);
  expandIndices(m_colorSpace, m_colors, line, low, m_bytes / 4, m_expanded.data());
  return m_expanded.data();
}

void ToneReducer::freshenSums() noexcept {
  if (!m_stale) return;
  std::fill(m_sums.begin(), m_sums.end(), 0U);
  m_stale = false;
}

/// The whole row in one go, without sums of sums in between: the row has no other lines.
void ToneReducer::addFew(const std::uint8_t* const* lines, const AxisSpan& span) {
  const bool indices = !m_tones.empty();
  const std::size_t at =
      static_cast<std::size_t>(m_low) * (indices ? std::size_t{1} : static_cast<std::size_t>(m_channels));
  const std::uint8_t* l[kLinesAtOnce] = {};
  const auto count = static_cast<std::size_t>(std::int64_t{span.last} - span.first + 1);
  for (std::size_t i = 0; i < count; ++i) l[i] = lines[i] + at;
  const auto first = static_cast<std::uint16_t>(span.firstWeight);
  const auto last = static_cast<std::uint16_t>(span.lastWeight);
  if (indices) {
    m_loops.sumIndices(m_sums.data(), m_tones.data(), l, count, m_bytes / 4, first, last);
  } else {
    m_loops.sumLines(m_sums.data(), l, count, m_bytes, first, last);
  }
  m_sumWeight = static_cast<std::uint32_t>(spanWeight(span));
  m_stale = false;
}

void ToneReducer::addLine(const std::uint8_t* line, std::uint32_t weight) {
  const std::uint8_t* bytes = channelsOf(line);
  if (weight == 256) {
    m_loops.addWhole(m_whole.data(), bytes, m_bytes);
    if (++m_wholeLines == kWholeLines) flushWhole();
    return;
  }
  if (m_sumWeight + 256 > kSumWeight) reduceAcross();
  freshenSums();
  m_loops.addWeighted(m_sums.data(), bytes, m_bytes, static_cast<std::uint16_t>(weight));
  m_sumWeight += weight;
}

void ToneReducer::flushWhole() noexcept {
  if (m_wholeLines == 0) return;
  if (m_sumWeight + 256 * kWholeLines > kSumWeight) reduceAcross();
  freshenSums();
  m_loops.moveWhole(m_sums.data(), m_whole.data(), m_bytes);
  m_sumWeight += 256 * m_wholeLines;
  m_wholeLines = 0;
}

void ToneReducer::reduceAcross() noexcept {
  if (m_sumWeight == 0) return;
  std::uint64_t* out = m_across.data();
  for (const AxisSpan& span : m_columns.spans) {
    const std::uint32_t* sums = m_sums.data() + (span.first - m_low) * m_channels;
    for (std::size_t c = 0; c < 3; ++c) *out++ += sumSpan(sums + m_order[c], span, m_channels);
  }
  m_stale = true;
  m_totalWeight += m_sumWeight;
  m_sumWeight = 0;
}

void ToneReducer::finishGrey(std::uint32_t* out) noexcept {
  const float rowInverse = static_cast<float>(m_gain) / static_cast<float>(m_sumWeight);
  const std::uint32_t* sums = m_sums.data();
  for (const ColumnSpan& span : m_spans) {
    const std::uint32_t* p = sums + span.offset;
    float total = toFloat(*p) * span.first;
    if (span.inner != ColumnSpan::kSingle) {
      std::uint32_t inner = 0;
      for (std::int32_t i = 0; i < span.inner; ++i) inner += *++p;
      total += toFloat(inner) * span.whole + toFloat(*++p) * span.last;
    }
    const auto v = static_cast<std::uint32_t>(static_cast<std::int32_t>(total * rowInverse + kFloatHalf));
    *out++ = m_ink ? (*m_ink)[std::min(255U, v)] : pixel(v, v, v);
  }
  m_stale = true;
  m_sumWeight = 0;
}

void ToneReducer::finishRow(std::uint32_t* out) {
  flushWhole();
  if (m_totalWeight == 0 && m_sumWeight > 0 && m_sumWeight * m_mostWeight <= kSmallWeight) {
    if (m_channels == 1) {
      finishGrey(out);
      return;
    }
    const std::size_t form = (m_order[0] == 2 ? 2U : 0U) + (m_channels == 4 ? 1U : 0U);
    m_loops.finishColors[form](out, m_spans.data(), m_spans.size(), m_sums.data(),
                               1.0F / static_cast<float>(m_sumWeight));
    m_stale = true;
    m_sumWeight = 0;
    return;
  }
  reduceAcross();
  const std::uint64_t* sums = m_across.data();
  const double rowInverse = m_gain / static_cast<double>(std::max<std::uint64_t>(1, m_totalWeight));
  for (const double inverse : m_inverse) {
    const double part = inverse * rowInverse;
    const auto tone = [&](std::uint64_t sum) {
      return static_cast<std::uint32_t>(
          static_cast<std::int64_t>(static_cast<double>(static_cast<std::int64_t>(sum)) * part + kHalf));
    };
    if (m_ink) {
      *out++ = (*m_ink)[std::min(255U, tone(sums[0]))];
    } else {
      *out++ = pixel(tone(sums[0]), tone(sums[1]), tone(sums[2]));
    }
    sums += 3;
  }
  std::fill(m_across.begin(), m_across.end(), 0U);
  m_totalWeight = 0;
}

void ToneReducer::copyRow(const std::uint8_t* line, std::uint32_t* out) {
  if (!m_tones.empty()) {
    for (const AxisSpan& span : m_columns.spans) {
      std::uint8_t p[4];
      std::memcpy(p, &m_colors[line[span.first]], sizeof(p));
      *out++ = pixel(p[0], p[1], p[2]);
    }
    return;
  }
  const std::uint8_t* bytes = channelsOf(line);
  for (const ColumnSpan& span : m_spans) {
    const std::uint8_t* p = bytes + std::size_t{span.offset} * static_cast<std::size_t>(m_channels);
    *out++ = pixel(p[m_order[0]], p[m_order[1]], p[m_order[2]]);
  }
}

}  // namespace quillbay
