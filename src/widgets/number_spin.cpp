#include "widgets/number_spin.h"

#include <array>
#include <cmath>

namespace quillbay {

NumberSpin::NumberSpin(QWidget* parent) : UnitSpin(parent) { setUnit(nullptr, 0); }

void NumberSpin::setUnit(IUnit* unit, int kind) {
  m_plain = unit == nullptr;
  m_isWhole = m_plain && (kind == 0 || kind == 4);
  m_unit = unit ? KxPtr<IUnit>::share(unit) : KxPtr<IUnit>::adopt(new CSimpleUnit(kind));
  redisplay();
}

std::string NumberSpin::textOf(double number) const {
  std::array<char, 128> text{};
  m_unit->FormatValue(number, text.data(), static_cast<int>(text.size()));
  return text.data();
}

LengthReading NumberSpin::read(const std::string& text) const {
  LengthReading reading;
  if (m_plain) {
    const auto number = readPlainNumber(text);
    if (number) reading = {LengthReading::Kind::Length, m_isWhole ? std::trunc(*number) : *number, {}, {}};
  } else if (m_unit->ParseValue(text.c_str(), &reading.value)) {
    reading.kind = LengthReading::Kind::Length;
  }
  return reading;
}

}  // namespace quillbay
