#include "rasters/straighten/skew_service.h"

#include <algorithm>

#include "rasters/ops/op_support.h"
#include "rasters/ops/skew_search.h"

namespace quillbay {
namespace {

/// Pixels of the searched picture's shorter and longer side at most; of a long roll the middle is looked at.
constexpr std::int32_t kShortSide = 4000, kLongSide = 9000;
/// The least side for which half of the pixels are precise enough: 0.05 degrees move its ends by 1.4 pixels.
constexpr std::int32_t kFineSide = 1600;
constexpr std::int32_t kLeastSide = 64;

class SkewService final : public CKxUnknownImpl<IRSDeskew> {
 public:
  explicit SkewService(IRStor& raster) : m_raster(KxPtr<IRStor>::share(&raster)) {}
  int GetSkewAngle(double* radians, IProgress* progress) override;

 private:
  const KxPtr<IRStor> m_raster;
};

/// A raster's middle as a picture, each pixel of which stands for `reduction` x `reduction` ones and is dark when
/// one of them is. Empty when the user cancelled.
PixPtr drawInk(IRStor& raster, std::int32_t reduction, IProgress* progress) {
  const std::int32_t most = kLongSide * reduction;
  const std::int32_t columns = std::min(raster.GetWidth(), most), rows = std::min(raster.GetHeight(), most);
  const auto left = static_cast<std::uint32_t>((raster.GetWidth() - columns) / 2);
  const std::int32_t top = (raster.GetHeight() - rows) / 2;
  const auto step = static_cast<std::uint32_t>(reduction);
  PixPtr ink = madePix(pixCreate(std::max(1, columns / reduction), std::max(1, rows / reduction), 1));
  const auto wordsPerLine = static_cast<std::size_t>(pixGetWpl(ink.get()));
  const auto width = static_cast<std::uint32_t>(pixGetWidth(ink.get()));
  RunReader reader(raster);
  for (std::int32_t y = 0; y < pixGetHeight(ink.get()); ++y) {
    if (y % 256 == 0 && progress && progress->IsCancelled()) return {};
    l_uint32* line = pixGetData(ink.get()) + static_cast<std::size_t>(y) * wordsPerLine;
    for (std::int32_t k = 0; k < reduction && y * reduction + k < rows; ++k) {
      eachRunWithin(reader.read(top + y * reduction + k), left, left + width * step,
                    [&](std::uint32_t first, std::uint32_t last) { setBits(line, first / step, last / step); });
    }
  }
  return ink;
}

int SkewService::GetSkewAngle(double* radians, IProgress* progress) {
  const std::int32_t shorter = std::min(m_raster->GetWidth(), m_raster->GetHeight());
  if (shorter < kLeastSide) return 0;
  const std::int32_t reduction = (shorter + kShortSide - 1) / kShortSide;
  const PixPtr ink = drawInk(*m_raster, reduction, progress);
  if (!ink) return 0;
  const auto skew = searchSkew(ink.get(), shorter / reduction < kFineSide ? 1 : 2);
  if (!skew || (progress && progress->IsCancelled())) return 0;
  *radians = *skew;
  return 1;
}

}  // namespace

KxPtr<IRSDeskew> newSkewService(IRStor& raster) { return KxPtr<IRSDeskew>::adopt(new SkewService(raster)); }

}  // namespace quillbay
