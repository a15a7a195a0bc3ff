#pragma once
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "platform/binarization.h"
#include "raster_tools.h"

namespace quillbay::test {

/// In radians.
inline constexpr double kDegree = std::numbers::pi / 180;

/// Keeps the lines that a rotator gives.
class LineCollector final : public CKxUnknownImplStatic<IRasterFiller> {
 public:
  explicit LineCollector(KxColorSpace colorSpace) : m_colorSpace(colorSpace) {}
  void expect(std::int32_t width) { m_bytes = fixedLineBytes(m_colorSpace, width); }
  int AddLine(std::int32_t line, const std::uint8_t* bytes) override {
    EXPECT_EQ(line, static_cast<std::int32_t>(lines.size()));
    const std::size_t count =
        isRunList(m_colorSpace) ? runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(bytes))) : m_bytes;
    lines.emplace_back(bytes, bytes + count);
    return 1;
  }
  [[nodiscard]] const std::uint32_t* runs(std::size_t line) const {
    return reinterpret_cast<const std::uint32_t*>(lines[line].data());
  }
  std::vector<Bytes> lines;

 private:
  const KxColorSpace m_colorSpace;
  std::size_t m_bytes = 0;
};

struct Turn {
  std::int32_t width;
  KxSize offset;
  double angle;
};

/// All lines through a rotator, and its end.
inline std::vector<Bytes> straightened(KxColorSpace code, const Turn& turn, const std::vector<Bytes>& rows,
                                       const KXRGBQUAD* palette = nullptr) {
  LineCollector out(code);
  const auto rotator = CreateDynamicRasterRotator(code, turn.width, turn.offset, turn.angle, &out, palette);
  out.expect(rotator->GetLineWidth());
  const std::uint8_t none[1] = {};  // code 4 has no bytes for a single pixel
  for (const Bytes& row : rows) EXPECT_EQ(rotator->AddRow(row.empty() ? none : row.data(), 0), 1);
  EXPECT_EQ(rotator->AddRow(nullptr, 1), 1);
  return out.lines;
}

/// Where the output's pixels lie in the source, from the sheet's corner on: what the interface promises.
struct PlainTurn {
  explicit PlainTurn(const Turn& t) : c(std::cos(t.angle)), s(std::sin(t.angle)) {
    const double side = t.width * std::abs(s) - 2 * t.offset.height * c;
    const double along = t.angle >= 0 ? t.offset.width : t.width - t.offset.width;
    x = t.angle >= 0 ? along * c : t.width - along * c;
    y = side - along * std::abs(s);
  }
  /// Pixel indices, from centre to centre.
  [[nodiscard]] tagRPOINT sourceOf(double column, double line) const {
    column += 0.5;
    line += 0.5;
    return {x + column * c + line * s - 0.5, y - column * s + line * c - 0.5};
  }
  double c, s, x, y;
};

}  // namespace quillbay::test
