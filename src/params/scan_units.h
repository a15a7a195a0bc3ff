#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "quillbay/units.h"

namespace quillbay {

/// The panel's unit switch: holds the host's millimetres and inches and forwards to the one that `key::Units`
/// selects. Lengths come and go in millimetres. While the host handed out no unit, no text can be made: empty, and
/// parsing returns 0. Any index other than 0 counts as inches.
class CScanUnits final : public CKxUnknownImpl<IUnit> {
 public:
  /// Takes "mm" and "inch" from the host; millimetres become current.
  void takeUnits(IStyleManager* styles);
  void select(int index);
  [[nodiscard]] ILinearUnit* current() const noexcept { return m_current.get(); }
  [[nodiscard]] int index() const noexcept { return m_index; }

  int GetKind() override { return 0; }
  int GetPrecision() override { return 0; }
  int FormatValue(double value, char* buffer, int size) override;
  int ParseValue(const char* text, double* value) override;
  int FormatPair(const double*, char*, int) override { return 0; }
  int ParsePair(const char*, double*) override { return 0; }
  int FormatArea(double, char*, int) override { return 0; }
  int ParseArea(const char*, double*) override { return 0; }
  /// Number, blank, unit name: no decimals for millimetres, one for inches. With `isLength` the value is in
  /// millimetres, else in the current unit. `buffer` may be null. Returns the text's length.
  int FormatLength(double value, char* buffer, int size, int isLength) override;
  /// With `isLength` the value is in millimetres. Returns 1, or 0 when the text is no length. An empty text is 0.
  int ParseLength(const char* text, double* value, int isLength) override;
  int GetStep() override { return 0; }
  int GetFlags() override { return 0; }
  int FormatAngle(double, char*, int) override { return 0; }
  int ParseAngle(const char*, double*) override { return 0; }

  /// What a user typed into a field that takes lengths from `least` to `most`; all in millimetres. An empty text
  /// is 0. None while there is no unit.
  [[nodiscard]] LengthReading readLength(const std::string& text, double least, double most);
  /// A length in millimetres as text with its unit.
  [[nodiscard]] std::string lengthText(double mm);

 private:
  KxPtr<ILinearUnit> m_millimetres, m_inches, m_current;
  int m_index = 0;
};

/// Wraps the current host unit for rulers: distances are shown absolute and without a unit name.
class CStdDecimalUnit final : public CKxUnknownImpl<ILinearUnit> {
 public:
  explicit CStdDecimalUnit(ILinearUnit* wrapped) : m_wrapped(KxPtr<ILinearUnit>::share(wrapped)) {}
  int GetKind() override { return 0; }
  std::string GetLabel() override { return {}; }
  int GetFlags() override { return 0; }
  int FormatValue(double value, char* buffer, int size) override;
  int FormatPattern(double value, const char* pattern, char* buffer, int size) override;
  int Reserved8() override { return 0; }
  int Reserved9() override { return 0; }
  int ParseValue(const char*, double*) override { return 0; }
  int Reserved11() override { return 0; }
  int GetDecimals() override { return m_wrapped->GetDecimals(); }
  double GetStep() override { return m_wrapped->GetStep(); }
  double GetFactor() override { return m_wrapped->GetFactor(); }
  std::string GetName() override { return m_wrapped->GetName(); }
  std::string GetSymbol() override { return m_wrapped->GetSymbol(); }

 private:
  KxPtr<ILinearUnit> m_wrapped;
};

/// The whole text as a number: a decimal one that a double holds, with at most one sign, blanks around it; 0 when
/// it is empty. Nothing for everything else.
[[nodiscard]] std::optional<double> readPlainNumber(std::string_view text);

/// Numbers of edit fields without a physical unit. Kinds 0 and 4 show no decimals, kind 1 six, others nothing.
class CSimpleUnit final : public CKxUnknownImpl<IUnit> {
 public:
  explicit CSimpleUnit(int kind) : m_kind(kind) {}
  int GetKind() override { return 0; }
  int GetPrecision() override { return 0; }
  /// At most 31 characters and the terminator are written; returns 32, the room that is needed.
  int FormatValue(double value, char* buffer, int size) override;
  /// The text's leading decimal number, 0 when there is none that a double holds; always succeeds.
  int ParseValue(const char* text, double* value) override;
  int FormatPair(const double* values, char* buffer, int size) override;
  /// Needs a comma. An empty first part gives 0 and leaves the second value; an empty second part gives 0.
  int ParsePair(const char* text, double* values) override;
  int FormatArea(double value, char* buffer, int size) override { return FormatValue(value, buffer, size); }
  int ParseArea(const char* text, double* value) override { return ParseValue(text, value); }
  int FormatLength(double value, char* buffer, int size, int) override { return FormatValue(value, buffer, size); }
  int ParseLength(const char* text, double* value, int) override { return ParseValue(text, value); }
  int GetStep() override { return 0; }
  int GetFlags() override { return 0; }
  int FormatAngle(double value, char* buffer, int size) override { return FormatValue(value, buffer, size); }
  int ParseAngle(const char* text, double* value) override { return ParseValue(text, value); }

 private:
  int m_kind;
};

}  // namespace quillbay
