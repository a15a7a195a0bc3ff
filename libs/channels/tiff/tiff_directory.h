#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace quillbay {

/// Builds an image file directory with the values that do not fit into its entries.
class TiffDirectory {
 public:
  TiffDirectory(bool big, bool bigEndian) : m_big(big), m_bigEndian(bigEndian) {}

  // Tags in ascending order.
  void shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values);
  void number(std::uint16_t tag, std::uint32_t value);
  void ratio(std::uint16_t tag, std::uint32_t over, std::uint32_t under);
  void text(std::uint16_t tag, const std::string& value);
  void bytes(std::uint16_t tag, const std::vector<std::uint8_t>& value);
  /// Whole numbers as ratios.
  void ratios(std::uint16_t tag, const std::vector<std::uint64_t>& values);
  /// Offsets or sizes: 8 bytes each in a BigTIFF, else 4.
  void places(std::uint16_t tag, const std::vector<std::uint64_t>& values);

  /// The values and, after them, the directory, for a file position `at` (a multiple of 8). The next directory's
  /// offset is 0. `*directory` and `*link` get the positions of the directory and of that offset.
  [[nodiscard]] std::vector<std::uint8_t> build(std::uint64_t at, std::uint64_t* directory,
                                                std::uint64_t* link) const;

 private:
  struct Entry {
    std::uint16_t tag, type;
    std::uint64_t count;
    std::vector<std::uint8_t> bytes;
  };
  void add(std::uint16_t tag, std::uint16_t type, std::uint64_t count, int size,
           const std::vector<std::uint64_t>& values);

  bool m_big, m_bigEndian;
  std::vector<Entry> m_entries;
};

}  // namespace quillbay
