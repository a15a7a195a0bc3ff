#include "host/linear_unit.h"

#include <QLocale>
#include <algorithm>
#include <cstring>

#include "host/length_text.h"
#include "platform/base_services.h"
#include "quillbay/geometry.h"
#include "quillbay/host.h"

namespace quillbay {
namespace {

bool decimalComma() { return QLocale().decimalPoint() == QLatin1String(","); }

struct UnitTraits {
  const char* name;
  const char* symbol;
  double factor;  // millimetres in one of it
  int decimals;
  double step;
};
constexpr UnitTraits kMillimetre{"mm", "mm", 1, 1, 1};
constexpr UnitTraits kInch{"inch", "\"", kMmPerInch, 2, 0.1};

}  // namespace

/// A unit of lengths, by its traits.
class CLinearUnit final : public CKxUnknownImpl<ILinearUnit, ILengthReader> {
 public:
  explicit CLinearUnit(const UnitTraits& traits) : m_traits(traits) {}

  int GetKind() override { return 0; }
  std::string GetLabel() override { return m_traits.name; }
  int GetFlags() override { return 0; }
  int FormatValue(double value, char* buffer, int size) override {
    return put(formatDecimal(value, m_traits.decimals, decimalComma() ? ',' : '.'), buffer, size);
  }
  int FormatPattern(double value, const char* pattern, char* buffer, int size) override {
    const char* point = pattern ? std::strpbrk(pattern, ".,") : nullptr;
    const auto decimals = point ? static_cast<int>(std::strlen(point + 1)) : 0;
    return put(formatDecimal(value, decimals, decimalComma() ? ',' : '.'), buffer, size);
  }
  int Reserved8() override { return 0; }
  int Reserved9() override { return 0; }
  int ParseValue(const char* text, double* value) override {
    const LengthReading reading = read(text, {});
    if (reading.kind != LengthReading::Kind::Length || !value) return 0;
    *value = reading.value;
    return 1;
  }
  LengthReading ReadLength(const char* text, double least, double most) override {
    return read(text, {least * m_traits.factor, most * m_traits.factor});
  }
  int Reserved11() override { return 0; }
  int GetDecimals() override { return m_traits.decimals; }
  double GetStep() override { return m_traits.step; }
  double GetFactor() override { return m_traits.factor; }
  std::string GetName() override { return m_traits.name; }
  std::string GetSymbol() override { return m_traits.symbol; }

 private:
  static int put(const std::string& text, char* buffer, int size) {
    if (buffer && size > 0) {
      const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
      std::memcpy(buffer, text.data(), count);
      buffer[count] = '\0';
    }
    return static_cast<int>(text.size());
  }
  [[nodiscard]] LengthReading read(const char* text, const LengthRange& range) const {
    LengthReading reading = readLength(text ? text : "", m_traits.factor, decimalComma(), range);
    reading.value /= m_traits.factor;
    return reading;
  }
  const UnitTraits& m_traits;
};

class CHostStyles final : public CKxUnknownImpl<IStyleManager> {
 public:
  ILinearUnit* GetLinearUnit(const char* name) override {
    for (const auto& unit : {m_millimetre, m_inch}) {
      if (name && sameKey(name, unit->GetName())) return KxPtr(unit).detach();
    }
    return nullptr;
  }

 private:
  const KxPtr<ILinearUnit> m_millimetre = KxPtr<ILinearUnit>::adopt(new CLinearUnit(kMillimetre));
  const KxPtr<ILinearUnit> m_inch = KxPtr<ILinearUnit>::adopt(new CLinearUnit(kInch));
};

KxPtr<IStyleManager> new_HostStyles() { return KxPtr<IStyleManager>::adopt(new CHostStyles); }

int ParseLengthMm(std::string_view text, double* millimetres) {
  const auto mm = parseLength(text, 1, decimalComma());
  if (!mm || !millimetres) return 0;
  *millimetres = *mm;
  return 1;
}

}  // namespace quillbay
