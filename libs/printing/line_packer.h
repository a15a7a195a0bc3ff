#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "printing/halftone.h"
#include "printing/raster_type.h"

namespace quillbay {

/// Makes the printer's pixels from working lines. No allocation after the constructor; one thread.
class LinePacker {
 public:
  /// `width` in pixels. `threshold` as of `Halftone`.
  LinePacker(LineKind from, const RasterType& to, std::int64_t width, PrintHalftone halftone, int threshold);

  /// Lasts until the next call, or is `line` itself.
  [[nodiscard]] const std::uint8_t* pack(const std::uint8_t* line);

 private:
  const LineKind m_from;
  const RasterType m_to;
  const std::size_t m_width;
  std::optional<Halftone> m_halftone;
  std::vector<std::uint8_t> m_out;
};

/// Copies `count` pixels from column `from` of a line to column `to` of another.
void copyPixels(LineKind kind, const std::uint8_t* line, std::int64_t from, std::uint8_t* out, std::int64_t to,
                std::int64_t count) noexcept;

}  // namespace quillbay
