#include "window/lengths.h"

#include <QLocale>

namespace desktop {

QString lengthPair(quillbay::ILinearUnit* unit, double x, double y, const QString& between, bool isRough) {
  const double factor = unit ? unit->GetFactor() : 1;
  const QString name = unit ? QString::fromStdString(unit->GetName()) : "mm";
  const int decimals = factor > 1 ? 2 : isRough ? 0 : 1;
  const QLocale locale;
  const auto text = [&](double mm) { return locale.toString(mm / factor, 'f', decimals); };
  return text(x) + between + text(y) + " " + name;
}

}  // namespace desktop
