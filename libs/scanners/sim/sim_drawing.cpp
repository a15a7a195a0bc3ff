#include "scanners/sim/sim_drawing.h"

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

constexpr double kCell = 220;
constexpr double kMargin = 10;

std::uint64_t pageSeed(const SimConfig& config, std::int64_t page) noexcept {
  return mixSeeds(static_cast<std::uint64_t>(config.seed), static_cast<std::uint64_t>(page));
}

}  // namespace

SimDrawing::SimDrawing(const SimConfig& config, std::int64_t page, const SimTransform& transform, std::int32_t left,
                       std::int32_t right)
    : m_kind(config.drawing),
      m_seed(config.seed),
      m_page(page),
      m_transform(transform),
      m_left(left),
      m_right(right),
      m_land(pageSeed(config, page)) {
  const double margin = std::min({kMargin, config.paperWidth / 12, config.paperLength / 12});
  m_frame = {margin, margin, config.paperWidth - margin, config.paperLength - margin};
  m_columns = std::max(1, static_cast<int>(std::lround(m_frame.width() / kCell)));
  m_rows = std::max<std::int64_t>(1, std::llround(m_frame.height() / kCell));
}

sim::Rect SimDrawing::cellRect(std::int64_t row, int column) const noexcept {
  const double width = m_frame.width() / m_columns;
  const double height = m_frame.height() / static_cast<double>(m_rows);
  return {m_frame.left + width * column, m_frame.top + height * static_cast<double>(row),
          m_frame.left + width * (column + 1), m_frame.top + height * static_cast<double>(row + 1)};
}

std::int64_t SimDrawing::topOf(std::int64_t row) const noexcept {
  const double y = cellRect(row, 0).top - kMargin;
  return static_cast<std::int64_t>(
      std::floor(std::min(m_transform.map({0, y}).y, m_transform.map({m_frame.right + kMargin, y}).y)));
}

std::int64_t SimDrawing::bottomOf(std::int64_t row) const noexcept {
  const double y = cellRect(row, 0).bottom + kMargin;
  return static_cast<std::int64_t>(
      std::ceil(std::max(m_transform.map({0, y}).y, m_transform.map({m_frame.right + kMargin, y}).y)));
}

bool SimDrawing::isVisible(const sim::Rect& r) const noexcept {
  double least = 1e300;
  double most = -1e300;
  for (const SimPoint corner :
       {SimPoint{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}}) {
    const double x = m_transform.map(corner).x;
    least = std::min(least, x);
    most = std::max(most, x);
  }
  const double room = 2 * kMargin * m_transform.scale;
  return most + room > m_left && least - room < m_right;
}

void SimDrawing::addRow(std::int64_t row) {
  for (int column = 0; column < m_columns; ++column) {
    if (!isVisible(cellRect(row, column))) continue;
    auto list = std::make_unique<SimDisplayList>(m_transform);
    drawCell(*list, row, column);
    list->seal();
    m_cells.push_back(std::move(list));
  }
}

void SimDrawing::drawCell(SimDisplayList& list, std::int64_t row, int column) {
  sim::Rect r = cellRect(row, column);
  drawFrame(list, row, column, r);
  SimRandom random(mixSeeds(mixSeeds(static_cast<std::uint64_t>(m_seed), static_cast<std::uint64_t>(m_page)),
                            static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(column)));
  if (row == m_rows - 1 && column == m_columns - 1) {
    const double width = std::min(180.0, r.width());
    const double height = std::min(56.0, r.height() * 0.3);
    sim::drawTitleBlock(list, {r.right - width, r.bottom - height, r.right, r.bottom}, m_seed, m_page);
    r.bottom -= height + 2;
  }
  const bool map =
      m_kind == SimConfig::Drawing::Map || (m_kind == SimConfig::Drawing::Mix && (row + column) % 2 == 1);
  if (map)
    m_land.drawMap(list, r, random);
  else
    sim::drawPlan(list, r, random);
}

// The part of the sheet's frame that a cell at the border carries, with a mark and a letter or number in the
// margin.
void SimDrawing::drawFrame(SimDisplayList& list, std::int64_t row, int column, const sim::Rect& r) const {
  const double outside = m_frame.left / 2;
  const double letter = outside * 0.7;
  const SimPoint c = r.middle();
  const auto side = [&](SimPoint a, SimPoint b, double nx, double ny) {
    list.line(a, b, 0.7, sim::kBlack);
    list.line({a.x + nx * outside, a.y + ny * outside}, {b.x + nx * outside, b.y + ny * outside}, 0.25,
              sim::kBlack);
    list.line(b, {b.x + nx * outside, b.y + ny * outside}, 0.35, sim::kBlack);
  };
  if (row == 0) {
    side({r.left, r.top}, {r.right, r.top}, 0, -1);
    sim::text(list, {c.x, r.top - outside * 0.15}, letter, std::to_string(column + 1), sim::kBlack);
  }
  if (row == m_rows - 1) {
    side({r.left, r.bottom}, {r.right, r.bottom}, 0, 1);
    sim::text(list, {c.x, r.bottom + outside * 0.85}, letter, std::to_string(column + 1), sim::kBlack);
  }
  const std::string mark(1, static_cast<char>('A' + row % 26));
  if (column == 0) {
    side({r.left, r.top}, {r.left, r.bottom}, -1, 0);
    sim::text(list, {r.left - outside * 0.85, c.y}, letter, mark, sim::kBlack);
  }
  if (column == m_columns - 1) {
    side({r.right, r.top}, {r.right, r.bottom}, 1, 0);
    sim::text(list, {r.right + outside * 0.15, c.y}, letter, mark, sim::kBlack);
  }
}

void SimDrawing::paint(const SimRow& row, std::int64_t y) {
  while (m_nextRow < m_rows && topOf(m_nextRow) <= y) {
    if (bottomOf(m_nextRow) >= y) addRow(m_nextRow);
    ++m_nextRow;
  }
  while (!m_cells.empty() && m_cells.front()->isDone(y)) m_cells.pop_front();
  for (const auto& cell : m_cells)
    if (!cell->isDone(y)) cell->paint(row, y);
}

}  // namespace quillbay
