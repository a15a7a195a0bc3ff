#pragma once
#include <string>
#include <string_view>

#include "core/param_tree.h"
#include "quillbay/errors.h"

namespace quillbay {

/// The text is no settings file: `what()` is the reason, without the file's name.
class StoreFormatError : public CXException {
 public:
  using CXException::CXException;
};

/// Settings as JSON text (UTF-8). JSON objects have no order and one kind of number, so values and nested sets are
/// lists, and each value says its type:
///
///     {"format": "quillbay-settings", "version": 1,
///      "values": [{"key": "m_uiDPI", "int": 400}, {"key": "m_Edit", "double": 200}, {"key": "m_Dir", "text":
///      "/plans"}], "stores": [{"name": "page0", "values": [...], "stores": [...]}]}
///
/// Types: "int" (32 bits), "double" (a number, or the texts "nan", "inf", "-inf", "-0", which JSON numbers cannot
/// say), "text", "rect" [left, top, right, bottom], "point" [x, y] (numbers as for "double"), "blob" (base64). Text
/// that is not valid UTF-8 (a file name may be such) is "text64" (base64); so are "key64" and "name64" for names.
///
/// Throws StoreFormatError when sets are nested deeper than a reader takes (200). Objects have no place in a tree
/// here.
[[nodiscard]] std::string toJson(const ParamTree& tree);
/// The tree of such a text. Throws StoreFormatError.
[[nodiscard]] ParamTree fromJson(std::string_view json);

}  // namespace quillbay
