#include "stores/picture_painter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "stores/reduce_loops.h"

namespace quillbay {
namespace {

struct DeviceRange {
  std::int32_t begin = 0, end = 0;
  [[nodiscard]] bool empty() const noexcept { return begin >= end; }
};

/// The device pixels within the clip whose centre lies on what is mapped to `a`..`b`.
DeviceRange centresIn(double a, double b, std::int32_t clipBegin, std::int32_t clipEnd) {
  if (!std::isfinite(a) || !std::isfinite(b)) return {};
  const auto clamped = [&](double v) {
    return static_cast<std::int32_t>(std::clamp<double>(v, clipBegin, std::max(clipBegin, clipEnd)));
  };
  return {clamped(std::ceil(std::min(a, b) - 0.5)), clamped(std::ceil(std::max(a, b) - 0.5))};
}

/// The part of a source axis that a device pixel covers.
std::pair<double, double> covered(std::int32_t pixel, double scale, double offset, double begin, double end) {
  const double a = std::clamp((pixel - offset) / scale, begin, end);
  const double b = std::clamp((pixel + 1 - offset) / scale, begin, end);
  return {std::min(a, b), std::max(a, b)};
}

std::uint16_t parts256(double v) {
  return static_cast<std::uint16_t>(std::clamp<long>(std::lround(v * kWholePixel), 0, kWholePixel));
}

AreaSpan columnSpan(double from, double to, std::int32_t width) {
  AreaSpan s;
  s.first = std::clamp(static_cast<std::int32_t>(from), 0, width - 1);
  s.last = std::clamp(static_cast<std::int32_t>(std::ceil(to)) - 1, s.first, width - 1);
  if (s.first == s.last) {
    s.firstWeight = s.lastWeight = kWholePixel;  // whatever part it is: nothing else is there
    return s;
  }
  s.firstWeight = parts256(s.first + 1 - from);
  s.lastWeight = parts256(to - s.last);
  if (s.last - s.first == 1 && s.firstWeight + s.lastWeight == 0) s.firstWeight = 1;
  return s;
}

/// How much darker ink gets by a gain, by its darkness.
std::array<std::uint8_t, 256> inkTable(double gain) {
  std::array<std::uint8_t, 256> out{};
  for (std::size_t tone = 0; tone < out.size(); ++tone) {
    const double dark = std::min(255.0, static_cast<double>(255 - tone) * gain);
    out[tone] = static_cast<std::uint8_t>(255 - std::lround(dark));
  }
  return out;
}

/// Draws parts of one width and kind.
class GroupPainter {
 public:
  GroupPainter(const PictureParts& parts, std::size_t begin, std::size_t end, const CRDirectTfm& tfm, bool sampled)
      : m_parts(parts), m_begin(begin), m_end(end), m_tfm(tfm), m_sampled(sampled) {
    m_top = parts[begin]->top;
    m_bottom = parts[end - 1]->bottom;
  }

  void paint(IRasterDC& target) {
    const KxRect clip = target.GetClip();
    const std::int32_t width = m_parts[m_begin]->picture.width;
    m_columns = centresIn(m_tfm.offsetX, m_tfm.scaleX * width + m_tfm.offsetX, clip.left, clip.right);
    const DeviceRange rows = centresIn(m_tfm.scaleY * m_top + m_tfm.offsetY,
                                       m_tfm.scaleY * m_bottom + m_tfm.offsetY, clip.top, clip.bottom);
    if (m_columns.empty() || rows.empty()) return;
    m_across = std::max(1.0, 1 / std::abs(m_tfm.scaleX));
    m_unit = lineUnit(m_across + 2, mostRowsPerLine() / std::abs(m_tfm.scaleY) + 2);
    m_sampled = m_sampled || m_unit == 0;
    m_isInk = m_parts[m_begin]->isInk && !m_sampled;
    makeColumns(width);
    for (std::int32_t y = rows.begin; y < rows.end; ++y) {
      if (std::uint32_t* out = target.GetRow(y)) paintRow(y, out + m_columns.begin);
    }
  }

 private:
  /// Rows of a picture to a reduced line: 1, or fewer where it was halved.
  [[nodiscard]] double mostRowsPerLine() const {
    double most = 0;
    for (std::size_t i = m_begin; i < m_end; ++i)
      most = std::max(most, m_parts[i]->picture.height / (m_parts[i]->bottom - m_parts[i]->top));
    return most;
  }

  void makeColumns(std::int32_t width) {
    std::vector<AreaSpan> spans;
    for (std::int32_t x = m_columns.begin; x < m_columns.end; ++x) {
      auto [from, to] = covered(x, m_tfm.scaleX, m_tfm.offsetX, 0, width);
      if (m_sampled) from = to = (x + 0.5 - m_tfm.offsetX) / m_tfm.scaleX;
      spans.push_back(columnSpan(from, to, width));
    }
    m_cells.make(spans);
  }

  void paintRow(std::int32_t y, std::uint32_t* out) {
    auto [from, to] = covered(y, m_tfm.scaleY, m_tfm.offsetY, m_top, m_bottom);
    if (m_sampled) from = to = std::clamp((y + 0.5 - m_tfm.offsetY) / m_tfm.scaleY, m_top, m_bottom);
    collectRows(from, to);
    if (m_sampled) return paintSampled(out);
    const float inverse = 1.0F / static_cast<float>(weighRows());
    for (const CellBlock& block : m_cells.blocks) {
      sumLines(m_row, block.firstPixel * 4, block.pixelCount * 4, m_cells.sums.data());
      finishCells(ToneOrder::BgrX, m_cells.cells.data() + block.firstCell, block.cellCount, m_cells.sums.data(),
                  inverse, out + block.firstCell);
    }
    if (m_isInk) darken(out);
  }

  /// The rows of pictures that lie in `from`..`to`, at least one, and how much of each.
  void collectRows(double from, double to) {
    m_rows.clear();
    m_covered.clear();
    m_crossed = 0;
    const auto at = std::upper_bound(m_parts.begin() + static_cast<std::ptrdiff_t>(m_begin),
                                     m_parts.begin() + static_cast<std::ptrdiff_t>(m_end) - 1, from,
                                     [](double v, const auto& part) { return v < part->bottom; });
    for (auto i = static_cast<std::size_t>(at - m_parts.begin()); i < m_end; ++i) {
      const PicturePart& part = *m_parts[i];
      if (part.top >= to && !m_rows.empty()) return;
      const double height = (part.bottom - part.top) / part.picture.height;
      const auto row = [&](double v) {
        return std::clamp(static_cast<std::int32_t>(v), 0, part.picture.height - 1);
      };
      const std::int32_t first = row((from - part.top) / height);
      const std::int32_t last = std::max(first, row(std::ceil((to - part.top) / height) - 1));
      for (std::int32_t r = first; r <= last; ++r) {
        const double top = part.top + r * height;
        m_rows.push_back(part.picture.bytes.data() + static_cast<std::size_t>(r) * part.picture.stride);
        m_covered.push_back(std::min(to, top + height) - std::max(from, top));
        m_crossed += m_covered.back() / height;
      }
    }
  }

  /// The rows by their weights, parts of the fullest one's; returns their sum.
  std::uint32_t weighRows() {
    const double most = *std::max_element(m_covered.begin(), m_covered.end());
    m_whole.clear();
    m_partRows.clear();
    m_weights.clear();
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
      const auto weight =
          most > 0 ? static_cast<std::uint32_t>(std::max(0L, std::lround(m_covered[i] / most * m_unit))) : m_unit;
      if (weight == m_unit) {
        m_whole.push_back(m_rows[i]);
      } else if (weight > 0) {
        m_partRows.push_back(m_rows[i]);
        m_weights.push_back(static_cast<std::uint16_t>(weight));
      }
    }
    m_row = {m_whole.data(), m_whole.size(), m_unit, m_partRows.data(), m_weights.data(), m_partRows.size()};
    std::uint32_t all = m_unit * static_cast<std::uint32_t>(m_whole.size());
    for (const std::uint16_t weight : m_weights) all += weight;
    return all;
  }

  void paintSampled(std::uint32_t* out) const {
    for (const CellBlock& block : m_cells.blocks) {
      const std::uint8_t* row = m_rows.front() + block.firstPixel * 4;
      for (std::size_t i = block.firstCell; i < block.firstCell + block.cellCount; ++i)
        std::memcpy(out + i, row + std::size_t{m_cells.cells[i].offset} * 4, 4);
    }
  }

  void darken(std::uint32_t* out) {
    const double gain = std::max(m_across, m_crossed);
    if (std::abs(gain - m_gain) > gain / 512) {  // less is no tone
      m_gain = gain;
      m_darkened = inkTable(gain);
    }
    for (std::int32_t i = 0; i < m_columns.end - m_columns.begin; ++i)
      out[i] = 0xFF000000U | m_darkened[out[i] & 255] * 0x010101U;
  }

  const PictureParts& m_parts;
  const std::size_t m_begin, m_end;
  const CRDirectTfm m_tfm;
  bool m_sampled;
  bool m_isInk = false;
  double m_top = 0, m_bottom = 0;
  std::uint32_t m_unit = kWholePixel;
  DeviceRange m_columns;
  CellRow m_cells;
  double m_gain = 0;  // that m_darkened is made for
  std::array<std::uint8_t, 256> m_darkened{};
  double m_across = 1;   // source columns of a device pixel
  double m_crossed = 0;  // rows of pictures that the device row covers
  std::vector<const std::uint8_t*> m_rows, m_whole, m_partRows;
  std::vector<double> m_covered;
  std::vector<std::uint16_t> m_weights;
  WeightedLines m_row;
};

/// A picture as what is drawn on.
class PictureDC final : public CKxUnknownImpl<IRasterDC> {
 public:
  explicit PictureDC(Picture& picture) : m_picture(picture) {}
  KxSize GetDeviceSize() override { return {m_picture.width, m_picture.height}; }
  KxRect GetClip() override { return {0, 0, m_picture.width, m_picture.height}; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return reinterpret_cast<std::uint32_t*>(m_picture.bytes.data() +
                                            static_cast<std::size_t>(y) * m_picture.stride);
  }

 private:
  Picture& m_picture;
};

Picture whitePicture(const PictureParts& parts, std::int32_t height) {
  Picture out;
  for (const auto& part : parts) out.width = std::max(out.width, part->picture.width);
  out.height = height;
  out.stride = static_cast<std::size_t>(out.width) * 4;
  out.bytes.assign(out.stride * static_cast<std::size_t>(height), 0xFF);
  return out;
}

}  // namespace

void paintParts(const PictureParts& parts, IRasterDC& target, const CRDirectTfm& tfm) {
  if (tfm.scaleX == 0 || tfm.scaleY == 0) return;
  const auto mode = query<IRasterDCMode>(&target);
  const bool sampled = mode && mode->GetStretchMode() == 0;
  for (std::size_t begin = 0; begin < parts.size();) {
    std::size_t end = begin + 1;
    while (end < parts.size() && parts[end]->picture.width == parts[begin]->picture.width &&
           parts[end]->isInk == parts[begin]->isInk)
      ++end;
    GroupPainter(parts, begin, end, tfm, sampled).paint(target);
    begin = end;
  }
}

Picture joinParts(const PictureParts& parts) {
  std::int32_t height = 0;
  for (const auto& part : parts) height += part->picture.height;
  Picture out = whitePicture(parts, height);
  std::uint8_t* row = out.bytes.data();
  for (const auto& part : parts) {
    const Picture& p = part->picture;
    for (std::int32_t y = 0; y < p.height; ++y, row += out.stride)
      std::memcpy(row, p.bytes.data() + static_cast<std::size_t>(y) * p.stride,
                  static_cast<std::size_t>(p.width) * 4);
  }
  return out;
}

std::shared_ptr<const PicturePart> mergeParts(const PictureParts& parts, std::int32_t height) {
  auto out = std::make_shared<PicturePart>();
  out->picture = whitePicture(parts, height);
  out->top = parts.front()->top;
  out->bottom = parts.back()->bottom;
  out->isInk = parts.front()->isInk;
  const double scale = height / (out->bottom - out->top);
  const auto target = KxPtr<PictureDC>::adopt(new PictureDC(out->picture));
  paintParts(parts, *target, {1, scale, 0, -out->top * scale});
  return out;
}

}  // namespace quillbay
