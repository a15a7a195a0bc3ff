#include "channels/tiff/tiff_extent.h"

#include <algorithm>
#include <array>
#include <vector>

namespace quillbay {
namespace {

constexpr std::uint64_t kValuesTogether = 512;
constexpr std::uint64_t kMostSubDirectories = 1024;
constexpr int kMostDepth = 8;
// Lists of a file that is whole stand side by side, save that some writers share those that are equal.
constexpr std::uint64_t kMostReadings = 16, kAlwaysRead = std::uint64_t{1} << 20;

// Tags.
constexpr std::uint64_t kStripOffsets = 273, kStripByteCounts = 279, kTileOffsets = 324, kTileByteCounts = 325,
                        kSubIfds = 330;
// Field types.
constexpr std::uint64_t kShortValue = 3, kLongValue = 4, kIfdValue = 13, kLong8Value = 16, kIfd8Value = 18;

/// Bytes of a value; 0 for a field type that is not known.
int sizeOfValue(std::uint64_t type) noexcept {
  constexpr int kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < std::size(kSizes) ? kSizes[type] : 0;
}

bool isWholeNumber(std::uint64_t type) noexcept {
  return type == kShortValue || type == kLongValue || type == kIfdValue || type == kLong8Value ||
         type == kIfd8Value;
}

}  // namespace

void TiffExtent::check(const TiffState& state, std::uint64_t at, const std::string& page) {
  m_state = state;
  m_page = page;
  m_depth = 0;
  checkDirectory(at);
}

void TiffExtent::requireInside(std::uint64_t at, std::uint64_t size) const {
  if (at <= m_end && size <= m_end - at) return;
  throw ModuleError(QB_E_TRUNCATED, m_page + " goes on after the end of the file");
}

/// A damaged file whose lists lie across each other must not be read for ever.
void TiffExtent::read(std::uint64_t at, std::uint8_t* bytes, std::uint64_t size) {
  m_read += size;
  if (m_read > kAlwaysRead && m_read / kMostReadings > m_end) {
    throw ModuleError(QB_E_DAMAGED, m_page + " is damaged");
  }
  requireInside(at, size);
  m_file.read(static_cast<std::int64_t>(at), bytes, static_cast<std::size_t>(size));
}

void TiffExtent::read(const List& list, std::uint64_t first, std::uint64_t count, std::uint64_t* values) {
  std::array<std::uint8_t, kValuesTogether * 8> bytes;
  const auto size = static_cast<std::uint64_t>(list.size);
  read(list.at + first * size, bytes.data(), count * size);
  for (std::uint64_t i = 0; i < count; ++i) values[i] = number(bytes.data() + i * size, list.size);
}

void TiffExtent::checkDirectory(std::uint64_t at) {
  if (!m_seen.insert(at).second) return;
  const std::uint64_t countSize = m_state.big ? 8 : 2, entrySize = m_state.big ? 20 : 12;
  std::uint8_t head[8];
  read(at, head, countSize);
  const std::uint64_t count = number(head, static_cast<int>(countSize)), first = at + countSize;
  if (count == 0 || count > 65535) throw ModuleError(QB_E_DAMAGED, m_page + " is damaged");
  std::vector<std::uint8_t> entries(static_cast<std::size_t>(count * entrySize));
  read(first, entries.data(), entries.size());
  List stripOffsets, stripSizes, tileOffsets, tileSizes, subIfds;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint8_t* entry = entries.data() + i * entrySize;
    const List values = valuesOf(entry, first + i * entrySize);
    switch (number(entry, 2)) {
      case kStripOffsets: stripOffsets = values; break;
      case kStripByteCounts: stripSizes = values; break;
      case kTileOffsets: tileOffsets = values; break;
      case kTileByteCounts: tileSizes = values; break;
      case kSubIfds: subIfds = values; break;
      default: break;
    }
  }
  checkParts(stripOffsets, stripSizes);
  checkParts(tileOffsets, tileSizes);
  checkSubDirectories(subIfds);
}

/// `at` is the entry's place in the file: values that fit stand in the entry.
TiffExtent::List TiffExtent::valuesOf(const std::uint8_t* entry, std::uint64_t at) const {
  const int width = m_state.big ? 8 : 4;
  const auto room = static_cast<std::uint64_t>(width);
  const std::uint64_t type = number(entry + 2, 2), count = number(entry + 4, width);
  List list{at + 4 + room, count, sizeOfValue(type)};
  if (list.size == 0) return {};
  const auto size = static_cast<std::uint64_t>(list.size);
  if (count > room / size) {
    list.at = number(entry + 4 + room, width);
    requireInside(list.at, count > m_end / size ? UINT64_MAX : count * size);
  }
  return isWholeNumber(type) ? list : List{};
}

/// Sizes may be missing in old files: where the parts begin is all that is known then.
void TiffExtent::checkParts(const List& offsets, const List& sizes) {
  std::array<std::uint64_t, kValuesTogether> at, bytes{};
  for (std::uint64_t first = 0; first < offsets.count; first += kValuesTogether) {
    const std::uint64_t count = std::min(kValuesTogether, offsets.count - first);
    read(offsets, first, count, at.data());
    const bool hasSizes = sizes.count >= first + count;
    if (hasSizes) read(sizes, first, count, bytes.data());
    for (std::uint64_t i = 0; i < count; ++i) requireInside(at[i], hasSizes ? bytes[i] : 0);
  }
}

void TiffExtent::checkSubDirectories(const List& list) {
  if (m_depth == kMostDepth) return;
  std::vector<std::uint64_t> places(static_cast<std::size_t>(std::min(list.count, kMostSubDirectories)));
  for (std::uint64_t first = 0; first < places.size(); first += kValuesTogether) {
    read(list, first, std::min<std::uint64_t>(kValuesTogether, places.size() - first), places.data() + first);
  }
  ++m_depth;
  for (const std::uint64_t place : places) {
    if (place != 0) checkDirectory(place);
  }
  --m_depth;
}

}  // namespace quillbay
