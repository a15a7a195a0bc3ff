#include "destinations/path_rules.h"

#include <algorithm>
#include <string_view>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr std::string_view kReplaced = "\"*?<>|";
constexpr std::size_t kPartBytes = std::string_view(".part").size();
constexpr std::size_t kMostFolderBytes = 255;
constexpr std::size_t kMostNameBytes = 255 - kPartBytes;
constexpr std::size_t kMostPathBytes = 4095 - kPartBytes;

bool hasControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

/// Calls `visit` with each part between slashes and backslashes until it answers false.
template <class Visit>
void eachPart(std::string_view path, Visit visit) {
  while (true) {
    const auto end = path.find_first_of("/\\");
    if (!visit(path.substr(0, end)) || end == std::string_view::npos) return;
    path.remove_prefix(end + 1);
  }
}

}  // namespace

std::string folderProblem(const std::string& folder, const MacroList& macros) {
  const std::string plain = macros.withoutTags(folder);
  const auto bad = plain.find_first_of(kReplaced);
  if (bad != std::string::npos)
    return formatText(Supp_Translate("The folder \"%s\" cannot be used: it holds the character %s, which would be "
                                     "replaced in file names. Choose another folder."),
                      {folder, std::string(1, plain[bad])});
  if (hasControl(folder))
    return formatText(Supp_Translate("The folder \"%s\" cannot be used: its name holds an invisible control "
                                     "character. Choose another folder."),
                      {folder});
  return {};
}

std::string maskProblem(const std::string& mask) {
  bool leavesFolder = false;
  eachPart(mask, [&](std::string_view part) { return !(leavesFolder = part == ".."); });
  if (leavesFolder)
    return formatText(
        Supp_Translate("The mask \"%s\" leads out of the output folder (\"..\"). Choose the folder in "
                       "the folder field instead."),
        {mask});
  if (hasControl(mask))
    return formatText(Supp_Translate("The mask \"%s\" holds an invisible control character. Remove it."), {mask});
  return {};
}

std::string pathProblem(const std::string& path) {
  const auto number = [](std::size_t n) { return toText(static_cast<std::int64_t>(n)); };
  if (path.find('\\') != std::string::npos)
    return formatText(Supp_Translate("\"%s\" holds a backslash, which parts no folders on this computer. Write "
                                     "slashes instead."),
                      {path});
  if (path.size() > kMostPathBytes)
    return formatText(
        Supp_Translate("The path is %s bytes long; the system takes at most %s. Shorten the folder or "
                       "the mask."),
        {number(path.size()), number(kMostPathBytes)});
  std::string tooLong;
  eachPart(fio::folderOf(path), [&](std::string_view part) {
    if (part.size() > kMostFolderBytes) tooLong = part;
    return tooLong.empty();
  });
  if (!tooLong.empty())
    return formatText(
        Supp_Translate("The folder name \"%s\" is %s bytes long; it may have at most %s. Shorten it."),
        {tooLong, number(tooLong.size()), number(kMostFolderBytes)});
  const std::string name = fio::fileNameOf(path);
  if (name.size() <= kMostNameBytes) return {};
  return formatText(Supp_Translate("The name \"%s\" is %s bytes long; a file being written may have at most %s. "
                                   "Shorten the mask."),
                    {name, number(name.size()), number(kMostNameBytes)});
}

std::string replaceInvalid(std::string path) {
  for (char& c : path)
    if (kReplaced.find(c) != std::string_view::npos) c = '-';
  return path;
}

std::optional<PastedPath> splitPastedPath(const std::string& text, PasteField field,
                                          const std::function<bool(const std::string& extension)>& isPicture) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return std::nullopt;
  std::string path = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
  const bool lostDelimiters = path.find('?') != std::string::npos;
  const bool drive = path.size() > 2 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
  const bool absolute = path[0] == '/' || path.starts_with("\\\\") || path.starts_with("~/") || drive;
  if (!lostDelimiters && !absolute) return std::nullopt;
  std::replace(path.begin(), path.end(), '?', '\\');
  const std::string name = fio::fileNameOf(path);
  const std::string extension = fio::extensionOf(name);
  const std::string stem = name.substr(0, name.size() - extension.size());
  if (lostDelimiters) return PastedPath{fio::folderOf(path), stem};
  const bool picture = isPicture(extension);
  const bool isFolder = (field == PasteField::Folder && !picture) || fio::isFolder(fio::expandHome(path));
  if (name.empty() || isFolder) return PastedPath{path, {}};
  return PastedPath{fio::folderOf(path), picture ? stem : name};
}

}  // namespace quillbay
