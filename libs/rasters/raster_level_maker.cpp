/// How a raster makes its levels and draws from them.
#include <algorithm>
#include <chrono>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "rasters/level_rows.h"
#include "rasters/raster_base.h"

namespace quillbay {
namespace {

/// Lines between two looks at the clock; also how long a writer may have to wait for a reader that makes levels.
constexpr std::int32_t kLinesAtOnce = 16;

/// What shrunk rows are made of.
struct RowChoice {
  bool sampleAll = false;      ///< single source pixels everywhere
  bool sampleMissing = false;  ///< single source pixels where the levels are still being made
};

}  // namespace

int RasterBase::GetLevelCount() {
  const RasterLevels* l = levels();
  return l ? l->count() : 0;
}

std::int32_t RasterBase::GetLevelLines() {
  const RasterLevels* l = levels();
  return l ? l->lines() : 0;
}

std::int64_t RasterBase::GetLevelBytes() {
  const RasterLevels* l = levels();
  return l ? l->bytes() : 0;
}

/// Takes lines in up to line `lines`; false when space ran out. The caller holds m_levelMutex.
bool RasterBase::makeLevelLines(RasterLevels& levels, std::int32_t lines) {
  if (levels.failed()) return false;
  try {
    while (levels.lines() < lines) addToLevels(levels, levels.lines());
    return true;
  } catch (const CXException& e) {
    levels.setFailed();
    logLine(LogLevel::Warning, "quillbay.raster",
            std::string("a raster is drawn without more levels: ") + e.what());
    return false;
  }
}

int RasterBase::MakeLevels(int milliseconds) {
  if (drawnWidth() <= 0) return 1;
  const auto start = std::chrono::steady_clock::now();
  for (;;) {
    {
      const std::lock_guard lock(m_levelMutex);
      if (!m_levelsOwner) {
        m_levelsOwner = std::make_unique<RasterLevels>(currentRasterPolicy(), m_colorSpace, drawnWidth());
        m_levelsOwner->setPalette(drawingPalette());
        keepForViewing();
        m_levels.store(m_levelsOwner.get(), std::memory_order_release);
      }
      const std::int32_t height = GetHeight();
      const std::int32_t until = std::min(height - m_levelsOwner->lines(), kLinesAtOnce) + m_levelsOwner->lines();
      if (!makeLevelLines(*m_levelsOwner, until) || until >= height) return 1;
    }
    if (milliseconds >= 0 && std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(milliseconds))
      return 0;
  }
}

void RasterBase::linesAppended(std::int32_t first) {
  RasterLevels* l = levels();
  if (!l) return;
  const std::lock_guard lock(m_levelMutex);
  if (l->lines() >= first) makeLevelLines(*l, GetHeight());
}

void RasterBase::linesChanged(std::int32_t first) {
  RasterLevels* l = levels();
  if (!l) return;
  const std::lock_guard lock(m_levelMutex);
  l->truncate(first);
  if (first == 0) l->setPalette(drawingPalette());
}

int RasterBase::drawRaster(IRasterDC& target, const DrawAxis& columns, const DrawAxis& rows, IProgress* progress) {
  const RasterLevels* const l = levels();
  const KxSize size{drawnWidth(), GetHeight()};
  RowChoice choice;
  if (const auto mode = query<IRasterDCMode>(&target)) choice.sampleAll = mode->GetStretchMode() == 0;
  std::unique_ptr<LevelRows> reduced;
  if (l && !choice.sampleAll) {
    reduced = std::make_unique<LevelRows>(*l, columns, rows, size, GetBackground());
    if (reduced->isEmpty()) reduced.reset();
    choice.sampleMissing = reduced && !l->failed() && size.height - l->lines() >= 1 << l->shift(0);
  }
  const bool samples = choice.sampleAll || choice.sampleMissing;
  const DrawAxis fewColumns = samples ? makeSampledAxis(columns) : DrawAxis{};
  const DrawAxis fewRows = samples ? makeSampledAxis(rows) : DrawAxis{};
  const std::unique_ptr<RowSource> few = samples ? newRowSource(fewColumns, rows) : nullptr;
  std::unique_ptr<RowSource> whole;  // often not needed at all
  return drawRows(target, columns, rows, progress, [&](std::size_t i, std::uint32_t* out) {
    if (reduced && reduced->paint(i, out)) return;
    if (few) {
      few->paint(fewRows.spans[i], out);
      return;
    }
    if (!whole) whole = newRowSource(columns, rows);
    whole->paint(rows.spans[i], out);
  });
}

}  // namespace quillbay
