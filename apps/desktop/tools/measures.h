#pragma once
#include <QAbstractTableModel>
#include <QLocale>
#include <QString>
#include <limits>
#include <vector>

#include "quillbay/shapes.h"
#include "quillbay/units.h"

namespace desktop {

enum class MeasureKind { Place, Length, Polyline, Angle, Polygon, Outline, Frame, Circle };

/// What was measured on a page, in millimetres as the document has them: places are anywhere on a page, so that a
/// length from the left edge of a pixel to the right edge of the next one is two pixels. A value that a kind does
/// not have is NaN.
struct Measure {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  MeasureKind kind = MeasureKind::Length;
  double length = kNone;   ///< mm: of a line, along a polyline, around an area
  double dx = kNone;       ///< mm: of a line, to the right; of a frame along its base; a circle's diameter; of a
                           ///< place, from the page's left edge
  double dy = kNone;       ///< mm: of a line, upwards; of a frame from its base; a circle's diameter; of a place,
                           ///< down from the page's upper edge
  double degrees = kNone;  ///< of an angle, 0 to 180; of a line, anticlockwise from the x axis, -180 to 180
  double area = kNone;     ///< mm2; of an outline that crosses itself what the tools take for its inside
  int number = 0;          ///< in the list, from 1
  int pageId = 0;
  QString page;  ///< its name
};

/// Of a place on a page with its top left corner at `corner`.
[[nodiscard]] Measure measurePlace(const quillbay::CRPoint& at, const quillbay::CRPoint& corner);
[[nodiscard]] Measure measureLine(const quillbay::CRLine& line);
/// Along an open line of segments.
[[nodiscard]] Measure measurePolyline(const quillbay::CRPolygon& line);
/// Between the arms from `vertex` to two points.
[[nodiscard]] Measure measureAngle(const quillbay::CRPoint& arm, const quillbay::CRPoint& vertex,
                                   const quillbay::CRPoint& other);
/// A polygon, or an outline that was drawn by hand.
[[nodiscard]] Measure measurePolygon(const quillbay::CRPolygon& polygon, MeasureKind kind = MeasureKind::Polygon);
[[nodiscard]] Measure measureFrame(const quillbay::CRFrame& frame);
[[nodiscard]] Measure measureCircle(const quillbay::CRCircle& circle);

/// "Length", "Area of a circle", ...
[[nodiscard]] QString kindText(MeasureKind kind);
/// The title of a column of `MeasureList`, with its unit (null: mm), and what stands in it; empty for a value that
/// the measure does not have.
[[nodiscard]] QString columnTitle(int column, quillbay::ILinearUnit* unit);
[[nodiscard]] QString cellText(const Measure& measure, int column, quillbay::ILinearUnit* unit,
                               const QLocale& locale = {});
/// A length in a unit (null: mm) with its name, an area with its square ("12.34 mm²"), an angle ("12.34°"); as
/// `locale` writes numbers.
[[nodiscard]] QString lengthText(double mm, quillbay::ILinearUnit* unit, const QLocale& locale = {});
[[nodiscard]] QString areaText(double mm2, quillbay::ILinearUnit* unit, const QLocale& locale = {});
[[nodiscard]] QString angleText(double degrees, const QLocale& locale = {});
/// All of a measure in one line: "5.00 mm (Δx 3.00 mm, Δy 4.00 mm, 53.13°)".
[[nodiscard]] QString measureText(const Measure& measure, quillbay::ILinearUnit* unit, const QLocale& locale = {});

/// Measures as a table for a spreadsheet: a line with the names of the columns (and units), then one line for each.
/// Numbers have no groups. CSV is that of RFC 4180 with the decimal point of `locale`, and with semicolons where
/// that is a comma: what a spreadsheet of that locale reads.
[[nodiscard]] QString measuresAsCsv(const std::vector<Measure>& measures, quillbay::ILinearUnit* unit,
                                    const QLocale& locale = {});
/// The same with tabs and line feeds, for the clipboard.
[[nodiscard]] QString measuresAsText(const std::vector<Measure>& measures, quillbay::ILinearUnit* unit,
                                     const QLocale& locale = {});
/// Writes a CSV file (UTF-8 with its mark, so that every spreadsheet knows), whole or not at all; an existing file
/// is replaced. False with the reason, and what to do, in `*why`.
bool saveMeasures(const std::vector<Measure>& measures, quillbay::ILinearUnit* unit, const QString& file,
                  QString* why);

/// The list of measures. User-interface thread.
class MeasureList : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { Number, Kind, PageName, Length, Dx, Dy, Degrees, Area, ColumnCount };

  using QAbstractTableModel::QAbstractTableModel;

  /// The unit of lengths and areas; null: mm.
  void setUnit(quillbay::KxPtr<quillbay::ILinearUnit> unit);
  [[nodiscard]] quillbay::ILinearUnit* unit() const { return m_unit.get(); }
  /// Adds a measure, which gets the next number, and returns its row.
  int add(Measure measure);
  void remove(std::vector<int> rows);
  void clear();
  [[nodiscard]] const std::vector<Measure>& measures() const { return m_measures; }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::vector<Measure> m_measures;
  quillbay::KxPtr<quillbay::ILinearUnit> m_unit;
  int m_last = 0;  // number
};

}  // namespace desktop
