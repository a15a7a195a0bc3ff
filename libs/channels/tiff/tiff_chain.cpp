#include "channels/tiff/tiff_chain.h"

#include <algorithm>
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

namespace {

/// Follows directories, with a few short reads each.
class ChainWalk {
 public:
  ChainWalk(const EdgeFile& file, TiffState* state)
      : m_file(file), m_state(*state), m_end(static_cast<std::uint64_t>(file.size())) {}

  /// Returns the place of the first directory.
  std::uint64_t readHead() {
    std::uint8_t bytes[16] = {};
    if (m_end >= 8) m_file.read(0, bytes, m_end >= 16 ? 16 : 8);
    if (!looksLikeTiff(bytes, m_end)) throw ModuleError(QB_E_DAMAGED, "it is not a TIFF file");
    m_state.started = true;
    m_state.bigEndian = bytes[0] == 'M';
    m_state.big = getNumber(bytes + 2, 2, m_state.bigEndian) == 43;
    m_state.linkAt = m_state.big ? 8 : 4;
    if (m_end < static_cast<std::uint64_t>(m_state.linkAt) + offsetSize()) {
      throw ModuleError(QB_E_TRUNCATED, "it ends within its head");
    }
    // A BigTIFF's head says that places take 8 bytes, and ends in two zeros.
    if (m_state.big && getNumber(bytes + 4, 4, true) != (m_state.bigEndian ? 0x00080000U : 0x08000000U)) {
      throw ModuleError(QB_E_DAMAGED, "its head is damaged");
    }
    return getNumber(bytes + m_state.linkAt, static_cast<int>(offsetSize()), m_state.bigEndian);
  }

  /// Goes over the directory at `at`; returns the place of the next one.
  std::uint64_t pass(std::uint64_t at) {
    const std::string page = "its page " + std::to_string(m_state.pages + 1);
    const auto damaged = [&] { return ModuleError(QB_E_DAMAGED, page + " is damaged"); };
    const auto cutOff = [&] { return ModuleError(QB_E_TRUNCATED, page + " lies after the end of the file"); };
    const std::uint64_t countSize = m_state.big ? 8 : 2, entrySize = m_state.big ? 20 : 12;
    if (at >= m_end || m_end - at < countSize) throw cutOff();
    if (!m_seen.insert(at).second) throw damaged();
    const std::uint64_t entries = read(at, countSize);
    if (entries == 0 || entries > 65535) throw damaged();
    const std::uint64_t link = at + countSize + entries * entrySize;
    if (link > m_end || m_end - link < offsetSize()) throw cutOff();
    m_isPage = isPage(at + countSize, std::min<std::uint64_t>(entries, 2), entrySize);
    m_state.linkAt = static_cast<std::int64_t>(link);
    return read(link, offsetSize());
  }
  /// The directory that was passed is no smaller copy or mask of another one.
  [[nodiscard]] bool passedPage() const noexcept { return m_isPage; }

 private:
  [[nodiscard]] std::uint64_t offsetSize() const noexcept { return m_state.big ? 8 : 4; }
  std::uint64_t read(std::uint64_t at, std::uint64_t size) const {
    std::uint8_t bytes[8];
    m_file.read(static_cast<std::int64_t>(at), bytes, size);
    return getNumber(bytes, static_cast<int>(size), m_state.bigEndian);
  }
  /// By the first entries: tags ascend, and those that tell have the lowest numbers.
  bool isPage(std::uint64_t at, std::uint64_t entries, std::uint64_t entrySize) const {
    constexpr std::uint64_t kKind = 254, kOldKind = 255, kReduced = 1, kMask = 4, kOldReduced = 2;
    constexpr std::uint64_t kTwoBytes = 3;
    std::uint8_t bytes[40];
    m_file.read(static_cast<std::int64_t>(at), bytes, entries * entrySize);
    for (const std::uint8_t* entry = bytes; entry < bytes + entries * entrySize; entry += entrySize) {
      const auto number = [&](std::uint64_t from, int size) {
        return getNumber(entry + from, size, m_state.bigEndian);
      };
      const std::uint64_t value = number(entrySize - offsetSize(), number(2, 2) == kTwoBytes ? 2 : 4);
      if (number(0, 2) == kKind) return (value & (kReduced | kMask)) == 0;
      if (number(0, 2) == kOldKind) return value != kOldReduced;
    }
    return true;
  }

  const EdgeFile& m_file;
  TiffState& m_state;
  std::uint64_t m_end;
  std::unordered_set<std::uint64_t> m_seen;
  bool m_isPage = true;
};

}  // namespace

TiffState readTiffChain(const EdgeFile& file, std::vector<std::uint64_t>* offsets, const TiffVisit& visit) {
  TiffState state;
  if (file.size() == 0) return state;
  ChainWalk walk(file, &state);
  const std::uint64_t first = walk.readHead();
  for (std::uint64_t next = first; next != 0;) {
    const std::uint64_t at = next;
    next = walk.pass(at);
    if (walk.passedPage()) {
      if (offsets) offsets->push_back(at);
      ++state.pages;
    }
    if (visit) visit(state, at);
  }
  if (state.pages > 0 || first == 0) return state;
  // Nothing but smaller copies: their first stands for the page.
  if (offsets) offsets->push_back(first);
  state.pages = 1;
  state.isCopyAlone = true;
  return state;
}

}  // namespace quillbay
