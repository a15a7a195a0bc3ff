#include "host/tools/print_length.h"

#include <optional>

#include "host/length_text.h"
#include "quillbay/host.h"

namespace quillbay {

namespace {

constexpr double kMostMm = 500;

std::optional<double> typedLength(const QString& text) {
  double length = 0;
  if (!ParseLengthMm(text.trimmed().toStdString(), &length)) return std::nullopt;
  return length;
}

}  // namespace

PrintLength::PrintLength(QWidget* parent) : QDoubleSpinBox(parent) {
  setRange(0, kMostMm);
  setDecimals(1);
  setSuffix(QStringLiteral(" mm"));
}

double PrintLength::valueFromText(const QString& text) const { return typedLength(text).value_or(value()); }

QValidator::State PrintLength::validate(QString& text, int&) const {
  const auto length = typedLength(text);
  return length && *length >= minimum() && *length <= maximum() ? QValidator::Acceptable : QValidator::Intermediate;
}

}  // namespace quillbay
