#pragma once
#include <cstdint>
#include <vector>

#include "platform/binarization.h"
#include "rasters/straighten/run_painter.h"

namespace quillbay {

/// Straightens run lists: each run is painted into the lines of the output that it crosses, which are held as bits
/// until the last source line that reaches them has come.
class RunRotator final : public CKxUnknownImpl<IDynamicRasterSampler> {
 public:
  RunRotator(const StraightenFrame& frame, IRasterFiller* output);

  int AddRow(const std::uint8_t* row, int flush) override;
  std::int32_t GetLineWidth() override { return m_frame.lineWidth; }
  std::int32_t GetHeldRows() override;

 private:
  [[nodiscard]] bool giveLinesAbove(std::int64_t end);
  void paint(const std::uint32_t* runs);

  const StraightenFrame m_frame;
  const KxPtr<IRasterFiller> m_output;
  BitBand m_band;
  RunPainter m_painter;
  std::int64_t m_rows = 0;                // source lines so far
  std::int64_t m_reached = 0;             // the output's line below those that they reach
  std::vector<RunPainter::Run> m_before;  // of the last source line; room for the longest list
  std::vector<RunPainter::Run> m_current;
  std::vector<std::uint32_t> m_list;  // a line of the output
};

}  // namespace quillbay
