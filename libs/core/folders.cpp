#include "core/folders.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string_view>

namespace quillbay {
namespace {

constexpr const char* kOwnName = "/quillbay";

Folders& injected() {
  static Folders folders;
  return folders;
}

std::string underHome(std::string_view name) {
  std::string home = homeFolder();
  if (home.back() != '/') home += '/';
  return home.append(name);
}

std::string baseFolder(const char* variable, std::string_view fallback) {
  const char* value = std::getenv(variable);
  return value && *value == '/' ? std::string(value) : underHome(fallback);
}

std::string configHome() { return baseFolder("XDG_CONFIG_HOME", ".config"); }

/// The value of a line `XDG_DOCUMENTS_DIR="$HOME/..."` or `="/..."` of the desktop's list of folders.
std::optional<std::string> documentsEntry(std::string_view line) {
  constexpr std::string_view kKey = "XDG_DOCUMENTS_DIR=\"";
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos || line.substr(start, kKey.size()) != kKey) return std::nullopt;
  std::string_view value = line.substr(start + kKey.size());
  std::string path;
  constexpr std::string_view kHome = "$HOME";
  if (value.substr(0, kHome.size()) == kHome) {
    path = homeFolder();
    value.remove_prefix(kHome.size());
  }
  for (std::size_t i = 0; i < value.size() && value[i] != '"'; ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;  // the shell's escapes
    path += value[i];
  }
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path.empty() || path.front() != '/' ? std::nullopt : std::optional(path);
}

}  // namespace

std::string settingsFolder() { return injected().settings.empty() ? configHome() + kOwnName : injected().settings; }

std::string stateFolder() {
  return injected().state.empty() ? baseFolder("XDG_STATE_HOME", ".local/state") + kOwnName : injected().state;
}

std::string dataFolder() {
  return injected().data.empty() ? baseFolder("XDG_DATA_HOME", ".local/share") + kOwnName : injected().data;
}

std::string documentsFolder() {
  if (!injected().documents.empty()) return injected().documents;
  std::ifstream list(configHome() + "/user-dirs.dirs");
  for (std::string line; std::getline(list, line);) {
    if (auto folder = documentsEntry(line)) return *folder;
  }
  return underHome("Documents");
}

void setFolders(const Folders& folders) { injected() = folders; }

}  // namespace quillbay
