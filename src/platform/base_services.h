#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/errors.h"
#include "quillbay/translation.h"

/// What the panel needs of the system, implemented by libs/core. No Qt.
namespace quillbay {

/// Case-blind comparison of keys and tags (ASCII letters).
[[nodiscard]] bool sameKey(std::string_view a, std::string_view b) noexcept;
[[nodiscard]] std::string toLowerAscii(std::string_view text);

/// Formats a message with one or more "%s" or "%d" places in order; a place without an argument stays.
[[nodiscard]] std::string formatText(std::string_view pattern, const std::vector<std::string>& arguments);

/// Numbers in files and device strings: never through the C locale. `toText(double)` is the shortest exact text.
[[nodiscard]] std::string toText(double value);
[[nodiscard]] std::string toText(std::int64_t value);
/// The whole text as a number; false when it is none.
[[nodiscard]] bool parseNumber(std::string_view text, double* value);
[[nodiscard]] bool parseNumber(std::string_view text, std::int64_t* value);

/// Files and folders. Paths are UTF-8.
namespace fio {
/// Creates a folder with its missing parents. Throws CXFileException that names the folder and the cause.
void createFolder(const std::string& folder);
[[nodiscard]] bool exists(const std::string& path) noexcept;
[[nodiscard]] bool isFolder(const std::string& path) noexcept;
/// What stands before a path's file name, with the slash or backslash at its end; empty for a bare name, which
/// means the current folder here and in the functions that take a folder. `folderOf` + `fileNameOf` is the path.
[[nodiscard]] std::string folderOf(std::string_view path);
[[nodiscard]] std::string fileNameOf(std::string_view path);
/// With its leading dot; empty when there is none.
[[nodiscard]] std::string extensionOf(std::string_view path);
/// The folder with a delimiter of its own style at its end (a backslash when it holds backslashes and no slash).
[[nodiscard]] std::string withDelimiter(std::string_view folder);
/// "~" and "~/..." with the home folder in place.
[[nodiscard]] std::string expandHome(std::string_view path);
/// Throws CXFileException when a file of this name could not be written: no such folder, not permitted, read-only,
/// a folder in the way, a name too long. Creates and truncates nothing.
void testWritable(const std::string& path);
/// Bytes that an ordinary user may still write in the folder; -1 when unknown.
[[nodiscard]] std::int64_t freeSpace(const std::string& folder) noexcept;
/// Gives `from` the name `to`: atomically, and never replacing a file unless `replace`. Syncs the folder.
/// Throws CXFileException (systemError() EEXIST when a file is in the way).
void publish(const std::string& from, const std::string& to, bool replace);
/// The system's text for an error number, with advice where there is some ("no space left on the device: ...").
[[nodiscard]] std::string errorText(int error);
}  // namespace fio

/// Logging through categories ("quillbay.scanner"), quiet by default. Any thread.
enum class LogLevel : int { Debug, Info, Warning, Error };
void logLine(LogLevel level, const char* category, std::string_view text);
/// Whether a line of this level would be written; for texts that cost something to make.
[[nodiscard]] bool logEnabled(LogLevel level, const char* category) noexcept;
/// Where log lines go; null: standard error. `least` is the lowest level that is written.
void setLogSink(void (*sink)(LogLevel level, const char* category, std::string_view text), LogLevel least);

/// The user's name, and the moment, injectable for tests.
struct Environment {
  std::string (*userName)() = nullptr;
  std::int64_t (*now)() = nullptr;  ///< seconds since 1970, UTC
};
[[nodiscard]] std::string userName();
[[nodiscard]] std::int64_t now();
void setEnvironment(const Environment& environment);

}  // namespace quillbay
