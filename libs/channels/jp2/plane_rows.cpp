#include "channels/jp2/plane_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace quillbay {
namespace {

using Colours = Jp2Head::Colours;

std::uint8_t clampedByte(double value) noexcept {
  return static_cast<std::uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

/// The samples of a plane. The library leaves one plane directly behind the other, so that those of several bytes
/// may lie at any place.
template <class Sample>
class Samples {
 public:
  explicit Samples(const void* from) : m_at(static_cast<const std::uint8_t*>(from)) {}
  Samples& operator+=(std::int64_t count) noexcept {
    m_at += count * static_cast<std::int64_t>(sizeof(Sample));
    return *this;
  }
  template <class Index>
  Sample operator[](Index i) const noexcept {
    Sample value;
    std::memcpy(&value, m_at + static_cast<std::size_t>(i) * sizeof(Sample), sizeof value);
    return value;
  }

 private:
  const std::uint8_t* m_at;
};

/// Full-range YCbCr as ITU-T T.871 has it.
void yccToRgb(const std::uint8_t* const parts[3], std::size_t pixels, std::uint8_t* out) noexcept {
  for (std::size_t x = 0; x < pixels; ++x, out += 3) {
    const double y = parts[0][x], cb = parts[1][x] - 128.0, cr = parts[2][x] - 128.0;
    out[0] = clampedByte(y + 1.402 * cr);
    out[1] = clampedByte(y - 0.344136 * cb - 0.714136 * cr);
    out[2] = clampedByte(y + 1.772 * cb);
  }
}

/// A sample as 0..255.
std::uint8_t toByte(std::int64_t value, const Jp2Head::Component& c) noexcept {
  const std::int64_t most = (std::int64_t{1} << c.bits) - 1;
  if (c.isSigned) value += (most + 1) / 2;
  value = std::clamp<std::int64_t>(value, 0, most);
  if (c.bits == 8) return static_cast<std::uint8_t>(value);
  if (c.bits > 8) return static_cast<std::uint8_t>(value >> (c.bits - 8));
  return static_cast<std::uint8_t>((value * 255 + most / 2) / most);
}

Colours coloursOf(const Jp2Head& head) noexcept {
  const std::size_t count = head.components.size();
  if (count < 3) return Colours::Grey;
  if (head.colours == Colours::Cmyk) return count >= 4 ? Colours::Cmyk : Colours::Rgb;
  if (head.colours == Colours::Grey || head.colours == Colours::Ycc) return head.colours;
  // A codestream alone does not say; only light and colour are stored at different resolutions.
  const bool isThinned = head.components[1].stepX > head.components[0].stepX;
  return head.colours == Colours::Unknown && isThinned ? Colours::Ycc : Colours::Rgb;
}

}  // namespace

PlaneRows::PlaneRows(const Jp2Head& head) : m_head(head), m_colours(coloursOf(head)) {
  const auto components = static_cast<std::int32_t>(head.components.size());
  const auto add = [&](std::int32_t component) {
    if (component < 0 || component >= components)
      throw ModuleError(QB_E_DAMAGED, "the file is damaged: a colour has no plane");
    m_used.push_back(static_cast<std::size_t>(component));
  };
  m_colorSpace = head.paletteCount > 0        ? KxColorSpace::Palette
                 : m_colours == Colours::Grey ? KxColorSpace::Grey
                                              : KxColorSpace::Rgb;
  if (m_colorSpace != KxColorSpace::Rgb) {
    add(m_colorSpace == KxColorSpace::Palette ? 0 : head.places[0]);
  } else if (m_colours == Colours::Cmyk) {
    for (const std::int32_t component : {0, 1, 2, 3}) add(component);
  } else {
    for (const std::int32_t component : head.places) add(component);
  }
  m_colourCount = m_used.size();
  const bool takesOpacity = m_colorSpace == KxColorSpace::Grey || m_colours == Colours::Rgb;
  if (head.opacity >= 0 && takesOpacity && m_colorSpace != KxColorSpace::Palette) add(head.opacity);
  const Jp2Head::Component& first = head.components[0];
  if (m_colorSpace == KxColorSpace::Palette && (first.bits > 8 || first.isSigned))
    throw ModuleError(QB_E_REFUSED, "its palette has more than 256 colours; save it in full colour");
}

void PlaneRows::readRow(const Plane& plane, std::size_t component, std::int64_t left, std::int64_t right,
                        std::int64_t y, std::uint8_t* out) const {
  const Jp2Head::Component& c = m_head.components[component];
  const auto pixels = static_cast<std::size_t>(right - left);
  if (plane.width < 1 || plane.lines < 1) return std::fill_n(out, pixels, std::uint8_t{0}), void();
  const std::int64_t line = std::clamp<std::int64_t>(y / c.stepY - plane.top, 0, plane.lines - 1);
  const auto copy = [&](auto values) {
    values += line * plane.width;
    if (c.stepX == 1 && left >= plane.left && right - plane.left <= plane.width) {
      values += left - plane.left;
      const bool isVerbatim = m_colorSpace == KxColorSpace::Palette || (c.bits == 8 && !c.isSigned);
      for (std::size_t x = 0; x < pixels; ++x)
        out[x] = isVerbatim ? static_cast<std::uint8_t>(values[x]) : toByte(values[x], c);
      return;
    }
    for (std::int64_t x = left; x < right; ++x) {
      const auto value = values[std::clamp<std::int64_t>(x / c.stepX - plane.left, 0, plane.width - 1)];
      *out++ = m_colorSpace == KxColorSpace::Palette ? static_cast<std::uint8_t>(value) : toByte(value, c);
    }
  };
  switch (plane.bytes + (c.isSigned ? 8 : 0)) {
    case 1: return copy(Samples<std::uint8_t>(plane.values));
    case 2: return copy(Samples<std::uint16_t>(plane.values));
    case 9: return copy(Samples<std::int8_t>(plane.values));
    case 10: return copy(Samples<std::int16_t>(plane.values));
    default: return copy(Samples<std::int32_t>(plane.values));
  }
}

void PlaneRows::layOnWhite(std::size_t pixels, std::uint8_t* out) const noexcept {
  const std::vector<std::uint8_t>& opacity = m_rows[m_colourCount];
  const auto step = pixelBytes();
  for (std::size_t x = 0; x < pixels; ++x) {
    for (std::size_t c = 0; c < step; ++c, ++out) {
      const int alpha = opacity[x];
      *out = m_head.isPremultiplied ? static_cast<std::uint8_t>(std::min(*out + 255 - alpha, 255))
                                    : static_cast<std::uint8_t>(255 - ((255 - *out) * alpha + 127) / 255);
    }
  }
}

void PlaneRows::row(const std::vector<Plane>& planes, std::int64_t left, std::int64_t right, std::int64_t y,
                    std::uint8_t* out) {
  const auto pixels = static_cast<std::size_t>(right - left);
  const bool isOne = m_colourCount == 1;
  if (isOne) readRow(planes[m_used[0]], m_used[0], left, right, y, out);
  for (std::size_t i = isOne ? 1 : 0; i < m_used.size(); ++i) {
    m_rows[i].resize(std::max(m_rows[i].size(), pixels));
    readRow(planes[m_used[i]], m_used[i], left, right, y, m_rows[i].data());
  }
  const std::uint8_t* const parts[] = {m_rows[0].data(), m_rows[1].data(), m_rows[2].data()};
  if (m_colours == Colours::Ycc && !isOne) {
    yccToRgb(parts, pixels, out);
  } else if (!isOne) {
    const std::uint8_t* black = m_colours == Colours::Cmyk ? m_rows[3].data() : nullptr;
    std::uint8_t* to = out;
    for (std::size_t x = 0; x < pixels; ++x, to += 3) {
      for (std::size_t c = 0; c < 3; ++c) {
        const int ink = parts[c][x];
        to[c] = static_cast<std::uint8_t>(black ? ((255 - ink) * (255 - black[x]) + 127) / 255 : ink);
      }
    }
  }
  if (m_used.size() > m_colourCount) layOnWhite(pixels, out);
}

}  // namespace quillbay
