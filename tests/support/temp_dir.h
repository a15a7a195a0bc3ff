#pragma once
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay::test {

/// A folder of its own for one test, gone with all its content at the end. Others may enter it (mode 0755), so that
/// a test can act as an ordinary user in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillbay-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder: " + pattern);
    m_path = pattern;
    ::chmod(m_path.c_str(), 0755);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// Without a delimiter at its end.
  [[nodiscard]] const std::string& path() const noexcept { return m_path; }
  /// The path of a name in it; nothing is created.
  [[nodiscard]] std::string file(std::string_view name) const { return m_path + "/" + std::string(name); }
  /// The names in it, sorted, those in its folders as "folder/name".
  [[nodiscard]] std::vector<std::string> names() const;

 private:
  std::string m_path;
};

inline std::vector<std::string> TempDir::names() const {
  std::vector<std::string> all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path)) {
    all.push_back(entry.path().string().substr(m_path.size() + 1));
  }
  std::sort(all.begin(), all.end());
  return all;
}

/// The whole content of a file; empty when it cannot be read.
[[nodiscard]] inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Writes a file anew; its folder must exist.
inline void writeFile(const std::string& path, std::string_view content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content << std::flush;
  if (!out) throw std::runtime_error("cannot write " + path);
}

}  // namespace quillbay::test
