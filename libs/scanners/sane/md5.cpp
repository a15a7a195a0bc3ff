#include "scanners/sane/md5.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace quillbay {

namespace {

using State = std::array<std::uint32_t, 4>;

const std::array<std::uint32_t, 64>& sines() {
  static const auto table = [] {
    std::array<std::uint32_t, 64> t{};
    for (std::size_t i = 0; i < t.size(); ++i)
      t[i] = static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(static_cast<double>(i + 1))) * 4294967296.0));
    return t;
  }();
  return table;
}

constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

std::uint32_t mix(std::size_t i, const State& s, std::size_t* word) {
  const std::uint32_t b = s[1], c = s[2], d = s[3];
  switch (i / 16) {
    case 0: *word = i; return (b & c) | (~b & d);
    case 1: *word = (5 * i + 1) % 16; return (d & b) | (~d & c);
    case 2: *word = (3 * i + 5) % 16; return b ^ c ^ d;
    default: *word = (7 * i) % 16; return c ^ (b | ~d);
  }
}

void addBlock(State& state, const unsigned char* block) {
  std::uint32_t words[16];
  for (std::size_t i = 0; i < 16; ++i)
    words[i] = static_cast<std::uint32_t>(block[4 * i]) | static_cast<std::uint32_t>(block[4 * i + 1]) << 8 |
               static_cast<std::uint32_t>(block[4 * i + 2]) << 16 |
               static_cast<std::uint32_t>(block[4 * i + 3]) << 24;
  State s = state;
  for (std::size_t i = 0; i < 64; ++i) {
    std::size_t word = 0;
    const std::uint32_t f = mix(i, s, &word) + s[0] + sines()[i] + words[word];
    s = {s[3], s[1] + std::rotl(f, kShifts[i / 16][i % 4]), s[1], s[2]};
  }
  for (std::size_t i = 0; i < 4; ++i) state[i] += s[i];
}

}  // namespace

std::string md5Hex(std::string_view data) {
  std::string padded(data);
  padded.push_back(static_cast<char>(0x80));
  while (padded.size() % 64 != 56) padded.push_back('\0');
  const std::uint64_t bits = static_cast<std::uint64_t>(data.size()) * 8;
  for (int i = 0; i < 8; ++i) padded.push_back(static_cast<char>(bits >> (8 * i) & 0xff));

  State state{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  for (std::size_t at = 0; at < padded.size(); at += 64)
    addBlock(state, reinterpret_cast<const unsigned char*>(padded.data()) + at);

  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const std::uint32_t word : state) {
    for (int i = 0; i < 4; ++i) {
      const std::uint32_t byte = word >> (8 * i) & 0xff;
      hex.push_back(kDigits[byte >> 4]);
      hex.push_back(kDigits[byte & 15]);
    }
  }
  return hex;
}

}  // namespace quillbay
