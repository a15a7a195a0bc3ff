#pragma once
/// Templates: named sets of a tool's parameters, each a file "NAME.tpl".
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/param.h"

namespace quillbay {

/// How the file of a template ends.
inline constexpr char kTemplateExtension[] = ".tpl";

/// A template that was found.
struct CTempItem {
  std::string path;  ///< complete
  std::string name;  ///< for people: the file's name without its extension
  std::string spare;
};

/// The folder of a tool's templates, which need not exist: below the host's `kToolTemplatesDir`, or the folder
/// "templates" beside its module where it names none, the tool's own.
[[nodiscard]] QUILLBAY_API std::string TemplatesFolder(IApp* app, std::string_view tool);
/// The templates in that folder, by name. Names that begin with a dot, and folders, are none.
[[nodiscard]] QUILLBAY_API std::vector<CTempItem> ListTemplates(IApp* app, std::string_view tool);
/// The parameters that a template holds. Null, with the reason in `*why` (may be null) and in the host's log, when
/// the file is not there, is damaged, or is a template of another tool.
[[nodiscard]] QUILLBAY_API KxPtr<IParam> Load_Template(IApp* app, std::string_view tool, const std::string& path,
                                                       std::string* why);
/// Writes a template, replacing the file. `params` are copied, without what belongs to one page. Returns 1, or 0
/// with the reason in `*why`.
QUILLBAY_API int Save_Template(std::string_view tool, const std::string& path, IParam* params, std::string* why);

}  // namespace quillbay
