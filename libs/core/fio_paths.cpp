#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "core/folders.h"
#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr std::string_view kDelimiters = "/\\";

/// Where the file name starts.
std::size_t nameStart(std::string_view path) noexcept {
  const std::size_t last = path.find_last_of(kDelimiters);
  return last == std::string_view::npos ? 0 : last + 1;
}

}  // namespace

std::string homeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && *found->pw_dir) {
    return found->pw_dir;
  }
  return "/";
}

namespace fio {

std::string folderOf(std::string_view path) { return std::string(path.substr(0, nameStart(path))); }

std::string fileNameOf(std::string_view path) { return std::string(path.substr(nameStart(path))); }

std::string extensionOf(std::string_view path) {
  const std::string_view name = path.substr(nameStart(path));
  const std::size_t dot = name.rfind('.');
  // A dot in front makes a hidden file, not an extension; ".." is a folder.
  if (dot == std::string_view::npos || name.find_first_not_of('.') > dot) return {};
  return std::string(name.substr(dot));
}

std::string withDelimiter(std::string_view folder) {
  std::string out(folder);
  // An empty folder stays empty: a slash would make it the root.
  if (out.empty() || kDelimiters.find(out.back()) != std::string_view::npos) return out;
  const bool backslashes = out.find('\\') != std::string::npos && out.find('/') == std::string::npos;
  out += backslashes ? '\\' : '/';
  return out;
}

std::string expandHome(std::string_view path) {
  if (path != "~" && path.substr(0, 2) != "~/") return std::string(path);
  std::string home = homeFolder();
  const std::string_view rest = path.substr(1);
  if (!rest.empty() && home.back() == '/') home.pop_back();
  return home.append(rest);
}

}  // namespace fio
}  // namespace quillbay
