#include "scanners/sim/sim_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "quillbay/geometry.h"
#include "scanners/lines/line_convert.h"

namespace quillbay {

namespace {

// More samples a pixel cost time and change little.
constexpr int kMostSamples = 6;

}  // namespace

SimImage::SimImage(const std::string& path, double dpi, const SimTransform& transform)
    : m_rows(path), m_transform(transform) {
  m_transform.scale = transform.scale * kMmPerInch / dpi;  // pixels of the bed per pixel of the image
  m_step = 1 / m_transform.scale;
  m_plain = std::abs(m_step - 1) < 1e-9 && m_transform.sine == 0;
  m_samples = std::clamp(static_cast<int>(std::ceil(m_step - 1e-6)), 1, kMostSamples);
  m_rowBytes = static_cast<std::size_t>(m_rows.width()) * static_cast<std::size_t>(m_rows.channels());
  growRing(2);
}

const std::uint8_t* SimImage::rowAt(std::int32_t y) const noexcept {
  return m_ring.get() + static_cast<std::size_t>(y % m_capacity) * m_rowBytes;
}

void SimImage::growRing(std::int32_t rows) {
  if (rows <= m_capacity) return;
  const std::int32_t capacity = rows + rows / 4;
  auto ring = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(capacity) * m_rowBytes);
  for (std::int32_t y = m_first; y < m_next; ++y)
    std::memcpy(ring.get() + static_cast<std::size_t>(y % capacity) * m_rowBytes, rowAt(y), m_rowBytes);
  m_ring = std::move(ring);
  m_capacity = capacity;
}

void SimImage::need(std::int32_t first, std::int32_t last) {
  const auto read = [&] {
    m_rows.readRow(m_ring.get() + static_cast<std::size_t>(m_next % m_capacity) * m_rowBytes);
    ++m_next;
  };
  for (; m_next < first; m_first = m_next) read();
  m_first = std::clamp(first, m_first, m_next);
  growRing(last - m_first + 1);
  while (m_next <= last) read();
}

void SimImage::paint(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  // The rows that the ends of this stretch touch, with room for the samples of a pixel.
  const auto rowOf = [&](double x) {
    return ((static_cast<double>(y) + 0.5 - m_transform.originY) * m_transform.cosine -
            (x - m_transform.originX) * m_transform.sine) *
           m_step;
  };
  const double a = rowOf(from);
  const double b = rowOf(to);
  const double room = m_plain ? 0 : m_step;
  const auto limit = [&](double v) {
    return static_cast<std::int32_t>(std::clamp(std::floor(v), 0.0, static_cast<double>(m_rows.height() - 1)));
  };
  need(limit(std::min(a, b) - room), limit(std::max(a, b) + room));
  if (row.channels == 1)
    sample<1>(row, y, from, to);
  else
    sample<3>(row, y, from, to);
}

template <int channels>
void SimImage::sample(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to) {
  const int have = m_rows.channels();
  std::uint8_t* out = row.at(from);
  const auto count = static_cast<std::size_t>(to - from);
  if (m_plain) {
    const auto left = static_cast<std::int32_t>(std::lround(m_transform.originX));
    const auto line = static_cast<std::int32_t>(y - std::llround(m_transform.originY));
    const std::uint8_t* in = rowAt(line) + static_cast<std::ptrdiff_t>(from - left) * have;
    if (have == channels) {
      std::memcpy(out, in, count * static_cast<std::size_t>(channels));
    } else if (have == 3) {
      rgbToGrey(in, count, out);
    } else {
      greyToRgb(in, count, out);
    }
    return;
  }
  const int n = m_samples;
  const double dux = m_transform.cosine * m_step;
  const double dvx = -m_transform.sine * m_step;
  for (std::int32_t x = from; x < to; ++x, out += channels) {
    int sum[3] = {};
    for (int j = 0; j < n; ++j) {
      const double py = static_cast<double>(y) + (j + 0.5) / n - m_transform.originY;
      for (int i = 0; i < n; ++i) {
        const double px = x + (i + 0.5) / n - m_transform.originX;
        const double u = px * dux - py * dvx;
        const double v = px * dvx + py * dux;
        const auto column = std::clamp(static_cast<std::int32_t>(u), 0, m_rows.width() - 1);
        const auto line = std::clamp(static_cast<std::int32_t>(v), m_first, m_next - 1);
        const std::uint8_t* in = rowAt(line) + static_cast<std::ptrdiff_t>(column) * have;
        if constexpr (channels == 1) {
          sum[0] += have == 1 ? in[0] : greyOf(in[0], in[1], in[2]);
        } else {
          for (int c = 0; c < 3; ++c) sum[c] += have == 1 ? in[0] : in[c];
        }
      }
    }
    for (int c = 0; c < channels; ++c) out[c] = static_cast<std::uint8_t>((sum[c] + n * n / 2) / (n * n));
  }
}

}  // namespace quillbay
