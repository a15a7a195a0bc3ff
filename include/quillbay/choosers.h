#pragma once
/// Lets a person choose geometry on a view: a point, a line, a frame, a polygon, an outline drawn by hand, a
/// circle.
#include <cstdint>
#include <string>

#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/shapes.h"
#include "quillbay/view.h"

namespace quillbay {

/// What a chooser is doing.
enum class RubberState : int {
  Finished = 0,   ///< the shape is complete
  Cancelled = 1,  ///< by the person, or closed by the caller
  Running = 2,
  Commanded = 3  ///< stopped by `kChooseStop`; can be restarted
};

/// Commands of a chooser.
inline constexpr int kChooseRestart = 0;  ///< a stopped one goes on, with the points that it has
inline constexpr int kChooseStop = 1;     ///< stops it, to be restarted
inline constexpr int kChooseCancel = 2;   ///< ends it

/// A chooser: a rubber band on a view that follows the pointer and collects points, until its shape is complete or
/// the person gives up (Esc). It lives while its caller holds it; the view holds it only while it runs. Point i is
/// the fixed point i, or the current one, which follows the pointer, for i = the count of fixed points. The
/// accessors return 1, or 0 when a point that they need does not exist. User-interface thread.
class IChoose : public IKxUnknown {
 public:
  /// "ChooseLine-ID:7"; empty for single points. Valid while the chooser lives. 3
  virtual const char* GetName() = 0;
  /// The caller's identifier, and the value that it passed. 4, 5
  virtual int GetId() = 0;
  virtual std::intptr_t GetValue() = 0;
  virtual RubberState GetState() = 0;  // 6
  /// The fixed points so far. 7
  virtual int GetPointCount() = 0;
  virtual int GetPoint(int index, CRPoint* out) = 0;  // 8
  /// From point `index` to the one after it. 9
  virtual int GetLine(int index, CRLine* out) = 0;
  /// Spanned by these two points, normalised. 10
  virtual int GetRect(int index, CRRect* out) = 0;
  /// Through point `index` and the two after it; also 0 when they lie on a line. 11
  virtual int GetCircle(int index, CRCircle* out) = 0;
  /// One of the commands above. Returns 1, or 0 when it does not apply to the state. 12
  virtual int Command(int command) = 0;
  /// Once only: ends it as cancelled unless it has ended, and lets go of the caller's sinks. 13
  virtual int Close() = 0;
  /// For hosts that let a person type or use keys: what the pointer does, at a place in the document. Return 1, or
  /// 0 while it does not run. 14, 15
  virtual int MoveTo(const CRPoint& at) = 0;
  virtual int FixPoint(const CRPoint& at) = 0;
  /// Takes the last fixed point back. Returns 1, or 0 without one. 16
  virtual int TakeBack() = 0;
  /// Completes a shape of any number of points (a polygon, an outline) with those that are fixed; it needs as many
  /// as the shape does: two when open, three when closed. Returns 1, or 0. 17
  virtual int Finish() = 0;
  /// What the person is told: part 0 says what to do next, part 1 the measures so far, in the current unit. 18
  virtual int GetStatusText(int part, std::string* out) = 0;
};

/// The shape of a chooser, queried from it by its kind (`IChooseShape<CRLine>`).
template <class Shape>
class IChooseShape : public IKxUnknown {
 public:
  /// The shape of the fixed points and, while it runs, the current one. Returns 1, or 0 when points are missing. 3
  virtual int GetShape(Shape* out) = 0;
};

/// Is told how a chooser goes on; queried from the caller's sink object.
class IToolCtxRubberSink : public IKxUnknown {
 public:
  /// The current point moved. 3
  virtual int PointMoved(IChoose* choose, int index, const CRPoint& at) = 0;
  /// A point was fixed. 4
  virtual int PointFixed(IChoose* choose, int index, const CRPoint& at) = 0;
  /// The last fixed point was taken back. 5
  virtual int PointTakenBack(IChoose* choose, int index) = 0;
  /// The shape is complete; afterwards the chooser closes itself. 6
  virtual int Finished(IChoose* choose) = 0;
  /// The person gave up, or the caller closed it; afterwards the chooser closes itself. 7
  virtual int Cancelled(IChoose* choose) = 0;
};

/// Names the cursor over the view; queried from the caller's sink object.
class IToolCtxCursorSink : public IKxUnknown {
 public:
  /// A shape number of Qt; negative: the chooser's own (a cross). 3
  virtual int GetCursor(IChoose* choose, int reserved) = 0;
};

/// Words a chooser's status text; queried from the caller's sink object.
class IToolCtxStatusBarSink : public IKxUnknown {
 public:
  /// Part 0 (what to do next) or 1 (put before the measures). Returns 1, or 0 for the chooser's own. At most 256
  /// characters are taken. 3
  virtual int GetText(IChoose* choose, int part, std::string* out) = 0;
};

/// Makes choosers on one view. `value` is passed through; `id` is the caller's identifier; `sink` (may be null) is
/// queried for the three sinks above. Each returns a new running chooser with a reference, or null when it cannot
/// be made (the view's window is gone).
class IToolCtx : public IKxUnknown {
 public:
  virtual IChoose* ChoosePoint(std::intptr_t value, int id, IKxUnknown* sink) = 0;  // 3
  /// A point, with a line to it from `start`. 4
  virtual IChoose* ChoosePointFrom(std::intptr_t value, const CRPoint& start, int id, IKxUnknown* sink) = 0;
  virtual IChoose* ChooseLine(std::intptr_t value, int id, IKxUnknown* sink) = 0;   // 5
  virtual IChoose* ChooseFrame(std::intptr_t value, int id, IKxUnknown* sink) = 0;  // 6
  /// An open line of segments. 7
  virtual IChoose* ChooseFence(std::intptr_t value, int id, IKxUnknown* sink) = 0;
  virtual IChoose* ChoosePolygon(std::intptr_t value, int id, IKxUnknown* sink) = 0;  // 8
  /// An outline drawn with the button held. 9
  virtual IChoose* ChooseFreehand(std::intptr_t value, int id, IKxUnknown* sink) = 0;
  /// An outline of both: clicks make corners, drawing with the button held follows the hand. 10
  virtual IChoose* ChoosePolyhand(std::intptr_t value, int id, IKxUnknown* sink) = 0;
};

/// Further shapes, queried from the same object.
class IToolCtxEx : public IToolCtx {
 public:
  /// A frame that may be turned: its base line by two points, its height by a third. 11
  virtual IChoose* ChooseFrameEx(std::intptr_t value, int id, IKxUnknown* sink) = 0;
  /// By its centre and a point of the circle. 12
  virtual IChoose* ChooseCircleByRadius(std::intptr_t value, int id, IKxUnknown* sink) = 0;
  /// By the two ends of a diameter. 13
  virtual IChoose* ChooseCircleByDiameter(std::intptr_t value, int id, IKxUnknown* sink) = 0;
};

/// Queried from a view port: the point that directions are held from while Shift is down. Mouse points of the view
/// are then moved to the nearest multiple of 45 degrees around it before reactors get them.
class IPolarPoint : public IKxUnknown {
 public:
  virtual int SetOrigin(const CRPoint& at) = 0;  // 3
  virtual int ResetOrigin() = 0;                 // 4
  /// Returns 1, or 0 while there is none. 5
  virtual int GetOrigin(CRPoint* out) = 0;
  /// `at` as it is held from the origin; `at` itself without one. 6
  virtual CRPoint Hold(const CRPoint& at) = 0;
};

/// Queried from a view port of this library: makes a tool object over itself.
class IToolCtxSource : public IKxUnknown {
 public:
  /// A new one with a reference. 3
  virtual IToolCtx* CreateToolCtx() = 0;
};

/// A tool object over any view port, a host's own ones included; it also answers queries for `IToolCtxEx`. Status
/// texts show lengths in the unit that the profile of `app` names (section "View", key "Unit": "mm" or "inch");
/// without one, and without `app`, in millimetres.
QUILLBAY_API KxPtr<IToolCtx> new_ToolCtx(IApp* app, IKxViewPort* view);

}  // namespace quillbay
