#include "rasters/raster_base.h"

#include <algorithm>
#include <limits>

#include "quillbay/palette.h"
#include "rasters/line_context.h"
#include "rasters/straighten/skew_service.h"

namespace quillbay {

RasterBase::RasterBase(KxColorSpace colorSpace, std::int32_t width, std::uint32_t dpi)
    : m_colorSpace(colorSpace), m_width(width), m_dpi(dpi), m_space(currentRasterPolicy()) {
  m_colorCount = paletteSize(colorSpace);
  for (std::size_t i = 0; i < m_palette.size(); ++i) {
    const auto grey = static_cast<std::uint8_t>(colorSpace == KxColorSpace::Grey   ? i
                                                : colorSpace == KxColorSpace::Four ? i % 16 * 17
                                                                                   : 0);
    m_palette[i] = {grey, grey, grey, 0};
  }
}

int RasterBase::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted == typeid(RasterBase)) {
    AddRef();
    *out = this;
    return 1;
  }
  if (wanted == typeid(IPalContext)) {
    KxPtr<IPalContext> context = newPalContext(*this, true);
    if (!context) return 0;
    *out = context.detach();
    return 1;
  }
  if (wanted == typeid(IRSDeskew) && isRunList(m_colorSpace)) {
    *out = newSkewService(*this).detach();
    return 1;
  }
  return CKxUnknownImpl::QueryInterface(wanted, out);
}

IAccessContext* RasterBase::GetAccessContext(int mode, int) { return newLineContext(*this, mode != 0).detach(); }

IRStorDraw* RasterBase::GetDrawing() {
  AddRef();
  return this;
}

int RasterBase::AddLines(int plane, std::int32_t after, std::int32_t count) {
  const std::int32_t height = GetHeight();
  if (plane != 0 || after < 0 || after > height || count < 0) return 0;
  if (after < height && IsReadOnly()) return 0;
  if (count > std::numeric_limits<std::int32_t>::max() - height) return 0;
  if (count == 0) return 1;
  reserveLines(height + count);
  blankLines(height, count);
  countChange();
  publishHeight(height + count);
  if (after == height) return 1;
  linesChanged(after);
  for (std::int32_t line = height; line-- > after;) moveLine(line, line + count);
  blankLines(after, count);
  return 1;
}

void RasterBase::addUnsetLines(std::int32_t count) {
  reserveLines(GetHeight() + count);
  countWrite();
  publishHeight(GetHeight() + count);
}

int RasterBase::SetBackground(std::uint32_t color) {
  m_background.store(color & 0xFFFFFF, std::memory_order_relaxed);
  return 1;
}

int RasterBase::SetBlankColor(std::uint32_t color) {
  m_blankColor.store(color & 0xFFFFFF, std::memory_order_relaxed);
  return 1;
}

int RasterBase::colorCount() {
  const std::lock_guard lock(m_paletteMutex);
  return m_colorCount;
}

int RasterBase::getPalette(KXRGBQUAD* out) {
  const std::lock_guard lock(m_paletteMutex);
  std::copy_n(m_palette.begin(), m_colorCount, out);
  return m_colorCount;
}

int RasterBase::setPalette(const KXRGBQUAD* entries, int count) {
  const int most = m_colorSpace == KxColorSpace::Four ? 16 : paletteSize(m_colorSpace);
  if (!entries || count < 0 || count > most) return 0;
  bool changed = false;
  {
    const std::lock_guard lock(m_paletteMutex);
    changed = !std::equal(entries, entries + count, m_palette.begin());
    std::copy_n(entries, count, m_palette.begin());
    if (m_colorSpace == KxColorSpace::Four) m_colorCount = count;
  }
  countChange();
  if (changed) linesChanged(0);
  // Lines that were there before the palette have to be white by it.
  if (!m_hasContent && GetHeight() > 0 && !IsReadOnly()) blankLines(0, GetHeight());
  return 1;
}

Palette RasterBase::drawingPalette() {
  const std::lock_guard lock(m_paletteMutex);
  return m_palette;
}

std::uint8_t RasterBase::whiteIndex() {
  const std::lock_guard lock(m_paletteMutex);
  return static_cast<std::uint8_t>(nearestWhite(m_palette));
}

int RasterBase::Draw(IRasterDC* target, const CRDirectTfm& tfm, IProgress* progress) {
  if (!target) return 0;
  const KxSize size = target->GetDeviceSize();
  const KxRect clip = target->GetClip();
  const DrawAxis columns =
      makeDrawAxis(tfm.scaleX, tfm.offsetX, drawnWidth(), std::max(0, clip.left), std::min(size.width, clip.right));
  const DrawAxis rows =
      makeDrawAxis(tfm.scaleY, tfm.offsetY, GetHeight(), std::max(0, clip.top), std::min(size.height, clip.bottom));
  if (columns.empty() || rows.empty()) return 1;
  return drawRaster(*target, columns, rows, progress);
}

}  // namespace quillbay
