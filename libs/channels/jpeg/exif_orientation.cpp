#include "channels/jpeg/exif_orientation.h"

#include <cstring>

namespace quillbay {
namespace {

constexpr char kExif[6] = {'E', 'x', 'i', 'f', 0, 0};
constexpr std::size_t kEntryBytes = 12;
constexpr unsigned kOrientation = 0x0112;

/// The tags of a segment: a TIFF directory in either byte order. Beyond the end everything is 0.
struct Tags {
  const std::uint8_t* bytes;
  std::size_t size;
  bool isLittle = false;

  [[nodiscard]] unsigned number(std::size_t at, std::size_t count) const noexcept {
    if (at > size || count > size - at) return 0;
    unsigned value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[isLittle ? at + count - 1 - i : at + i];
    return value;
  }
};

}  // namespace

int exifOrientation(const std::uint8_t* segment, std::size_t size) noexcept {
  if (size < sizeof kExif + 8 || std::memcmp(segment, kExif, sizeof kExif) != 0) return 0;
  Tags tags{segment + sizeof kExif, size - sizeof kExif};
  tags.isLittle = tags.bytes[0] == 'I';
  const std::size_t directory = tags.number(4, 4);
  const unsigned entries = tags.number(directory, 2);
  for (unsigned i = 0; i < entries; ++i) {
    const std::size_t entry = directory + 2 + kEntryBytes * i;
    if (tags.number(entry, 2) != kOrientation) continue;
    const unsigned value = tags.number(entry + 8, 2);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 0;
  }
  return 0;
}

}  // namespace quillbay
