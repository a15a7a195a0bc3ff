#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "quillbay/geometry.h"
#include "quillbay/raster.h"

namespace quillbay {

/// The tones of a page, from a small picture of it.
class PageTones {
 public:
  /// Nothing when the user cancelled or the page is empty. Throws as the operations on rasters do.
  [[nodiscard]] static std::optional<PageTones> of(IRStor* page, IProgress* progress);

  /// Whether the page's corners are white without any grain: turning it has left them, or it is a bitonal page.
  [[nodiscard]] bool hasWhiteCorners() const noexcept;
  /// Whether what lies around `part` (pixels of the page) is of another tone than most of what lies in it, as a
  /// scanner's bed is. White without any grain counts only where there is nothing else: turning a page leaves such
  /// corners. False where nothing lies around it.
  [[nodiscard]] bool showsBedAround(const KxRect& part) const;

 private:
  PageTones(KxSize size, double scale) : m_size(size), m_scale(scale) {}
  [[nodiscard]] std::uint8_t at(std::int32_t x, std::int32_t y) const noexcept {
    return m_grey[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width) +
                  static_cast<std::size_t>(x)];
  }

  KxSize m_size;
  double m_scale;
  std::vector<std::uint8_t> m_grey;
};

}  // namespace quillbay
