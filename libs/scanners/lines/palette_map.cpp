#include "scanners/lines/palette_map.h"

#include <algorithm>
#include <vector>

#include "palettes/nearest_colors.h"

namespace quillbay {

namespace {

class NearestMap final : public PaletteMap {
 public:
  explicit NearestMap(std::span<const KXRGBQUAD> palette) : PaletteMap(palette), m_nearest(palette) {}
  void map(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) noexcept override {
    m_nearest.mapRgb(rgb, count, out);
  }

 private:
  NearestColors m_nearest;
};

class ClassifiedMap final : public PaletteMap {
 public:
  ClassifiedMap(const KXRGBQUAD* entries, const std::uint8_t* classes)
      : PaletteMap({entries, 256}), m_classes(classes, classes + kClasses) {}
  void map(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) noexcept override {
    const std::uint8_t* classes = m_classes.data();
    for (std::size_t i = 0; i < count; ++i, rgb += 3)
      out[i] = classes[(std::size_t{rgb[0]} >> 3) << 10 | (std::size_t{rgb[1]} >> 3) << 5 | rgb[2] >> 3];
  }

 private:
  std::vector<std::uint8_t> m_classes;
};

std::uint8_t levelOf(int step, int levels) noexcept {
  return static_cast<std::uint8_t>((step * 510 + levels - 1) / (2 * (levels - 1)));
}

// Puts a grey into the middle of the widest gap, the first of several.
void addGrey(std::vector<int>& greys) {
  std::size_t widest = 1;
  for (std::size_t i = 2; i < greys.size(); ++i)
    if (greys[i] - greys[i - 1] > greys[widest] - greys[widest - 1]) widest = i;
  const int middle = (greys[widest - 1] + greys[widest]) / 2;
  greys.insert(greys.begin() + static_cast<std::ptrdiff_t>(widest), middle);
}

}  // namespace

PaletteMap::PaletteMap(std::span<const KXRGBQUAD> palette) noexcept {
  std::copy_n(palette.begin(), std::min(palette.size(), m_entries.size()), m_entries.begin());
}

std::shared_ptr<PaletteMap> PaletteMap::nearest(std::span<const KXRGBQUAD> palette) {
  return std::make_shared<NearestMap>(palette.first(std::min<std::size_t>(palette.size(), 256)));
}

std::shared_ptr<PaletteMap> PaletteMap::classified(const KXRGBQUAD* entries, const std::uint8_t* classes) {
  return std::make_shared<ClassifiedMap>(entries, classes);
}

std::array<KXRGBQUAD, 256> linearPalette(int count) {
  int reds = 2, greens = 2, blues = 2;
  for (;;) {
    int& next = greens <= reds && greens <= blues ? greens : reds <= blues ? reds : blues;
    ++next;
    if (reds * greens * blues <= count) continue;
    --next;
    break;
  }
  std::array<KXRGBQUAD, 256> palette{};
  std::size_t made = 0;
  std::vector<int> greys;
  for (int r = 0; r < reds; ++r)
    for (int g = 0; g < greens; ++g)
      for (int b = 0; b < blues; ++b) {
        const KXRGBQUAD entry{levelOf(r, reds), levelOf(g, greens), levelOf(b, blues), 0};
        if (entry.red == entry.green && entry.green == entry.blue) greys.push_back(entry.red);
        palette[made++] = entry;
      }
  const std::vector<int> own = greys;
  while (made + greys.size() - own.size() < static_cast<std::size_t>(count)) addGrey(greys);
  for (const int grey : greys) {
    if (std::find(own.begin(), own.end(), grey) != own.end()) continue;
    const auto v = static_cast<std::uint8_t>(grey);
    palette[made++] = {v, v, v, 0};
  }
  return palette;
}

}  // namespace quillbay
