#pragma once
#include <cstdint>

#include "quillbay/app.h"
#include "quillbay/connection_point.h"
#include "quillbay/export.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/raster.h"

class QPainter;
class QWidget;

namespace quillbay {

/// The host's view; the panel subscribes to it and asks it to redraw. Called on the user-interface thread.
class IKxView : public IKxUnknown {
 public:
  /// Asks for a repaint of everything.
  virtual int Invalidate() = 0;
  /// The window that shows the view, or null.
  virtual QWidget* GetWindow() = 0;
};

/// What a host reads a running scan from: queried from the panel's `IQuillbaySink`.
class IRGetSource : public IKxUnknown {
 public:
  /// The view store's raster with a reference, or null.
  virtual IRStor* GetRaster() = 0;
  /// From raster pixels to document millimetres.
  virtual CRDirectTfm GetTransform() = 0;
  virtual int GetFlags() = 0;
};

/// A point in pixels of a view's client area.
struct KxPoint {
  std::int32_t x = 0, y = 0;
  bool operator==(const KxPoint&) const = default;
};

/// From document millimetres (y pointing up) to client pixels (y pointing down):
/// client = rotation(angle) * (scaleX * x, scaleY * y) + offset. A view's transforms have scaleX > 0 > scaleY.
struct CRTfm {
  double scaleX = 1, scaleY = -1;
  double angle = 0;  ///< radians, from the client's x axis to its y axis
  double offsetX = 0, offsetY = 0;
  bool operator==(const CRTfm&) const = default;
};

/// What paint reactors draw on: a painter over the client area, in client pixels.
class IKxViewDC : public IKxUnknown {
 public:
  /// Never null. Its state is put back after each reactor.
  virtual QPainter* GetPainter() = 0;  // 3
  /// The view's transform. 4
  virtual CRTfm GetTransform() = 0;
  /// The part that is painted, in document millimetres, top < bottom (with a rotation: what bounds it). 5
  virtual tagRRECT GetClip() = 0;
  /// The same in client pixels. 6
  virtual KxRect GetClientClip() = 0;
  /// 8: rasters are shrunk in half-tones; 0: to single source pixels. 7, 8
  virtual int GetStretchMode() = 0;
  virtual int SetStretchMode(int mode) = 0;
};

class IKxViewPort;

/// May refuse changes of a view's transform, and is notified of them.
class IKxViewZoomSink : public IKxUnknown {
 public:
  /// Before a change; 0 refuses it. 3
  virtual int TransformChanging(IKxViewPort* view, const CRTfm& proposed) = 0;
  /// After a change. 4
  virtual int TransformChanged(IKxViewPort* view, const CRTfm& before, const CRTfm& now) = 0;
  /// The window was resized to a new client size. 5
  virtual int Resized(IKxViewPort* view, const KxSize& client) = 0;
};

/// Draws into a view.
class IKxViewPaintReactor : public IKxUnknown {
 public:
  /// The view became active (1) or inactive (0). 3
  virtual int ActiveChanged(IKxViewPort* view, int active) = 0;
  /// Draws what lies in the clip. An exception of the CXException family ends the whole paint. 4
  virtual int Paint(IKxViewPort* view, IKxViewDC* dc, int flags) = 0;
  /// Everything was painted. 5
  virtual int Painted(IKxViewPort* view) = 0;
  /// The window of the view is about to be destroyed. 6
  virtual int Closing(IKxViewPort* view) = 0;
  /// The document rectangle (mm, top < bottom) of what is drawn. Returns 1, or 0 when there is nothing. 7
  virtual int GetArea(IKxViewPort* view, tagRRECT* out) = 0;
};

/// Buttons and keys that are down during a mouse message.
enum KxMouseFlags : int { kMouseLeft = 1, kMouseRight = 2, kMouseShift = 4, kMouseControl = 8, kMouseMiddle = 16 };

/// Receives the mouse events of an active view. Points are in document millimetres.
class IKxViewMouseReactor : public IKxUnknown {
 public:
  virtual int MouseLeave() = 0;                                      // 3
  virtual int MouseMove(int flags, const tagRPOINT& at) = 0;         // 4
  virtual int LeftDown(int flags, const tagRPOINT& at) = 0;          // 5
  virtual int LeftUp(int flags, const tagRPOINT& at) = 0;            // 6
  virtual int LeftDoubleClick(int flags, const tagRPOINT& at) = 0;   // 7
  virtual int RightDown(int flags, const tagRPOINT& at) = 0;         // 8
  virtual int RightUp(int flags, const tagRPOINT& at) = 0;           // 9
  virtual int RightDoubleClick(int flags, const tagRPOINT& at) = 0;  // 10
  virtual int MiddleUp(int flags, const tagRPOINT& at) = 0;          // 11: the button's press pans the view
};

/// Key codes: capital letters and digits are their ASCII codes.
enum KxKey : int {
  kKeyBackspace = 8,
  kKeyTab = 9,
  kKeyReturn = 13,
  kKeyEscape = 27,
  kKeySpace = 32,
  kKeyPageUp = 33,
  kKeyPageDown = 34,
  kKeyEnd = 35,
  kKeyHome = 36,
  kKeyLeft = 37,
  kKeyUp = 38,
  kKeyRight = 39,
  kKeyDown = 40,
  kKeyInsert = 45,
  kKeyDelete = 46,
  kKeyPad0 = 96,  ///< to kKeyPad0 + 9, whatever the pad's lock is
  kKeyF1 = 112,   ///< to kKeyF1 + 23
};
/// Flags of a key: bit 29, Alt is held; bit 30, the key repeats.
inline constexpr std::uint32_t kKeyAlt = 1U << 29;
inline constexpr std::uint32_t kKeyRepeats = 1U << 30;

/// Gets keys before the view does; a non-zero answer means that the key is handled.
class IKxViewKeySink : public IKxUnknown {
 public:
  virtual int KeyDown(int key, std::uint32_t flags) = 0;  // 3
  virtual int KeyUp(int key, std::uint32_t flags) = 0;    // 4
};

/// A view of document geometry: millimetres, y pointing up, under a transform that can be zoomed and scrolled.
/// User-interface thread only.
///
/// Others join in through four connection points, queried from it: `IConnectionPoint<IKxViewZoomSink>`,
/// `...<IKxViewPaintReactor>`, `...<IKxViewMouseReactor>` and `...<IKxViewKeySink>`. Operations return 1, or 0 when
/// they did nothing (the transform was refused, or the window is destroyed).
class IKxViewPort : public IKxUnknown {
 public:
  /// Asks for a repaint of a document rectangle, grown by a pixel, or of everything (null). 3
  virtual int Invalidate(const tagRRECT* area) = 0;
  /// Paints what is asked for now. 4
  virtual int Update() = 0;
  /// From client pixels to the document and back. 5, 6
  virtual tagRPOINT ToDocument(double x, double y) = 0;
  virtual tagRPOINT ToClient(const tagRPOINT& at) = 0;
  /// The document rectangle that holds all that the paint reactors draw. 0 when there is nothing. 7
  virtual int GetExtents(tagRRECT* out) = 0;
  /// The host's cursor over the view: a shape number of Qt. 8
  virtual int SetCursorShape(int shape) = 0;
  virtual KxSize GetClientSize() = 0;  // 9
  /// The client rectangle in the document, top < bottom. 10
  virtual tagRRECT GetVisibleArea() = 0;
  /// A drawing object for the client area, with a reference: within a paint that paint's, otherwise one whose
  /// drawing shows at once when it is released, until its place is painted again. 11
  virtual IKxViewDC* PrepareDrawing() = 0;
  virtual const CRTfm& Transform() = 0;      // 12
  virtual int GetTransform(CRTfm* out) = 0;  // 13
  /// Proposes a transform; with `testOnly` nothing changes. 0: refused. 14
  virtual int SetTransform(const CRTfm& proposed, int testOnly) = 0;
  /// The base transform, one pixel per millimetre: what zooming goes by. 15
  virtual CRTfm GetBaseTransform() = 0;
  virtual int ActualSize() = 0;                           // 16
  virtual int ZoomIn() = 0;                               // 17
  virtual int ZoomOut() = 0;                              // 18
  virtual int ZoomToRectangle(const tagRRECT& area) = 0;  // 19
  virtual int ZoomToExtents() = 0;                        // 20
  virtual int CanZoomIn() = 0;                            // 21
  virtual int CanZoomOut() = 0;                           // 22
  /// Keeps the transform for `Back`; the zoom operations 16 to 20 do so themselves. 23
  virtual int RememberView() = 0;
  virtual int Back() = 0;        // 24
  virtual int HasBack() = 0;     // 25
  virtual int Forward() = 0;     // 26
  virtual int HasForward() = 0;  // 27
  virtual int IsActive() = 0;    // 28
  /// An active view calls its mouse reactors; a click makes it active. 29
  virtual int SetActive(int active) = 0;
  /// Reads the settings again; with `refresh` also repaints. 30
  virtual int ReadSettings(int refresh) = 0;
  /// Moves what is shown by pixels. 31
  virtual int ScrollByPixels(int dx, int dy) = 0;
  virtual int Capture() = 0;                       // 32
  virtual int ReleaseCapture() = 0;                // 33
  virtual int HasCapture() = 0;                    // 34
  virtual int IsVisible(const tagRPOINT& at) = 0;  // 35
  virtual QWidget* GetWindow() = 0;                // 36
};

/// Commands of a view, queried from it.
class ICmdProcess : public IKxUnknown {
 public:
  /// `at` moves to the client's centre; the scale becomes the base scale times |factor|. 3
  virtual int ZoomByFactor(double factor, const tagRPOINT& at) = 0;
};

/// Takes sinks of whatever kind.
class ISetReactor : public IKxUnknown {
 public:
  virtual int AddReactor(IKxUnknown* reactor) = 0;     // 3
  virtual int RemoveReactor(IKxUnknown* reactor) = 0;  // 4
};

/// A view's sinks in one place, queried from it: subscribes to each connection point whose sink the reactor is.
class IViewCtx : public ISetReactor {};

/// The host's standard colours, queried from `IApp`: "Background", as 0xBBGGRR.
class IStdColorsParam : public IKxUnknown {
 public:
  virtual IParam* GetColors() = 0;
};

/// A new view port in a window of its own, a child of `parent`. It also answers queries for `IKxView`,
/// `ICmdProcess` and `IViewCtx`. Settings come from the `IProfile` of `app`, which may be null: section "Scroll"
/// with "ArrowsScrollStep" (per cent of the client size, 1.0) and "WheelScaleStep" (0.3), "Cursor" with "Color",
/// "View" with "HalfTonePaint" (1). The window keeps the view port alive; without its window it returns 0.
QUILLBAY_API KxPtr<IKxViewPort> new_ViewPort(IApp* app, QWidget* parent);

/// Draws rasters at their places in a document. User-interface thread only.
class IKxRasterPainter : public IKxUnknown {
 public:
  /// Shows a raster: its top left corner at `topLeft`, its lines running down from there. `dpi` 0 takes the
  /// raster's. It may still be growing (`Refresh`). Returns 1, or 0 when it cannot be drawn or is shown already. 3
  virtual int Add(IRStor* raster, const tagRPOINT& topLeft, double dpi) = 0;
  virtual int Remove(IRStor* raster) = 0;                          // 4
  virtual int Move(IRStor* raster, const tagRPOINT& topLeft) = 0;  // 5
  virtual int Clear() = 0;                                         // 6
  /// The raster's rectangle in the document (mm, top < bottom). 7
  virtual int GetArea(IRStor* raster, tagRRECT* out) = 0;
  /// Repaints what has been added to growing rasters since they were last painted. 8
  virtual int Refresh() = 0;
};

/// A painter that draws into `view`. Rasters get reduced levels on a thread behind it, so that every zoom paints
/// at once.
QUILLBAY_API KxPtr<IKxRasterPainter> new_RasterPainter(IKxViewPort* view);

}  // namespace quillbay
