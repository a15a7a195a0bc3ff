#include "rasters/straighten/run_rotator.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillbay {
namespace {

/// Beside what a line crosses: how far a pixel reaches from its place, at both ends, and rounding.
constexpr std::int32_t kReach = 2, kMoreLines = 2 * kReach + 4;

}  // namespace

RunRotator::RunRotator(const StraightenFrame& frame, IRasterFiller* output)
    : m_frame(frame),
      m_output(KxPtr<IRasterFiller>::share(output)),
      m_band(frame.lineWidth, frame.crossed() + kMoreLines),
      m_painter(m_frame, m_band),
      m_list(static_cast<std::size_t>(frame.lineWidth) + 3) {
  const auto most = static_cast<std::size_t>(frame.width) / 2 + 1;
  m_before.reserve(most);
  m_current.reserve(most);
}

int RunRotator::AddRow(const std::uint8_t* row, int flush) {
  if (row) {
    // Lines that this one does not reach any more are complete.
    const double dx = (m_frame.sine > 0 ? 0 : m_frame.width - 1) - m_frame.x0;
    const double dy = static_cast<double>(m_rows) - m_frame.y0;
    const double highest = dx * m_frame.sine + dy * m_frame.cosine;
    const auto first = static_cast<std::int64_t>(std::floor(highest)) - kReach;
    if (!giveLinesAbove(first)) return 0;
    m_reached = first + m_frame.crossed() + 2 * kReach;
    paint(reinterpret_cast<const std::uint32_t*>(row));
    ++m_rows;
  }
  return !flush || giveLinesAbove(m_frame.lines(m_rows)) ? 1 : 0;
}

std::int32_t RunRotator::GetHeldRows() {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(m_reached - m_band.first(), 0, m_band.lines()));
}

void RunRotator::paint(const std::uint32_t* runs) {
  m_current.clear();
  eachRun(runs, m_frame.width, [this](std::uint32_t first, std::uint32_t last) {
    m_current.push_back({static_cast<std::int32_t>(first), static_cast<std::int32_t>(last)});
  });
  m_painter.paint(m_rows, m_before, m_current);
  std::swap(m_before, m_current);
}

bool RunRotator::giveLinesAbove(std::int64_t end) {
  while (m_band.first() < end) {
    RunListWriter writer(m_list.data());
    m_band.eachChange([&writer](std::uint32_t x) { writer(x); });
    writer.finish(static_cast<std::uint32_t>(m_frame.lineWidth));
    const auto number = static_cast<std::int32_t>(m_band.first());
    m_band.dropFirst();
    if (!m_output->AddLine(number, reinterpret_cast<const std::uint8_t*>(m_list.data()))) return false;
  }
  return true;
}

}  // namespace quillbay
