#pragma once
#include <cstdint>
#include <span>

#include "platform/poly_vector.h"
#include "quillbay/view.h"

/// Pens draw document geometry on a surface of pixels. User-interface thread.
namespace quillbay {

class IPen;

/// What a surface draws with.
struct PenHandle {
  std::uint32_t color = 0;  ///< 0xBBGGRR; in exclusive-or mode the bits that are turned over
  int width = 1;            ///< pixels of the view; never thinner than a device pixel
  bool operator==(const PenHandle&) const = default;
};

/// Drawing modes of a surface.
inline constexpr int kDrawXor = 7;  ///< turns the pixels' bits over: each pixel once, however often it is drawn on
inline constexpr int kDrawCopy = 13;  ///< replaces the pixels

/// A surface that pens draw on, in device pixels. Drawing shows at `Flush`.
class IPenDC : public IKxUnknown {
 public:
  /// Gets ready for a default pen of this value. Returns 1, or 0: nothing can be drawn. 3
  virtual int Begin(std::uint32_t penValue, int flags) = 0;
  /// 1: between strokes the ground stays (transparent). 2: opaque. Returns the mode before. 4
  virtual int SetBackgroundMode(int mode) = 0;
  /// Returns the mode before. 5
  virtual int SetDrawingMode(int mode) = 0;
  /// Selects what is drawn with and stores what was selected. Returns 1, or 0. 6
  virtual int SelectHandle(const PenHandle& handle, PenHandle* former) = 0;
  /// The surface's own pen (may be null). 7
  virtual int SetPen(IPen* pen) = 0;
  /// With a reference, or null. 8
  virtual IPen* GetPen() = 0;
  virtual int DrawLine(const KxPoint& from, const KxPoint& to) = 0;  // 9
  virtual int DrawPolyline(std::span<const KxPoint> points) = 0;     // 10
  /// Angles in radians from the x axis to the y axis, which points down. 11
  virtual int DrawArc(const tagRPOINT& center, double radius, double start, double sweep) = 0;
  virtual int DrawCircle(const tagRPOINT& center, double radius) = 0;  // 12
  /// Puts what was drawn since the last time on the ground. 13
  virtual int Flush() = 0;
};

/// Draws document geometry under a transform from the document to device pixels. Drawing returns 1, also when a
/// surface cannot be drawn on.
class IPen : public IKxUnknown {
 public:
  virtual const char* GetName() = 0;                                                               // 4
  virtual std::uint32_t GetPenValue() = 0;                                                         // 5
  virtual int DrawLine(IPenDC* dc, const CRTfm& tfm, const CRPoint& from, const CRPoint& to) = 0;  // 6
  virtual int DrawPath(IPenDC* dc, const CRTfm& tfm, std::span<const CRPoint> points) = 0;         // 7
  virtual int DrawPolygon(IPenDC* dc, const CRTfm& tfm, const CRPolygon& polygon) = 0;             // 8
  virtual int DrawArc(IPenDC* dc, const CRTfm& tfm, const CRArc& arc) = 0;                         // 9
  virtual int DrawCircle(IPenDC* dc, const CRTfm& tfm, const CRCircle& circle) = 0;                // 10
  /// Lines, arcs and circles; other elements are passed over. 11
  virtual int DrawPolyVector(IPenDC* dc, const CRTfm& tfm, const CRPolyVector& shape) = 0;
  /// How far drawing reaches beyond the geometry. 12
  virtual KxSize GetExtent() = 0;
  /// Before and after each element. `Begin` returns 1, or 0 when the element cannot be drawn. 20, 21
  virtual int Begin(IPenDC* dc, int flags) = 0;
  virtual void End(IPenDC* dc) = 0;
};

}  // namespace quillbay
