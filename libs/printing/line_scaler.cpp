#include "printing/line_scaler.h"

#include <algorithm>
#include <cmath>

namespace quillbay {
namespace {

/// Rounded, of 0 to 255; by way of an integer, which the compiler turns into vectors.
std::uint8_t toByte(float v) {
  return static_cast<std::uint8_t>(static_cast<int>(v + 0.5F));  // NOLINT(bugprone-incorrect-roundings)
}

}  // namespace

LineScaler::LineScaler(int channels, std::int64_t width, std::int64_t outWidth, double scaleY, bool isSmooth,
                       Take take)
    : m_channels(channels),
      m_scaleY(scaleY),
      m_ratio(1 / scaleY),
      m_isSmooth(isSmooth),
      m_shrinksAcross(outWidth < width),
      m_shrinksAlong(scaleY < 1),
      m_take(std::move(take)),
      m_samples(static_cast<std::size_t>(outWidth) * static_cast<std::size_t>(channels)),
      m_columns(static_cast<std::size_t>(outWidth)),
      m_now(m_samples),
      m_before(m_samples),
      m_out(m_samples) {
  const double step = static_cast<double>(width) / static_cast<double>(outWidth);
  const auto last = static_cast<std::uint32_t>(width - 1);
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    Column& c = m_columns[i];
    if (m_shrinksAcross) {
      const double from = static_cast<double>(i) * step, to = from + step;
      c.first = std::min(static_cast<std::uint32_t>(from), last);
      c.last = std::clamp(static_cast<std::uint32_t>(std::ceil(to)), c.first + 1, last + 1) - 1;
      c.firstWeight = static_cast<float>(std::min(c.first + 1.0, to) - from);
      c.lastWeight = c.last > c.first ? static_cast<float>(std::min(to, c.last + 1.0) - c.last) : 0.0F;
      c.factor = static_cast<float>(
          1 / (static_cast<double>(c.firstWeight) + c.lastWeight + std::max<double>(c.last - c.first, 1) - 1));
      continue;
    }
    const double centre = (static_cast<double>(i) + 0.5) * step - 0.5;
    const double place = std::clamp(isSmooth ? centre : std::round(centre), 0.0, static_cast<double>(last));
    c.first = static_cast<std::uint32_t>(place);
    c.last = std::min(c.first + 1, last);
    c.lastWeight = static_cast<float>(place - c.first);
    c.firstWeight = 1 - c.lastWeight;
    c.factor = 1;
  }
}

template <int channels>
void LineScaler::scaleAcross(const std::uint8_t* line) {
  float* out = m_now.data();
  if (!m_shrinksAcross) {
    for (const Column& c : m_columns) {
      const std::uint8_t* const in = line + static_cast<std::size_t>(c.first) * channels;
      const std::uint8_t* const next = line + static_cast<std::size_t>(c.last) * channels;
      for (int k = 0; k < channels; ++k) {
        *out++ = static_cast<float>(in[k]) * c.firstWeight + static_cast<float>(next[k]) * c.lastWeight;
      }
    }
    return;
  }
  for (const Column& c : m_columns) {
    const std::uint8_t* in = line + static_cast<std::size_t>(c.first) * channels;
    const std::uint8_t* const end = line + static_cast<std::size_t>(c.last) * channels;
    float sum[channels];
    for (int k = 0; k < channels; ++k) sum[k] = c.firstWeight * in[k] + c.lastWeight * end[k];
    for (in += channels; in < end; in += channels) {
      for (int k = 0; k < channels; ++k) sum[k] += in[k];
    }
    for (int k = 0; k < channels; ++k) *out++ = sum[k] * c.factor;
  }
}

void LineScaler::across(const std::uint8_t* line) {
  if (m_channels == 3) {
    scaleAcross<3>(line);
  } else {
    scaleAcross<1>(line);
  }
}

void LineScaler::add(const std::uint8_t* line) {
  if (!m_shrinksAlong) std::swap(m_now, m_before);
  across(line);
  if (m_shrinksAlong) {
    addArea();
  } else {
    addBetween();
  }
  ++m_linesIn;
}

/// Adds the line to the one or two lines of the output that it lies in.
void LineScaler::addArea() {
  double from = static_cast<double>(m_linesIn);
  const double to = from + 1;
  while (from < to) {
    const double end = static_cast<double>(m_linesOut + 1) * m_ratio;
    const double part = std::min(to, end) - from;
    if (part > 0) {
      const auto weight = static_cast<float>(part);
      for (std::size_t i = 0; i < m_samples; ++i) m_before[i] += weight * m_now[i];
      m_weight += part;
    }
    if (end > to) return;
    hand(m_before.data(), static_cast<float>(1 / m_weight));
    std::fill(m_before.begin(), m_before.end(), 0.0F);
    m_weight = 0;
    from = end;
  }
}

/// Hands out the lines between the one before and this one.
void LineScaler::addBetween() {
  for (;;) {
    const double centre = (static_cast<double>(m_linesOut) + 0.5) * m_ratio - 0.5;
    const double place = std::max(0.0, m_isSmooth ? centre : std::round(centre));
    const auto here = static_cast<double>(m_linesIn);
    if (place > here) return;
    handMix(m_linesIn == 0 ? 1.0F : static_cast<float>(place - (here - 1)));
  }
}

void LineScaler::handMix(float weightOfNew) {
  const float *const now = m_now.data(), *const before = m_before.data();
  std::uint8_t* const out = m_out.data();
  for (std::size_t i = 0; i < m_samples; ++i) {
    out[i] = toByte(before[i] + (now[i] - before[i]) * weightOfNew);
  }
  ++m_linesOut;
  m_take(m_out.data());
}

void LineScaler::hand(const float* line, float factor) {
  std::uint8_t* const out = m_out.data();
  for (std::size_t i = 0; i < m_samples; ++i) out[i] = toByte(line[i] * factor);
  ++m_linesOut;
  m_take(m_out.data());
}

void LineScaler::finish() {
  if (m_linesIn == 0) return;
  const std::int64_t wanted = std::max<std::int64_t>(1, std::llround(static_cast<double>(m_linesIn) * m_scaleY));
  while (m_linesOut < wanted) {
    // What was gathered of the last lines; beyond them the last line goes on.
    const bool isGathered = m_shrinksAlong && m_weight > 0;
    hand(isGathered ? m_before.data() : m_now.data(), isGathered ? static_cast<float>(1 / m_weight) : 1.0F);
    m_weight = 0;
  }
}

}  // namespace quillbay
