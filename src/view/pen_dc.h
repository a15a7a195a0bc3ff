#pragma once
#include <QPainter>
#include <vector>

#include "platform/pens.h"
#include "view/pixel_strokes.h"

namespace quillbay {

/// The surface of pens over a painter whose device holds colours: gathers strokes, and puts them on the ground at
/// `Flush`, band by band, each pixel once.
class CPenDC final : public CKxUnknownImpl<IPenDC> {
 public:
  /// Pixels that exclusive-or turns over with the pen of value 0. The two high bits of each channel: black and
  /// white change by three quarters of the way, middle greys still by a quarter. All bits would hide it on grey.
  static constexpr std::uint32_t kXorBits = 0xC0C0C0;

  /// `clip` is the part to draw on, in client pixels of the painter; a client pixel has `ratio` device pixels.
  CPenDC(QPainter* painter, const KxRect& clip, double ratio);

  int Begin(std::uint32_t penValue, int flags) override;
  int SetBackgroundMode(int mode) override;
  int SetDrawingMode(int mode) override;
  int SelectHandle(const PenHandle& handle, PenHandle* former) override;
  int SetPen(IPen* pen) override;
  IPen* GetPen() override;
  int DrawLine(const KxPoint& from, const KxPoint& to) override;
  int DrawPolyline(std::span<const KxPoint> points) override;
  int DrawArc(const tagRPOINT& center, double radius, double start, double sweep) override;
  int DrawCircle(const tagRPOINT& center, double radius) override;
  int Flush() override;

 private:
  [[nodiscard]] std::int32_t deviceWidth() const noexcept;
  void put(PixelStroke stroke);
  void putBand(StrokeTarget& band);

  QPainter* m_painter;
  KxRect m_clip;  // device pixels
  double m_ratio;
  int m_backgroundMode = 2, m_drawingMode = kDrawCopy;
  PenHandle m_handle;
  KxPtr<IPen> m_pen;
  std::vector<PixelStroke> m_strokes;
  std::vector<std::uint32_t> m_pixels;  // of a band
};

}  // namespace quillbay
