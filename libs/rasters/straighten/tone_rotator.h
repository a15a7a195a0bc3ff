#pragma once
#include <cstdint>
#include <vector>

#include "platform/binarization.h"
#include "rasters/straighten/blend_loops.h"
#include "rasters/straighten/row_band.h"
#include "rasters/straighten/span_line.h"

namespace quillbay {

/// Straightens lines of tones (grey and colour, interpolated) and of indices (codes 4 and 8, the nearest pixel).
class ToneRotator final : public CKxUnknownImpl<IDynamicRasterSampler> {
 public:
  /// @param white  each byte of an uncovered pixel: a tone or an index
  ToneRotator(KxColorSpace colorSpace, const StraightenFrame& frame, std::uint8_t white, IRasterFiller* output);

  int AddRow(const std::uint8_t* row, int flush) override;
  std::int32_t GetLineWidth() override { return m_frame.lineWidth; }
  std::int32_t GetHeldRows() override { return m_band.held(); }

 private:
  void take(const std::uint8_t* row) noexcept;
  [[nodiscard]] bool isReady() const noexcept;
  bool giveLine();
  void blendLine(std::uint8_t* out) const;
  void copyNearest(std::uint8_t* out) const;

  const StraightenFrame m_frame;
  const KxPtr<IRasterFiller> m_output;
  const bool m_four, m_indexed;
  const std::size_t m_bytes;  // of a pixel, as lines are held: code 4 as one index a byte
  const std::uint8_t m_white;
  RowBand m_band;
  SpanLine m_way;
  const BlendLoops m_loops;
  std::int64_t m_next = 0;  // line of the output
  std::vector<std::uint8_t> m_line, m_packed;
};

}  // namespace quillbay
