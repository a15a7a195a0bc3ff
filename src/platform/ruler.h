#pragma once
#include <cstdint>

#include "quillbay/quillbay.h"
#include "quillbay/raster.h"
#include "quillbay/units.h"
#include "quillbay/view.h"

namespace quillbay {

/// Shows, or stops showing, where the pointer is.
class ICursorReactor : public IKxUnknown {
 public:
  virtual int SetCursor(int on) = 0;  // 3
};

/// Styles of rulers: the edges of the window along which they stand.
inline constexpr std::uint32_t kRulerTop = 1;
inline constexpr std::uint32_t kRulerLeft = 16;

/// Rulers along the upper and left edges of a window, inside it: they cover what the window shows there. They
/// follow the window's size by themselves. User-interface thread only; each call after the window is destroyed does
/// nothing and returns 0.
class IKxRuler : public IKxUnknown {
 public:
  virtual int Show(int show) = 0;  // 3
  /// Sets the style bits that `mask` has to those of `bits`. 4
  virtual int SetStyle(std::uint32_t mask, std::uint32_t bits) = 0;
  /// Another unit (null: marks without numbers), and the transform from document millimetres to its values. 5
  virtual int SetUnit(ILinearUnit* unit, const CRDirectTfm& ruler) = 0;
  /// Takes the view's transform (document millimetres to pixels of the window, not rotated) and paints anew. 6
  virtual int Redraw(const CRTfm& view) = 0;
  /// Where the pointer is, in pixels of the window; null: nowhere. Shown while the cursor reactor is on. 7
  virtual int MarkPointer(const tagRPOINT* at) = 0;
  /// What the rulers that are shown cover: pixels at the left and at the top. 8
  virtual KxSize GetInset() = 0;
};

/// Rulers of `window`, hidden. They add a cursor reactor, which is on, to `reactors` (may be null).
[[nodiscard]] KxPtr<IKxRuler> new_KxRuler(HWND window, ILinearUnit* unit, const CRTfm& view,
                                          const CRDirectTfm& ruler, std::uint32_t style, ISetReactor* reactors);

}  // namespace quillbay
