#include "tools/measures.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "tools/outline_area.h"

namespace desktop {

using quillbay::CRPoint;

namespace {

constexpr double kDegreesPerRadian = 180 / std::numbers::pi;

double lengthOf(const std::vector<CRPoint>& points, bool isClosed) {
  double length = 0;
  for (std::size_t i = 1; i < points.size(); ++i) length += quillbay::CRLine{points[i - 1], points[i]}.length();
  if (isClosed && points.size() > 1) length += quillbay::CRLine{points.back(), points.front()}.length();
  return length;
}

Measure newMeasure(MeasureKind kind) {
  Measure measure;
  measure.kind = kind;
  return measure;
}

}  // namespace

Measure measurePlace(const CRPoint& at, const CRPoint& corner) {
  Measure m = newMeasure(MeasureKind::Place);
  m.dx = at.x - corner.x;
  m.dy = corner.y - at.y;
  return m;
}

Measure measureLine(const quillbay::CRLine& line) {
  Measure m = newMeasure(MeasureKind::Length);
  m.length = line.length();
  m.dx = line.to.x - line.from.x;
  m.dy = line.to.y - line.from.y;
  m.degrees = std::atan2(m.dy, m.dx) * kDegreesPerRadian;
  return m;
}

Measure measurePolyline(const quillbay::CRPolygon& line) {
  Measure m = newMeasure(MeasureKind::Polyline);
  m.length = lengthOf(line.points, false);
  return m;
}

Measure measureAngle(const CRPoint& arm, const CRPoint& vertex, const CRPoint& other) {
  Measure m = newMeasure(MeasureKind::Angle);
  const CRPoint a{arm.x - vertex.x, arm.y - vertex.y}, b{other.x - vertex.x, other.y - vertex.y};
  // By both products: exact near 0 and 180 degrees as well.
  m.degrees = std::abs(std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y)) * kDegreesPerRadian;
  return m;
}

Measure measurePolygon(const quillbay::CRPolygon& polygon, MeasureKind kind) {
  Measure m = newMeasure(kind);
  m.length = lengthOf(polygon.points, true);
  m.area = outlineArea(polygon);
  return m;
}

Measure measureFrame(const quillbay::CRFrame& frame) {
  Measure m = newMeasure(MeasureKind::Frame);
  m.dx = frame.width;
  m.dy = frame.height;
  m.length = 2 * (frame.width + frame.height);
  m.area = frame.width * frame.height;
  return m;
}

Measure measureCircle(const quillbay::CRCircle& circle) {
  Measure m = newMeasure(MeasureKind::Circle);
  m.length = 2 * std::numbers::pi * circle.radius;
  m.area = std::numbers::pi * circle.radius * circle.radius;
  m.dx = m.dy = 2 * circle.radius;
  return m;
}

void MeasureList::setUnit(quillbay::KxPtr<quillbay::ILinearUnit> unit) {
  m_unit = std::move(unit);
  emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
  if (!m_measures.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

int MeasureList::add(Measure measure) {
  const int row = rowCount();
  beginInsertRows({}, row, row);
  measure.number = ++m_last;
  m_measures.push_back(std::move(measure));
  endInsertRows();
  return row;
}

void MeasureList::remove(std::vector<int> rows) {
  std::sort(rows.begin(), rows.end(), std::greater<>());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  for (const int row : rows) {
    if (row < 0 || row >= rowCount()) continue;
    beginRemoveRows({}, row, row);
    m_measures.erase(m_measures.begin() + row);
    endRemoveRows();
  }
}

void MeasureList::clear() {
  beginResetModel();
  m_measures.clear();
  m_last = 0;
  endResetModel();
}

int MeasureList::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_measures.size());
}

int MeasureList::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

QVariant MeasureList::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const Measure& measure = m_measures[static_cast<std::size_t>(index.row())];
  const int column = index.column();
  const bool isText = column == Kind || column == PageName;
  if (role == Qt::TextAlignmentRole) return int(Qt::AlignVCenter | (isText ? Qt::AlignLeft : Qt::AlignRight));
  if (role == Qt::ToolTipRole) return measureText(measure, unit());
  if (role != Qt::DisplayRole) return {};
  return cellText(measure, column, unit());
}

QVariant MeasureList::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount) return {};
  return columnTitle(section, unit());
}

}  // namespace desktop
