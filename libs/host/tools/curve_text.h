#pragma once
#include <string>
#include <string_view>

#include "host/tools/curve_set.h"

namespace quillbay {

/// Curves as text: the first line "quillbay-curves 1", then a line for each curve with its name ("common", "red",
/// "green", "blue") and its points as "x,y". Lines that start with "#" and empty lines count for nothing; a curve
/// without a line is straight. Lines end in LF or CR LF.
[[nodiscard]] std::string curveText(const CurveSet& curves);

/// Reads such a text. Returns an empty text, or a sentence for users that names the line and what is wrong with it;
/// `*out` is then untouched.
[[nodiscard]] std::string readCurveText(std::string_view text, CurveSet* out);

/// Writes curves into a file, or reads them. An existing file is replaced as a whole or stays as it was. Return an
/// empty text, or a sentence that names the file and the cause.
[[nodiscard]] std::string saveCurveFile(const std::string& path, const CurveSet& curves);
[[nodiscard]] std::string loadCurveFile(const std::string& path, CurveSet* out);

}  // namespace quillbay
