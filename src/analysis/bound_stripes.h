#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Stripes of one width and colour space, one below the other, kept by reference.
class BoundStripes {
 public:
  /// Answers false for a stripe that is not grey or bitonal, or does not fit those before.
  bool add(IScanBuffer* stripe);
  [[nodiscard]] bool isEmpty() const noexcept { return m_parts.empty(); }
  [[nodiscard]] KxSize size() const noexcept { return m_size; }
  [[nodiscard]] bool isGrey() const noexcept { return m_colorSpace == KxColorSpace::Grey; }
  [[nodiscard]] std::uint32_t resolution() const {
    return m_parts.empty() ? 0 : m_parts[0].stripe->GetResolution();
  }
  [[nodiscard]] const KXRGBQUAD* palette() const { return m_parts[0].stripe->GetPalette(); }

  /// Row `y`, a byte for a pixel, 0 black; bitonal ones are written to `room`, which holds a row.
  [[nodiscard]] const std::uint8_t* row(std::int32_t y, std::uint8_t* room) const;
  /// Row `y` of grey stripes.
  [[nodiscard]] const std::uint8_t* greyRow(std::int32_t y) const;
  /// Writes all stripes into a raster of no lines. Answers false when it does not take them. Throws CXMemException.
  [[nodiscard]] bool copyTo(IRStor* raster) const;

 private:
  struct Part {
    KxPtr<IScanBuffer> stripe;
    KxPtr<IPackedLines> packed;  // where it was delivered as bits
    std::int32_t first;          // row
  };
  [[nodiscard]] const Part& partAt(std::int32_t y) const noexcept;
  std::vector<Part> m_parts;
  KxSize m_size;
  KxColorSpace m_colorSpace = KxColorSpace::None;
};

/// Grey stripes as a raster to read from, without a copy of them.
[[nodiscard]] KxPtr<IRStor> readStripes(BoundStripes stripes);

}  // namespace quillbay
