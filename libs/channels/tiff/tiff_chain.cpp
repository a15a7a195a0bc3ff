#include "channels/tiff/tiff_chain.h"

#include <string>
#include <unordered_set>

namespace quillbay {

std::uint64_t getNumber(const std::uint8_t* bytes, int size, bool bigEndian) noexcept {
  std::uint64_t value = 0;
  for (int i = 0; i < size; ++i) value = value << 8 | bytes[bigEndian ? i : size - 1 - i];
  return value;
}

void putNumber(std::uint8_t* bytes, int size, bool bigEndian, std::uint64_t value) noexcept {
  for (int i = 0; i < size; ++i, value >>= 8)
    bytes[bigEndian ? size - 1 - i : i] = static_cast<std::uint8_t>(value);
}

bool looksLikeTiff(const std::uint8_t* head, std::size_t size) noexcept {
  if (size < 8) return false;
  const bool little = head[0] == 'I' && head[1] == 'I', big = head[0] == 'M' && head[1] == 'M';
  if (!little && !big) return false;
  const std::uint64_t version = getNumber(head + 2, 2, big);
  return version == 42 || version == 43;
}

TiffState readTiffChain(const EdgeFile& file, std::vector<std::uint64_t>* offsets) {
  TiffState state;
  const std::int64_t size = file.size();
  if (size == 0) return state;
  std::uint8_t bytes[16] = {};
  if (size >= 8) file.read(0, bytes, size >= 16 ? 16 : 8);
  if (!looksLikeTiff(bytes, static_cast<std::size_t>(size))) {
    throw ModuleError(QB_E_DAMAGED, "it is not a TIFF file");
  }
  state.started = true;
  state.bigEndian = bytes[0] == 'M';
  state.big = getNumber(bytes + 2, 2, state.bigEndian) == 43;
  const int offsetSize = state.big ? 8 : 4, countSize = state.big ? 8 : 2, entrySize = state.big ? 20 : 12;
  state.linkAt = state.big ? 8 : 4;
  if (size < state.linkAt + offsetSize) throw ModuleError(QB_E_TRUNCATED, "it ends within its head");
  std::uint64_t next = getNumber(bytes + state.linkAt, offsetSize, state.bigEndian);
  std::unordered_set<std::uint64_t> seen;
  while (next != 0) {
    const auto end = static_cast<std::uint64_t>(size);
    const std::string page = "its page " + std::to_string(state.pages + 1);
    const auto damaged = [&] { return ModuleError(QB_E_DAMAGED, page + " is damaged"); };
    const auto cutOff = [&] { return ModuleError(QB_E_TRUNCATED, page + " lies after the end of the file"); };
    if (next >= end || end - next < static_cast<std::uint64_t>(countSize)) throw cutOff();
    if (!seen.insert(next).second) throw damaged();
    file.read(static_cast<std::int64_t>(next), bytes, static_cast<std::size_t>(countSize));
    const std::uint64_t entries = getNumber(bytes, countSize, state.bigEndian);
    if (entries == 0 || entries > 65535) throw damaged();
    const std::uint64_t link =
        next + static_cast<std::uint64_t>(countSize) + entries * static_cast<std::uint64_t>(entrySize);
    if (link > end || end - link < static_cast<std::uint64_t>(offsetSize)) throw cutOff();
    file.read(static_cast<std::int64_t>(link), bytes, static_cast<std::size_t>(offsetSize));
    if (offsets) offsets->push_back(next);
    state.linkAt = static_cast<std::int64_t>(link);
    ++state.pages;
    next = getNumber(bytes, offsetSize, state.bigEndian);
  }
  return state;
}

}  // namespace quillbay
