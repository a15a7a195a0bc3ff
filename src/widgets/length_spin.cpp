#include "widgets/length_spin.h"

#include <array>
#include <cmath>

#include "quillbay/geometry.h"

namespace quillbay {

std::string lengthFieldText(CScanUnits& units, double mm) {
  ILinearUnit* unit = units.current();
  if (!unit) return {};
  std::array<char, 128> text{};
  unit->FormatValue(units.index() ? mm * kInchPerMm : mm, text.data(), static_cast<int>(text.size()));
  return text.data();
}

void LengthSpin::setUnits(CScanUnits* units) {
  m_units = units;
  redisplay();
}

std::string LengthSpin::textOf(double mm) const { return m_units ? lengthFieldText(*m_units, mm) : std::string(); }

std::string LengthSpin::unitSuffix() const {
  ILinearUnit* unit = m_units ? m_units->current() : nullptr;
  return unit ? " " + unit->GetName() : std::string();
}

LengthReading LengthSpin::read(const std::string& text) const {
  return m_units ? m_units->readLength(text, least(), greatest()) : LengthReading{};
}

double LengthSpin::stepWidth() const {
  ILinearUnit* unit = m_units ? m_units->current() : nullptr;
  const bool isInch = m_units && m_units->index();
  double step = unit ? unit->GetStep() : 0;
  if (m_step > 0) step = isInch ? std::round(m_step * kInchPerMm * 10) / 10 : m_step;
  return (step > 0 ? step : 1.0) * (isInch ? kMmPerInch : 1.0);
}

}  // namespace quillbay
