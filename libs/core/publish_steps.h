#pragma once
#include <string>

namespace quillbay {

/// The folder of a path as the system sees it (only slashes part names); "." when it names none.
[[nodiscard]] std::string systemFolderOf(const std::string& path);

/// Ways to give a file a free name, best one first. Each answers 0 or an error number: EEXIST when the
/// name is taken, ENOTSUP when the file system lacks the means. On an error both names are as they were. One atomic
/// rename.
[[nodiscard]] int publishByRename(const std::string& from, const std::string& to) noexcept;
/// Adds the second name, then removes the first one. Killed in between, the file has both names.
[[nodiscard]] int publishByLink(const std::string& from, const std::string& to) noexcept;
/// Takes the name by creating an empty file, then renames over it. Killed in between, the empty file remains.
[[nodiscard]] int publishByClaim(const std::string& from, const std::string& to) noexcept;

}  // namespace quillbay
