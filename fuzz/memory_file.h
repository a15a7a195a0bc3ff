#pragma once
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "channels/format_module.h"

namespace quillbay::fuzz {

/// Ends the process when something does not hold, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

/// A file of the edge that lies in memory and keeps the channels' rules: reads end at its end, changes wait for the
/// page's end. Nothing fails but what lies outside.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes, bytes + size) {
    m_edge.self = this;
    m_edge.size = [](void* self) { return of(self).size(); };
    m_edge.read = [](void* self, std::int64_t offset, void* to, std::size_t count) -> int {
      return of(self).read(offset, to, count);
    };
    m_edge.append = [](void* self, const QbPiece* pieces, int count) -> int {
      for (int i = 0; i < count; ++i) of(self).append(pieces[i]);
      return QB_OK;
    };
    m_edge.patch = [](void* self, std::int64_t offset, const void* from, std::size_t count) -> int {
      return of(self).patch(offset, from, count);
    };
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] const QbFile* edge() const noexcept { return &m_edge; }
  [[nodiscard]] std::int64_t size() const noexcept { return static_cast<std::int64_t>(m_bytes.size()); }
  [[nodiscard]] const std::vector<std::uint8_t>& bytes() const noexcept { return m_bytes; }

  /// Makes the changes that were asked for, as the channels do at a page's end.
  void applyPatches() {
    for (const Patch& patch : m_patches)
      std::memcpy(m_bytes.data() + patch.offset, patch.bytes.data(), patch.bytes.size());
    m_patches.clear();
  }

 private:
  struct Patch {
    std::int64_t offset;
    std::vector<std::uint8_t> bytes;
  };
  static MemoryFile& of(void* self) noexcept { return *static_cast<MemoryFile*>(self); }
  [[nodiscard]] bool holds(std::int64_t offset, std::size_t count) const noexcept {
    return offset >= 0 && offset <= size() && count <= static_cast<std::uint64_t>(size() - offset);
  }
  int read(std::int64_t offset, void* to, std::size_t count) const {
    if (!holds(offset, count)) return QB_E_FILE;
    if (count > 0) std::memcpy(to, m_bytes.data() + offset, count);
    return QB_OK;
  }
  void append(const QbPiece& piece) {
    const auto* from = static_cast<const std::uint8_t*>(piece.bytes);
    m_bytes.insert(m_bytes.end(), from, from + piece.size);
  }
  int patch(std::int64_t offset, const void* from, std::size_t count) {
    if (!holds(offset, count)) return QB_E_FILE;
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    m_patches.push_back({offset, {bytes, bytes + count}});
    return QB_OK;
  }

  QbFile m_edge{};
  std::vector<std::uint8_t> m_bytes;
  std::vector<Patch> m_patches;
};

/// What an operation of a module may answer about bytes: a file in memory never fails, so QB_E_FILE means that the
/// module asked for what lies outside of it, and a user would read of a failing disk.
inline void checkAnswer(int code, const QbText& why) {
  require(code >= QB_OK && code <= QB_E_TRUNCATED && code != QB_E_FILE, "the module reads within the file");
  require(std::memchr(why.text, 0, sizeof why.text) != nullptr, "the text ends");
  require((code != QB_E_DAMAGED && code != QB_E_REFUSED) || why.text[0], "a refusal says why");
}

}  // namespace quillbay::fuzz
