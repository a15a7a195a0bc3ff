/// Measures as people read them, and as spreadsheets do.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <cmath>
#include <functional>

#include "tools/measures.h"

namespace desktop {

namespace {

using quillbay::ILinearUnit;

QString measureWord(const char* english) { return QCoreApplication::translate("Measures", english); }

/// A pixel of 1200 dpi is 0.02 mm: what people read shows that much, a table a tenth of it.
struct Digits {
  int length, area, degrees;
};
Digits digitsOf(ILinearUnit* unit, bool isTable) {
  const bool isLarge = unit && unit->GetFactor() > 1;
  if (isTable) return {isLarge ? 5 : 3, isLarge ? 6 : 3, 4};
  return {isLarge ? 3 : 2, isLarge ? 3 : 2, 2};
}

double factorOf(ILinearUnit* unit) { return unit ? unit->GetFactor() : 1; }
QString nameOf(ILinearUnit* unit) { return unit ? QString::fromStdString(unit->GetName()) : QString("mm"); }

/// Empty for a value that a measure does not have; never "-0".
QString numberText(double value, int decimals, const QLocale& locale) {
  if (std::isnan(value)) return {};
  const double step = std::pow(10, -decimals);
  return locale.toString(std::abs(value) < step / 2 ? 0.0 : value, 'f', decimals);
}

QString valueText(const Measure& m, int column, ILinearUnit* unit, const Digits& digits, const QLocale& locale) {
  const double factor = factorOf(unit);
  const auto length = [&](double mm) { return numberText(mm / factor, digits.length, locale); };
  switch (column) {
    case MeasureList::Number: return QString::number(m.number);
    case MeasureList::Kind: return kindText(m.kind);
    case MeasureList::PageName: return m.page;
    case MeasureList::Length: return length(m.length);
    case MeasureList::Dx: return length(m.dx);
    case MeasureList::Dy: return length(m.dy);
    case MeasureList::Degrees: return numberText(m.degrees, digits.degrees, locale);
    case MeasureList::Area: return numberText(m.area / (factor * factor), digits.area, locale);
    default: return {};
  }
}

/// Quoted where RFC 4180 wants it. A text that a spreadsheet would take for a formula gets a blank before it.
QString csvField(const QString& field, QChar separator, bool isText) {
  QString out = field;
  if (isText && !out.isEmpty() && QString("=+-@\t\r").contains(out[0])) out.prepend(' ');
  if (!out.contains(separator) && !out.contains('"') && !out.contains('\n') && !out.contains('\r')) return out;
  return '"' + out.replace('"', "\"\"") + '"';
}

using TableField = std::function<QString(const QString& text, bool isText)>;

QString measureTable(const std::vector<Measure>& measures, ILinearUnit* unit, const QLocale& wanted,
                     QChar separator, const QString& lineEnd, const TableField& field) {
  QLocale locale = wanted;
  locale.setNumberOptions(QLocale::OmitGroupSeparator);
  const Digits digits = digitsOf(unit, true);
  QString all;
  const auto addLine = [&](const std::function<QString(int)>& cell) {
    for (int column = 0; column < MeasureList::ColumnCount; ++column) {
      if (column > 0) all += separator;
      all += cell(column);
    }
    all += lineEnd;
  };
  addLine([&](int column) { return field(columnTitle(column, unit), true); });
  for (const Measure& m : measures) {
    addLine([&](int column) {
      const bool isText = column == MeasureList::Kind || column == MeasureList::PageName;
      return field(valueText(m, column, unit, digits, locale), isText);
    });
  }
  return all;
}

}  // namespace

QString kindText(MeasureKind kind) {
  switch (kind) {
    case MeasureKind::Place: return measureWord("Place from the top left corner");
    case MeasureKind::Length: return measureWord("Length");
    case MeasureKind::Polyline: return measureWord("Length of a path");
    case MeasureKind::Angle: return measureWord("Angle");
    case MeasureKind::Polygon: return measureWord("Area of a polygon");
    case MeasureKind::Outline: return measureWord("Area of an outline");
    case MeasureKind::Frame: return measureWord("Area of a frame");
    case MeasureKind::Circle: return measureWord("Area of a circle");
  }
  return {};
}

QString columnTitle(int column, ILinearUnit* unit) {
  const QString name = nameOf(unit);
  switch (column) {
    case MeasureList::Number: return measureWord("No.");
    case MeasureList::Kind: return measureWord("Measure");
    case MeasureList::PageName: return measureWord("Page");
    case MeasureList::Length: return measureWord("Length or perimeter (%1)").arg(name);
    case MeasureList::Dx: return measureWord("x or width (%1)").arg(name);
    case MeasureList::Dy: return measureWord("y or height (%1)").arg(name);
    case MeasureList::Degrees: return measureWord("Angle (°)");
    case MeasureList::Area: return measureWord("Area (%1)").arg(name + "²");
    default: return {};
  }
}

QString cellText(const Measure& measure, int column, ILinearUnit* unit, const QLocale& locale) {
  return valueText(measure, column, unit, digitsOf(unit, false), locale);
}

QString lengthText(double mm, ILinearUnit* unit, const QLocale& locale) {
  return numberText(mm / factorOf(unit), digitsOf(unit, false).length, locale) + " " + nameOf(unit);
}

QString areaText(double mm2, ILinearUnit* unit, const QLocale& locale) {
  const double square = factorOf(unit) * factorOf(unit);
  return numberText(mm2 / square, digitsOf(unit, false).area, locale) + " " + nameOf(unit) + "²";
}

QString angleText(double degrees, const QLocale& locale) {
  return numberText(degrees, digitsOf(nullptr, false).degrees, locale) + "°";
}

QString measureText(const Measure& m, ILinearUnit* unit, const QLocale& locale) {
  const auto length = [&](double mm) { return lengthText(mm, unit, locale); };
  switch (m.kind) {
    case MeasureKind::Place: return measureWord("x %1, y %2").arg(length(m.dx), length(m.dy));
    case MeasureKind::Length:
      return measureWord("%1 (Δx %2, Δy %3, %4)")
          .arg(length(m.length), length(m.dx), length(m.dy), angleText(m.degrees, locale));
    case MeasureKind::Polyline: return length(m.length);
    case MeasureKind::Angle: return angleText(m.degrees, locale);
    case MeasureKind::Frame:
      return measureWord("%1 (%2 × %3, perimeter %4)")
          .arg(areaText(m.area, unit, locale), length(m.dx), length(m.dy), length(m.length));
    case MeasureKind::Circle:
      return measureWord("%1 (diameter %2, perimeter %3)")
          .arg(areaText(m.area, unit, locale), length(m.dx), length(m.length));
    case MeasureKind::Polygon:
    case MeasureKind::Outline:
      return measureWord("%1 (perimeter %2)").arg(areaText(m.area, unit, locale), length(m.length));
  }
  return {};
}

QString measuresAsCsv(const std::vector<Measure>& measures, ILinearUnit* unit, const QLocale& locale) {
  const QChar separator = locale.decimalPoint() == "," ? ';' : ',';
  return measureTable(measures, unit, locale, separator, "\r\n", [separator](const QString& field, bool isText) {
    return csvField(field, separator, isText);
  });
}

QString measuresAsText(const std::vector<Measure>& measures, ILinearUnit* unit, const QLocale& locale) {
  return measureTable(measures, unit, locale, '\t', "\n",
                      [](const QString& field, bool) { return field.simplified(); });
}

bool saveMeasures(const std::vector<Measure>& measures, ILinearUnit* unit, const QString& file, QString* why) {
  constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";
  const QByteArray bytes = kUtf8Mark + measuresAsCsv(measures, unit).toUtf8();
  QSaveFile out(file);
  if (out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size() && out.commit()) return true;
  *why = measureWord("%1 cannot be written: %2. Choose another folder or name, or make room on the disk.")
             .arg(QDir::toNativeSeparators(QFileInfo(file).absoluteFilePath()), out.errorString());
  return false;
}

}  // namespace desktop
