#include "tools/typed_point.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <cmath>
#include <numbers>

#include "quillbay/host.h"

namespace desktop {

namespace {

using quillbay::CRPoint;

/// Farther away nothing is scanned: ten kilometres.
constexpr double kMostMm = 1e7;

QString typedText(const char* english) { return QCoreApplication::translate("TypedPoint", english); }

TypedPoint refusedPoint(const QString& why) { return {std::nullopt, why}; }

/// Nothing stores the reason in `*why`.
std::optional<double> readMm(const QString& text, quillbay::ILinearUnit* unit, QString* why) {
  const std::string typed = text.trimmed().toStdString();
  if (typed.empty()) {  // a unit reads it as 0
    *why = typedText("A length is missing.");
    return std::nullopt;
  }
  const double factor = unit ? unit->GetFactor() : 1;
  double value = 0;
  bool isLength = false;
  if (const auto reader = quillbay::query<quillbay::ILengthReader>(unit)) {
    const quillbay::LengthReading reading = reader->ReadLength(typed.c_str(), -kMostMm, kMostMm);
    if (reading.kind == quillbay::LengthReading::Kind::Ambiguous) {
      *why =
          typedText("\"%1\" can be %2 or %3: write one of these.")
              .arg(text.trimmed(), QString::fromStdString(reading.first), QString::fromStdString(reading.second));
      return std::nullopt;
    }
    isLength = reading.kind == quillbay::LengthReading::Kind::Length;
    value = reading.value * factor;
  } else {
    isLength = quillbay::ParseLengthMm(typed, &value) != 0;
  }
  if (isLength && std::abs(value) <= kMostMm) return value;
  *why = typedText("\"%1\" is not a length.").arg(text.trimmed());
  return std::nullopt;
}

std::optional<double> readRadians(QString text, QString* why) {
  text = text.remove(QChar(0xb0)).trimmed();
  bool isNumber = false;
  double degrees = QLocale().toDouble(text, &isNumber);
  if (!isNumber) degrees = QLocale::c().toDouble(text, &isNumber);
  if (isNumber && std::isfinite(degrees)) return degrees * std::numbers::pi / 180;
  *why = typedText("\"%1\" is not an angle.").arg(text);
  return std::nullopt;
}

/// Two lengths, or one. A blank parts them where a number follows, so that "10 mm 5" are two.
QStringList typedParts(const QString& text) {
  if (text.contains(';')) return text.split(';');
  static const QRegularExpression kBetween(QStringLiteral("\\s+(?=[-+\u2212.,]?[0-9.,])"));
  return text.trimmed().split(kBetween);
}

TypedPoint readPolar(const QString& text, const CRPoint& last, quillbay::ILinearUnit* unit) {
  const qsizetype mark = text.indexOf('<');
  TypedPoint typed;
  const auto length = readMm(text.left(mark), unit, &typed.why);
  if (!length) return typed;
  const auto angle = readRadians(text.mid(mark + 1), &typed.why);
  if (angle) typed.at = CRPoint{last.x + *length * std::cos(*angle), last.y + *length * std::sin(*angle)};
  return typed;
}

TypedPoint readTowards(const QString& text, const CRPoint& last, const CRPoint& pointer,
                       quillbay::ILinearUnit* unit) {
  TypedPoint typed;
  const auto length = readMm(text, unit, &typed.why);
  if (!length) return typed;
  const double dx = pointer.x - last.x, dy = pointer.y - last.y, away = std::hypot(dx, dy);
  if (!(away > 0))
    return refusedPoint(typedText("Move the pointer to where the length shall go, or add an angle: 50<30"));
  typed.at = CRPoint{last.x + dx / away * *length, last.y + dy / away * *length};
  return typed;
}

}  // namespace

QString typedPointHelp() {
  return typedText(
      "x;y from the page's top left corner, @dx;dy from the last point, length<angle, or a length towards the "
      "pointer; with mm, cm, m, in or \" behind a number for another unit");
}

TypedPoint readTypedPoint(const QString& text, const TypedBasis& basis, quillbay::ILinearUnit* unit) {
  QString typed = text.trimmed();
  const bool isRelative = typed.startsWith('@');
  if (isRelative) typed = typed.mid(1);
  const bool isPolar = typed.contains('<');
  const QStringList lengths = typedParts(typed);
  if (lengths.size() > 2) return refusedPoint(typedText("These are more than two numbers."));
  if ((isRelative || isPolar || lengths.size() == 1) && !basis.last)
    return refusedPoint(typedText("The first point needs two coordinates: x;y"));
  const CRPoint last = basis.last.value_or(CRPoint{});
  if (isPolar) return readPolar(typed, last, unit);
  if (lengths.size() == 1) {
    if (isRelative) return refusedPoint(typedText("Two lengths belong behind the @: @dx;dy"));
    return readTowards(typed, last, basis.pointer, unit);
  }
  TypedPoint read;
  const auto x = readMm(lengths[0], unit, &read.why);
  if (!x) return read;
  const auto down = readMm(lengths[1], unit, &read.why);
  if (!down) return read;
  const CRPoint from = isRelative ? last : basis.corner;
  read.at = CRPoint{from.x + *x, from.y - *down};
  return read;
}

}  // namespace desktop
