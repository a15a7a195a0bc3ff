#include "view/pen_dc.h"

#include <QImage>
#include <QPaintEngine>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "view/device_image.h"

namespace quillbay {
namespace {

constexpr std::int64_t kBandPixels = 256 * 1024;
constexpr std::uint32_t kOpaque = 0xFF000000;

/// 0xffRRGGBB of 0xBBGGRR.
std::uint32_t opaquePixel(std::uint32_t bgr) {
  return kOpaque | (bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF);
}

}  // namespace

CPenDC::CPenDC(QPainter* painter, const KxRect& clip, double ratio)
    : m_painter(painter),
      m_clip{static_cast<std::int32_t>(std::floor(clip.left * ratio)),
             static_cast<std::int32_t>(std::floor(clip.top * ratio)),
             static_cast<std::int32_t>(std::ceil(clip.right * ratio)),
             static_cast<std::int32_t>(std::ceil(clip.bottom * ratio))},
      m_ratio(ratio) {}

int CPenDC::Begin(std::uint32_t penValue, int) {
  m_handle = {penValue == 0 && m_drawingMode == kDrawXor ? kXorBits : penValue & 0xFFFFFF, 1};
  return m_painter ? 1 : 0;
}

int CPenDC::SetBackgroundMode(int mode) { return std::exchange(m_backgroundMode, mode); }

int CPenDC::SetDrawingMode(int mode) {
  if (mode != m_drawingMode) Flush();
  return std::exchange(m_drawingMode, mode);
}

int CPenDC::SelectHandle(const PenHandle& handle, PenHandle* former) {
  if (!m_painter || handle.width < 1) return 0;
  if (handle.color != m_handle.color) Flush();  // strokes of one flush have one colour
  const PenHandle before = std::exchange(m_handle, handle);
  if (former) *former = before;
  return 1;
}

int CPenDC::SetPen(IPen* pen) {
  m_pen = KxPtr<IPen>::share(pen);
  return 1;
}

IPen* CPenDC::GetPen() { return KxPtr(m_pen).detach(); }

std::int32_t CPenDC::deviceWidth() const noexcept {
  return std::max(1, static_cast<std::int32_t>(std::lround(m_handle.width * m_ratio)));
}

void CPenDC::put(PixelStroke stroke) {
  stroke.width = deviceWidth();
  const KxRect b = stroke.bounds();
  if (b.left < m_clip.right && b.right > m_clip.left && b.top < m_clip.bottom && b.bottom > m_clip.top)
    m_strokes.push_back(stroke);
}

int CPenDC::DrawLine(const KxPoint& from, const KxPoint& to) {
  PixelStroke stroke;
  stroke.from = from;
  stroke.to = to;
  put(stroke);
  return 1;
}

int CPenDC::DrawPolyline(std::span<const KxPoint> points) {
  for (std::size_t i = 1; i < points.size(); ++i) DrawLine(points[i - 1], points[i]);
  return 1;
}

int CPenDC::DrawArc(const tagRPOINT& center, double radius, double start, double sweep) {
  PixelStroke stroke;
  stroke.center = center;
  stroke.radius = std::max(0.0, radius);
  stroke.start = start;
  stroke.sweep = sweep;
  put(stroke);
  return 1;
}

int CPenDC::DrawCircle(const tagRPOINT& center, double radius) {
  return DrawArc(center, radius, 0, 2 * std::numbers::pi);
}

int CPenDC::Flush() {
  if (!m_painter || m_strokes.empty()) return 1;
  const std::int64_t width = m_clip.right - m_clip.left;
  const auto rows = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(kBandPixels / std::max<std::int64_t>(1, width), 1, m_clip.bottom - m_clip.top));
  m_pixels.resize(static_cast<std::size_t>(width * rows));
  m_painter->save();
  toDevicePixels(*m_painter, m_ratio);
  if (m_drawingMode == kDrawXor) {
    // What cannot turn bits over (a printer) shows the difference.
    const bool hasXor = m_painter->paintEngine()->hasFeature(QPaintEngine::RasterOpModes);
    m_painter->setCompositionMode(hasXor ? QPainter::RasterOp_SourceXorDestination
                                         : QPainter::CompositionMode_Difference);
  }
  for (std::int32_t top = m_clip.top; top < m_clip.bottom; top += rows) {
    StrokeTarget band;
    band.pixels = m_pixels.data();
    band.area = {m_clip.left, top, m_clip.right, std::min(m_clip.bottom, top + rows)};
    band.color = opaquePixel(m_handle.color);
    putBand(band);
  }
  m_painter->restore();
  m_strokes.clear();
  return 1;
}

void CPenDC::putBand(StrokeTarget& band) {
  const KxRect& a = band.area;
  bool isClear = false;
  for (const PixelStroke& stroke : m_strokes) {
    const KxRect b = stroke.bounds();
    if (b.left >= a.right || b.right <= a.left || b.top >= a.bottom || b.bottom <= a.top) continue;
    if (!isClear) {
      std::fill_n(band.pixels, std::int64_t{a.right - a.left} * (a.bottom - a.top), 0U);
      isClear = true;
    }
    stroke.draw(band);
  }
  if (!band.isTouched()) return;
  const int width = a.right - a.left;
  const QImage image(reinterpret_cast<const uchar*>(band.pixels), width, a.bottom - a.top, qsizetype{width} * 4,
                     QImage::Format_ARGB32_Premultiplied);
  const KxRect& t = band.touched;
  m_painter->drawImage(t.left, t.top, image, t.left - a.left, t.top - a.top, t.right - t.left, t.bottom - t.top);
}

}  // namespace quillbay
