#include "channels/pdf/g4_decoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "channels/tiff/g4_codes.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

constexpr std::size_t kFaxInputBytes = std::size_t{64} << 10;
constexpr int kLongestCode = 13;

/// What the next 13 bits start with: a run's piece and the bits of its code; 0 bits for none.
struct RunEntry {
  std::int16_t pixels = 0;
  std::uint8_t bits = 0;
};
using RunTable = std::array<RunEntry, std::size_t{1} << kLongestCode>;

void enter(RunTable& table, g4::Code code, std::size_t pixels) {
  const int spare = kLongestCode - code.length;
  for (std::size_t i = 0; i < std::size_t{1} << spare; ++i) {
    table[(std::size_t{code.bits} << spare) + i] = {static_cast<std::int16_t>(pixels), code.length};
  }
}

template <class Ends, class MakeUps>
RunTable makeTable(const Ends& ends, const MakeUps& makeUps) {
  RunTable table{};
  for (std::size_t i = 0; i < ends.size(); ++i) enter(table, ends[i], i);
  for (std::size_t i = 0; i < makeUps.size(); ++i) enter(table, makeUps[i], 64 * (i + 1));
  return table;
}

const RunTable& runTable(bool black) {
  static const RunTable kBlack = makeTable(g4::kBlackEnd, g4::kBlackMakeUp);
  static const RunTable kWhite = makeTable(g4::kWhiteEnd, g4::kWhiteMakeUp);
  return black ? kBlack : kWhite;
}

}  // namespace

G4Decoder::G4Decoder(std::unique_ptr<ByteSource> from, const Setup& setup)
    : m_from(std::move(from)), m_setup(setup), m_input(kFaxInputBytes), m_line(3, setup.width) {}

std::uint32_t G4Decoder::peek(int bits) {
  while (m_count < bits) {
    if (m_next == m_filled && !m_atEnd) {
      m_filled = m_from->read(m_input.data(), m_input.size());
      m_next = 0;
      m_atEnd = m_filled == 0;
    }
    const std::uint8_t byte = m_atEnd ? 0 : m_input[m_next++];
    if (m_atEnd) m_missing += 8;
    m_bits = m_bits << 8 | byte;
    m_count += 8;
  }
  return static_cast<std::uint32_t>(m_bits >> (m_count - bits)) & ((1U << bits) - 1);
}

void G4Decoder::skip(int bits) {
  m_count -= bits;
  if (m_count < m_missing) throw ModuleError(QB_E_TRUNCATED, "");
}

void G4Decoder::failCode() {
  // The end of the block before the picture's last line, or nothing more at all.
  if (peek(24) == 0x001001 || m_missing >= 24) throw ModuleError(QB_E_TRUNCATED, "");
  throw ModuleError(QB_E_DAMAGED, "the file is damaged (a black-and-white picture has an unknown code)");
}

std::int32_t G4Decoder::readPiece(bool black) {
  const RunEntry& entry = runTable(black)[peek(kLongestCode)];
  if (entry.bits == 0) failCode();
  skip(entry.bits);
  return entry.pixels;
}

/// A run: pieces of 64 pixels and more, and one of less than that.
std::int32_t G4Decoder::readRun(bool black) {
  std::int32_t pixels = 0, piece = 0;
  do {
    piece = readPiece(black);
    pixels += piece;
    if (pixels > m_setup.width) failCode();
  } while (piece > 63);
  return pixels;
}

void G4Decoder::readChanges() {
  const std::int32_t width = m_setup.width;
  const std::int32_t* above = m_above.data();
  std::int32_t a0 = 0;
  bool black = false, isFirst = true;
  while (a0 < width) {
    // The first change of the line above right of a0 and to the other colour; at the line's start a0 is before it.
    while (above > m_above.data() && above[-1] > a0) --above;
    while (*above < width && (isFirst ? *above < a0 : *above <= a0)) ++above;
    if (*above < width && ((above - m_above.data()) % 2 != 0) != black) ++above;
    const std::int32_t b1 = *above;
    const std::uint32_t next = peek(7);
    std::int32_t a1 = -1;
    int bits = 0;
    for (std::size_t i = 0; i < g4::kVertical.size() && a1 < 0; ++i) {
      const g4::Code code = g4::kVertical[i];
      if (next >> (7 - code.length) != code.bits) continue;
      bits = code.length;
      a1 = std::max(b1 + static_cast<std::int32_t>(i) - 3, 0);
    }
    if (a1 >= 0) {
      if (a1 > width || a1 < a0 || (a1 == a0 && !isFirst)) failCode();
      skip(bits);
      m_line.push_back(a1);
      a0 = a1;
      black = !black;
    } else if (next >> 3 == g4::kPass.bits) {
      skip(g4::kPass.length);
      a0 = b1 < width ? above[1] : width;
    } else if (next >> 4 == g4::kHorizontal.bits) {
      skip(g4::kHorizontal.length);
      const std::int32_t first = a0 + readRun(black);
      const std::int32_t second = first + readRun(!black);
      if (second > width) failCode();
      m_line.push_back(first);
      m_line.push_back(second);
      if (second == a0 && !isFirst) failCode();  // nothing moves on
      a0 = second;
    } else {
      failCode();
    }
    isFirst = false;
  }
}

void G4Decoder::readLine(std::uint8_t* out) {
  if (m_failed) throw ModuleError(QB_E_TRUNCATED, "");
  m_failed = true;  // until the line is whole
  std::swap(m_line, m_above);
  m_line.clear();
  if (m_setup.alignsBytes) m_count -= m_count % 8;
  readChanges();
  std::memset(out, 0, (static_cast<std::size_t>(m_setup.width) + 7) / 8);
  m_line.insert(m_line.end(), 3, m_setup.width);
  m_failed = false;
  for (std::size_t i = 0; i + 1 < m_line.size() && m_line[i] < m_setup.width; i += 2) {
    if (m_line[i] == m_line[i + 1]) continue;
    setBits(out, static_cast<std::uint32_t>(m_line[i]), static_cast<std::uint32_t>(m_line[i + 1] - 1));
  }
}

}  // namespace quillbay
