#include "drawing/measure_text.h"

#include <QLocale>
#include <cmath>
#include <numbers>

namespace quillbay::measure {
namespace {

std::string number(double value, int decimals) {
  // No "-0.00": it would be no smaller than 0.
  const double half = 0.5 * std::pow(10.0, -decimals);
  QLocale locale;
  locale.setNumberOptions(QLocale::OmitGroupSeparator);
  return locale.toString(std::abs(value) < half ? 0.0 : value, 'f', decimals).toStdString();
}

double factorOf(ILinearUnit* unit) { return unit && unit->GetFactor() > 0 ? unit->GetFactor() : 1; }
std::string nameOf(ILinearUnit* unit) { return unit ? unit->GetName() : "mm"; }
/// Finer than a pixel of any scanner.
int decimalsOf(ILinearUnit* unit) { return factorOf(unit) > 1 ? 3 : 2; }

}  // namespace

std::string bareLength(double mm, ILinearUnit* unit) { return number(mm / factorOf(unit), decimalsOf(unit)); }

std::string length(double mm, ILinearUnit* unit) { return bareLength(mm, unit) + ' ' + nameOf(unit); }

std::string area(double mm2, ILinearUnit* unit) {
  return number(mm2 / (factorOf(unit) * factorOf(unit)), decimalsOf(unit)) + ' ' + nameOf(unit) + "²";
}

std::string angle(double radians) { return number(radians * 180 / std::numbers::pi, 2) + "°"; }

}  // namespace quillbay::measure
