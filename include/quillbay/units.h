#pragma once
#include <string>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Formats and parses values of one kind. Operations that a unit does not support return 0.
class IUnit : public IKxUnknown {
 public:
  virtual int GetKind() = 0;
  virtual int GetPrecision() = 0;
  /// The value without a unit name. Returns the text's length (or the room that it needs).
  virtual int FormatValue(double value, char* buffer, int size) = 0;
  /// Parses a text into a value. Returns 1, or 0 when it is none.
  virtual int ParseValue(const char* text, double* value) = 0;
  virtual int FormatPair(const double* values, char* buffer, int size) = 0;
  virtual int ParsePair(const char* text, double* values) = 0;
  virtual int FormatArea(double value, char* buffer, int size) = 0;
  virtual int ParseArea(const char* text, double* value) = 0;
  /// The value with its unit name; with `isLength` the value is in millimetres.
  virtual int FormatLength(double value, char* buffer, int size, int isLength) = 0;
  virtual int ParseLength(const char* text, double* value, int isLength) = 0;
  virtual int GetStep() = 0;
  virtual int GetFlags() = 0;
  virtual int FormatAngle(double value, char* buffer, int size) = 0;
  virtual int ParseAngle(const char* text, double* value) = 0;
};

/// A linear unit of the host, such as "mm" or "inch". Values are in the unit itself.
class ILinearUnit : public IKxUnknown {
 public:
  virtual int GetKind() = 0;                                          // 3
  virtual std::string GetLabel() = 0;                                 // 4: name on ruler labels
  virtual int GetFlags() = 0;                                         // 5
  virtual int FormatValue(double value, char* buffer, int size) = 0;  // 6
  /// `pattern` is "0", "0.0", "0.00", ...: its decimals. 7
  virtual int FormatPattern(double value, const char* pattern, char* buffer, int size) = 0;
  virtual int Reserved8() = 0;
  virtual int Reserved9() = 0;
  /// Reads what users type in their locale, with or without a unit ("25,4", "25.4 mm", "1 in"); the answer is in
  /// this unit. Returns 1, or 0 if the text is not a length. 10
  virtual int ParseValue(const char* text, double* value) = 0;
  virtual int Reserved11() = 0;
  virtual int GetDecimals() = 0;        // 12
  virtual double GetStep() = 0;         // 13
  virtual double GetFactor() = 0;       // 14: millimetres in one of it
  virtual std::string GetName() = 0;    // 15: "mm", "inch"
  virtual std::string GetSymbol() = 0;  // 16
};

/// The reading of a text as a length.
struct LengthReading {
  enum class Kind {
    Length,
    None,       ///< not a length
    Ambiguous,  ///< two lengths: its mark may separate a fraction or a group of three digits
  };
  Kind kind = Kind::None;
  double value = 0;           ///< of a length
  std::string first, second;  ///< of an ambiguous one: its readings, each written without ambiguity
};

/// What a linear unit of a host may offer besides: reads with a field's range in view. Without it the panel asks
/// `ILinearUnit::ParseValue`.
class ILengthReader : public IKxUnknown {
 public:
  /// Reads a text as `ILinearUnit::ParseValue` does, for a field that takes values from `least` to `most`; all
  /// three are in the unit. The range only settles which of two readings is meant: the value may lie outside it.
  virtual LengthReading ReadLength(const char* text, double least, double most) = 0;
};

/// The host's styles; the panel asks it for the units "mm" and "inch".
class IStyleManager : public IKxUnknown {
 public:
  /// The linear unit of a name, with a reference; null when there is none.
  virtual ILinearUnit* GetLinearUnit(const char* name) = 0;
};

}  // namespace quillbay
