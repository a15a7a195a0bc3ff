#pragma once
#include <cstdint>
#include <string>
#include <unordered_set>

#include "channels/tiff/tiff_chain.h"

namespace quillbay {

/// Looks whether all of a file's pages is in the file: what is appended to one that was cut off would become their
/// pixels.
class TiffExtent {
 public:
  explicit TiffExtent(const EdgeFile& file) : m_file(file), m_end(static_cast<std::uint64_t>(file.size())) {}

  /// Throws ModuleError if a strip, a tile or a tag's value of the directory at `at`, or of its sub-directories,
  /// ends after the file's end. `page` names the page: "its page 2"; `state` says how the file's numbers are
  /// written.
  void check(const TiffState& state, std::uint64_t at, const std::string& page);

 private:
  /// The whole numbers that a tag has.
  struct List {
    std::uint64_t at = 0, count = 0;
    int size = 0;  ///< bytes of a number
  };
  void checkDirectory(std::uint64_t at);
  [[nodiscard]] List valuesOf(const std::uint8_t* entry, std::uint64_t at) const;
  void checkParts(const List& offsets, const List& sizes);
  void checkSubDirectories(const List& list);
  void requireInside(std::uint64_t at, std::uint64_t size) const;
  void read(std::uint64_t at, std::uint8_t* bytes, std::uint64_t size);
  void read(const List& list, std::uint64_t first, std::uint64_t count, std::uint64_t* values);
  [[nodiscard]] std::uint64_t number(const std::uint8_t* bytes, int size) const noexcept {
    return getNumber(bytes, size, m_state.bigEndian);
  }

  const EdgeFile& m_file;
  std::uint64_t m_end;
  TiffState m_state;
  std::string m_page;
  std::unordered_set<std::uint64_t> m_seen;  // directories
  std::uint64_t m_read = 0;                  // bytes
  int m_depth = 0;
};

}  // namespace quillbay
