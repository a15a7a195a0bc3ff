#pragma once
#include <string>
#include <vector>

#include "platform/poly_vector.h"
#include "quillbay/choosers.h"
#include "quillbay/units.h"

/// Rubber bands: shapes that follow the pointer while a person chooses their points. Implemented by libs/drawing.
/// User-interface thread.
namespace quillbay {

/// Where a rubber band is shown, and who hears of it: its chooser.
class IRubberSite {
 public:
  /// From now on the band is painted, or is not any more.
  virtual void setPainted(bool painted) = 0;
  /// The drawing was `before` and is `now`: what one of them lacks is drawn or erased.
  virtual void redraw(const CRPolyVector& before, const CRPolyVector& now) = 0;
  /// Millimetres of a pixel on the screen.
  [[nodiscard]] virtual double pixel() const = 0;
  /// Where directions are held from; null: nowhere.
  virtual void setPolarOrigin(const CRPoint* at) = 0;
  virtual void pointMoved(int index, const CRPoint& at) = 0;
  virtual void pointFixed(int index, const CRPoint& at) = 0;
  virtual void pointTakenBack(int index) = 0;
  virtual void ended(RubberState state) = 0;
  virtual void restarted() = 0;

 protected:
  ~IRubberSite() = default;
};

/// The points of a rubber band, and what the pointer and the keys do to them. Point i is the fixed point i, or the
/// current one, which follows the pointer, for i = the count of fixed points; from the maximum on there is none.
template <class Point>
class CRubberBase {
 public:
  static constexpr int kNoMost = -1;

  /// @param most  the points of the whole shape, `kNoMost` for any number
  CRubberBase(int id, int most) : m_id(id), m_most(most) {}
  virtual ~CRubberBase() = default;
  CRubberBase(const CRubberBase&) = delete;
  CRubberBase& operator=(const CRubberBase&) = delete;

  /// The site outlives the band or is taken away (null).
  void attach(IRubberSite* site) noexcept { m_site = site; }
  [[nodiscard]] int id() const noexcept { return m_id; }
  [[nodiscard]] int most() const noexcept { return m_most; }
  [[nodiscard]] RubberState state() const noexcept { return m_state; }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(m_points.size()); }
  /// Starting leaves the points as they are.
  void setKeepPoints(bool keep) noexcept { m_keepPoints = keep; }

  /// False when a point that is needed does not exist.
  [[nodiscard]] bool point(int index, Point* out) const;
  [[nodiscard]] bool line(int index, CRLine* out) const;      ///< points `index` and the next one
  [[nodiscard]] bool rect(int index, CRRect* out) const;      ///< the same, normalised
  [[nodiscard]] bool circle(int index, CRCircle* out) const;  ///< through three; false also when they lie on a line

  /// Fixes a point beforehand, told to nobody.
  void enter(const Point& at) { m_points.push_back(at); }
  void start();
  void end(RubberState state);
  /// `kChooseRestart`, `kChooseStop` or `kChooseCancel`. False when it does not apply.
  bool command(int command);

  // What a person does. False while the band does not run, or when there was nothing to do.
  bool move(const Point& at);
  bool fix(const Point& at);
  bool takeBack();
  /// Completes a shape of any number of points. False when it has too few.
  bool finish();
  /// Esc and Backspace; false for every other key.
  bool key(int key);
  /// The pointer's buttons: a press fixes a point unless the kind knows better.
  virtual bool press(const Point& at) { return fix(at); }
  virtual bool drag(const Point& at) { return move(at); }
  virtual bool release(const Point& at);
  virtual bool doubleClick(const Point& at);

  /// What is drawn, with marks for a pixel of this size (mm).
  [[nodiscard]] const CRPolyVector& drawing(double pixel);
  /// What to do next, as a sentence; and the measures so far in a unit (null: millimetres). May be empty.
  [[nodiscard]] virtual std::string hint() const = 0;
  [[nodiscard]] virtual std::string measures(ILinearUnit* unit) const = 0;

 protected:
  /// The fixed points and, while it runs and its place is known, the current one.
  [[nodiscard]] std::vector<Point> points() const;
  [[nodiscard]] const std::vector<Point>& fixedPoints() const noexcept { return m_points; }
  /// Replaces the fixed points, told to nobody; the drawing follows.
  void setPoints(std::vector<Point> points);
  [[nodiscard]] bool isRunning() const noexcept { return m_state == RubberState::Running; }
  /// Whether two places are at most so many pixels apart.
  [[nodiscard]] bool isNear(const Point& a, const Point& b, double pixels) const;
  /// How few points complete a shape of any number.
  [[nodiscard]] virtual int least() const { return m_most; }
  /// Adds what the kind shows of `points`.
  virtual void draw(const std::vector<Point>& points, double pixel, CRPolyVector* out) const = 0;
  /// A cross at a point; at all fixed ones.
  static void drawMark(const Point& at, double pixel, CRPolyVector* out);
  void drawMarks(double pixel, CRPolyVector* out) const;

 private:
  void redraw();
  /// Makes what is drawn anew.
  void rebuild(double pixel);
  void setPolarOriginToLast();

  const int m_id;
  const int m_most;
  IRubberSite* m_site = nullptr;
  std::vector<Point> m_points;
  Point m_current{};
  bool m_isPlaced = false;  // the pointer said where the current point is
  bool m_keepPoints = false;
  bool m_isPressed = false;  // by a press that fixed a point of a shape of two
  RubberState m_state = RubberState::Commanded;
  CRPolyVector m_shown, m_before;  // what is drawn, and what was
  double m_shownPixel = 0;
};

extern template class CRubberBase<CRPoint>;

using RubberBand = CRubberBase<CRPoint>;

// Of each kind: `get` answers false while points are missing; `set` makes the shape's points the fixed ones.

class CRubberPoint final : public RubberBand {
 public:
  explicit CRubberPoint(int id) : CRubberBase(id, 1) {}
  [[nodiscard]] bool get(CRPoint* out) const { return point(count() ? 0 : count(), out); }
  void set(const CRPoint& at) { setPoints({at}); }
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

class CRubberLine final : public RubberBand {
 public:
  explicit CRubberLine(int id) : CRubberBase(id, 2) {}
  [[nodiscard]] bool get(CRLine* out) const { return line(0, out); }
  /// Its second point.
  [[nodiscard]] bool get(CRPoint* out) const { return point(1, out); }
  void set(const CRLine& line) { setPoints({line.from, line.to}); }
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

class CRubberRect final : public RubberBand {
 public:
  explicit CRubberRect(int id) : CRubberBase(id, 2) {}
  [[nodiscard]] bool get(CRRect* out) const { return rect(0, out); }
  void set(const CRRect& rect) { setPoints({{rect.left, rect.top}, {rect.right, rect.bottom}}); }
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

/// A line of segments, or a polygon. Drawn with the button held it may follow the hand.
class CRubberPolyGone : public RubberBand {
 public:
  /// Open, by clicks.
  explicit CRubberPolyGone(int id) : CRubberPolyGone(id, false, Hand::None) {}
  [[nodiscard]] bool get(CRPolygon* out) const;
  void set(const CRPolygon& polygon) { setPoints(polygon.points); }
  bool press(const CRPoint& at) override;
  bool drag(const CRPoint& at) override;
  bool release(const CRPoint& at) override;
  bool doubleClick(const CRPoint& at) override;
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  enum class Hand {
    None,   ///< corners by clicks
    Free,   ///< one stroke of the hand is the whole outline
    Corner  ///< both
  };
  CRubberPolyGone(int id, bool closed, Hand hand) : CRubberBase(id, kNoMost), m_closed(closed), m_hand(hand) {}
  [[nodiscard]] int least() const override { return m_closed ? 3 : 2; }
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;

 private:
  const bool m_closed;
  const Hand m_hand;
  bool m_isDrawing = false;  // the button is held
  bool m_isStroke = false;   // and the hand has moved
};

class CRubberPolyGoneClosed final : public CRubberPolyGone {
 public:
  explicit CRubberPolyGoneClosed(int id) : CRubberPolyGone(id, true, Hand::None) {}
};

class CRubberFreeHandClosed final : public CRubberPolyGone {
 public:
  explicit CRubberFreeHandClosed(int id) : CRubberPolyGone(id, true, Hand::Free) {}
};

class CRubberPolyHandClosed final : public CRubberPolyGone {
 public:
  explicit CRubberPolyHandClosed(int id) : CRubberPolyGone(id, true, Hand::Corner) {}
};

/// A frame by its base line and its height.
class CRubberBaseFrame final : public RubberBand {
 public:
  explicit CRubberBaseFrame(int id) : CRubberBase(id, 3) {}
  [[nodiscard]] bool get(CRFrame* out) const;
  void set(const CRFrame& frame);
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

/// By its centre and a point of it.
class CRubberCircle final : public RubberBand {
 public:
  explicit CRubberCircle(int id) : CRubberBase(id, 2) {}
  [[nodiscard]] bool get(CRCircle* out) const;
  void set(const CRCircle& circle);
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

/// By the ends of a diameter.
class CRubberCircleByDiameter final : public RubberBand {
 public:
  explicit CRubberCircleByDiameter(int id) : CRubberBase(id, 2) {}
  [[nodiscard]] bool get(CRCircle* out) const;
  void set(const CRCircle& circle);
  [[nodiscard]] std::string hint() const override;
  [[nodiscard]] std::string measures(ILinearUnit* unit) const override;

 protected:
  void draw(const std::vector<CRPoint>& points, double pixel, CRPolyVector* out) const override;
};

}  // namespace quillbay
