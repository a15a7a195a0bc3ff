#pragma once
#include <cstdint>
#include <deque>
#include <memory>

#include "scanners/sim/sim_config.h"
#include "scanners/sim/sim_content.h"

namespace quillbay {

/// A generated sheet: a frame with its marks, a title block, and cells of about 220 mm with plans and maps. Cells
/// are made when their first row comes and dropped after their last: memory does not depend on the sheet's length.
class SimDrawing {
 public:
  /// `left` and `right`: the pixels of the bed that rows will show.
  SimDrawing(const SimConfig& config, std::int64_t page, const SimTransform& transform, std::int32_t left,
             std::int32_t right);
  /// Paints what crosses row `y` over the paper. Rows ascend; some may be left out.
  void paint(const SimRow& row, std::int64_t y);

 private:
  [[nodiscard]] sim::Rect cellRect(std::int64_t row, int column) const noexcept;
  // The first and last row of the bed that cells of a row of the grid may touch.
  [[nodiscard]] std::int64_t topOf(std::int64_t row) const noexcept;
  [[nodiscard]] std::int64_t bottomOf(std::int64_t row) const noexcept;
  [[nodiscard]] bool isVisible(const sim::Rect& r) const noexcept;
  void addRow(std::int64_t row);
  void drawCell(SimDisplayList& list, std::int64_t row, int column);
  void drawFrame(SimDisplayList& list, std::int64_t row, int column, const sim::Rect& r) const;

  SimConfig::Drawing m_kind;
  std::int64_t m_seed, m_page;
  SimTransform m_transform;
  std::int32_t m_left, m_right;
  sim::Rect m_frame;  // of the drawing on the paper
  sim::SimLand m_land;
  int m_columns;
  std::int64_t m_rows;
  std::int64_t m_nextRow = 0;
  std::deque<std::unique_ptr<SimDisplayList>> m_cells;
};

}  // namespace quillbay
